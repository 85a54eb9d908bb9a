// qzParts: times the parts of a build and of a query one by one. A time is that of the whole part.

#include <benchmark/benchmark.h>

#include <benchmarks/core/qzSilence.h>

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const qzBench::qzSilence silence;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
