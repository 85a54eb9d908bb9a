#include "qzReport.h"

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

namespace qzBench {

std::string processorName() {
  std::ifstream file("/proc/cpuinfo");
  std::string line;
  while (std::getline(file, line))
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(": ") + 2);
  return "unknown";
}

qzReport::qzReport(const tCircumstances& circumstances) : mCircumstances(circumstances) {
  std::printf("processor  %s\ncompiler   %s\nflags      %s\ncommit     %s\ndate       %s\n\n",
              circumstances.mProcessor.c_str(), circumstances.mCompiler.c_str(), circumstances.mFlags.c_str(),
              circumstances.mCommit.c_str(), circumstances.mDate.c_str());
  std::printf("%-22s %-11s %9s  %-24s %4s  %-19s %6s %10s  %s\n", "benchmark", "scene", "triangles", "contestant",
              "runs", "median", "spread", "ours is", "check");
}

void qzReport::add(const qzLine& line) {
  if (!mLastBenchmark.empty() && line.mBenchmark + line.mScene != mLastBenchmark) std::printf("\n");
  mLastBenchmark = line.mBenchmark + line.mScene;

  const double nanoseconds = line.mTiming.getMedian() * 1e9;
  std::string check = line.mCheck;
  if (line.mAgreement >= 0.0) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f %% agree", line.mAgreement * 100.0);
    check = text;
    if (line.mAgreement < line.mAgreementExpected) {
      std::snprintf(text, sizeof text, ", FEWER THAN %g %%", line.mAgreementExpected * 100.0);
      check += text;
      ++mNbDisagreements;
    }
  }
  char ratio[32] = "";
  if (line.mTimesAsFast > 0.0) std::snprintf(ratio, sizeof ratio, "%.2f x", line.mTimesAsFast);
  std::printf("%-22s %-11s %9lld  %-24s %4zu  %8.1f ns/%-8s %4.1f %% %10s  %s\n", line.mBenchmark.c_str(),
              line.mScene.c_str(), line.mTriangles, line.mContestant.c_str(), line.mTiming.mSecondsPerItem.size(),
              nanoseconds, line.mUnit.c_str(), line.mTiming.getSpread() * 100.0, ratio, check.c_str());
  std::fflush(stdout);

  nlohmann::json entry = {{"benchmark", line.mBenchmark},
                          {"scene", line.mScene},
                          {"triangles", line.mTriangles},
                          {"contestant", line.mContestant},
                          {"runs", line.mTiming.mSecondsPerItem.size()},
                          {"median", nanoseconds},
                          {"unit", "ns/" + line.mUnit},
                          {"spread", line.mTiming.getSpread()}};
  if (line.mTimesAsFast > 0.0) entry["oursTimesAsFast"] = line.mTimesAsFast;
  if (line.mAgreement >= 0.0) entry["agreement"] = line.mAgreement;
  if (!line.mCheck.empty()) entry["check"] = line.mCheck;
  mLines.push_back(entry.dump());
}

void qzReport::addFigure(const std::string& benchmark, const std::string& scene, long long triangles,
                         const std::string& contestant, double value, const std::string& unit) {
  if (!mLastBenchmark.empty() && benchmark + scene != mLastBenchmark) std::printf("\n");
  mLastBenchmark = benchmark + scene;
  std::printf("%-22s %-11s %9lld  %-24s %4s  %8.2f %s\n", benchmark.c_str(), scene.c_str(), triangles,
              contestant.c_str(), "", value, unit.c_str());
  std::fflush(stdout);
  mLines.push_back(nlohmann::json{
      {"benchmark", benchmark},
      {"scene", scene},
      {"triangles", triangles},
      {"contestant", contestant},
      {"value", value},
      {"unit", unit}}.dump());
}

std::string qzReport::getJson() const {
  // One result per line: small, and readable as a difference between two runs.
  std::string text = "{\n";
  const auto field = [&text](const char* name, const std::string& value) {
    text += std::string("  \"") + name + "\": " + nlohmann::json(value).dump() + ",\n";
  };
  field("processor", mCircumstances.mProcessor);
  field("compiler", mCircumstances.mCompiler);
  field("flags", mCircumstances.mFlags);
  field("commit", mCircumstances.mCommit);
  field("date", mCircumstances.mDate);
  text += "  \"results\": [\n";
  for (std::size_t i = 0; i < mLines.size(); ++i) text += "    " + mLines[i] + (i + 1 < mLines.size() ? ",\n" : "\n");
  return text + "  ]\n}\n";
}

}  // namespace qzBench
