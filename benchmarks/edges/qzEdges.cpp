// qzEdges: casts rays at the edges and vertices of closed meshes, and counts how many slip through and how many report
// the same point twice, for the library and for Embree. Exact arithmetic decides what is true. Prints the tables of
// docs/edges.md.

#include <toolkit/io/file/qzFile.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include <benchmarks/core/qzReport.h>
#include <benchmarks/core/qzSilence.h>
#include <benchmarks/edges/qzEdgeTables.h>
#include <benchmarks/edges/qzLeaks.h>

int main(int argc, char** argv) {
  qzBench::qzEdgeSettings settings{100000, QZ_BENCH_SCENES};
  std::string commit = "unknown", pointsFile;
  bool isSmoke = false;
  CLI::App app("Counts rays that slip through edges, and points that are reported twice; prints tables.");
  app.add_option("--rays", settings.mNbRays, "rays per row")->check(CLI::Range(100, 100000000))->capture_default_str();
  app.add_flag("--smoke", isSmoke, "the tables that need no file");
  app.add_option("--folder", settings.mFolder, "folder of the scene files")->capture_default_str();
  app.add_option("--points", pointsFile, "write the points of the picture to this file");
  app.add_option("--commit", commit, "commit that was built, for the header");
  CLI11_PARSE(app, argc, argv);
  try {
    const qzBench::qzSilence silence;
    std::printf("\nProcessor %s; compiler %s; commit %s, %s.\n", qzBench::processorName().c_str(), QZ_BENCH_COMPILER,
                commit.c_str(), qzBench::today().c_str());
    std::string points;
    if (isSmoke) {
      printNeedles(settings);
      printLeaks(settings, isSmoke);
      return 0;
    }
    printLeaks(settings, isSmoke);
    printNearOrigin(settings);
    printTriangleSizes(settings, points);
    printNeedles(settings);
    printApproaches(settings);
    printFarFromOrigin(settings, points);
    std::printf("\n");
    if (!pointsFile.empty()) qzToolkit::writeFile(pointsFile, points);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qzEdges: %s\n", error.what());
  }
  return 1;
}
