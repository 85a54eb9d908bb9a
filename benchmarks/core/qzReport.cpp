#include <benchmarks/core/qzReport.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <nlohmann/json.hpp>

namespace qzBench {

namespace {

/// Rounded to four significant digits.
double rounded(double value) {
  if (value == 0.0) return 0.0;
  const double unit = std::pow(10.0, std::floor(std::log10(std::fabs(value))) - 3.0);
  return unit < 1.0 ? std::round(value / unit) / std::round(1.0 / unit) : std::round(value / unit) * unit;
}

}  // namespace

std::string processorName() {
  std::ifstream file("/proc/cpuinfo");
  std::string line, name = "unknown", family, model;
  while (std::getline(file, line) && !line.empty()) {  // the first processor
    const auto read = [&line](const char* key, std::string& value) {
      if (line.rfind(key, 0) == 0 && line.find(": ") != std::string::npos) value = line.substr(line.find(": ") + 2);
    };
    read("model name\t", name);
    read("cpu family\t", family);
    read("model\t", model);
  }
  return name + ", family " + family + " model " + model;  // virtual machines often hide the name
}

std::string today() {
  const std::time_t now = std::time(nullptr);
  char text[16];
  std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&now));
  return text;
}

qzReport::qzReport(const tEnvironment& environment) : mEnvironment(environment) {
  std::printf("processor  %s\ncompiler   %s\nflags      %s\ncommit     %s\ndate       %s\n\n",
              environment.mProcessor.c_str(), environment.mCompiler.c_str(), environment.mFlags.c_str(),
              environment.mCommit.c_str(), environment.mDate.c_str());
  std::printf(
      "Contestants run in turn, on one thread unless stated otherwise; times are processor times.\n"
      "first/this: speed of the first line of the block relative to this line, median over the runs.\n"
      "spread: median absolute deviation, relative to the median.\n\n");
  std::printf("%-18s %-11s %9s  %-27s %4s  %-19s %6s %10s  %s\n", "benchmark", "scene", "size", "contestant", "runs",
              "median", "spread", "first/this", "check");
}

void qzReport::beginLine(const std::string& block) {
  if (!mLastBlock.empty() && block != mLastBlock) std::printf("\n");
  mLastBlock = block;
}

std::vector<qzTiming> qzReport::compare(const qzSubject& subject, const std::vector<qzContestant>& contestants,
                                        const std::function<std::string()>& check) {
  std::vector<qzTiming> timings = runInTurn(contestants, subject.mRounds);
  add(subject, contestants, timings, check);
  return timings;
}

void qzReport::add(const qzSubject& subject, const std::vector<qzContestant>& contestants,
                   const std::vector<qzTiming>& timings, const std::function<std::string()>& check) {
  for (std::size_t i = 0; i < contestants.size(); ++i) {
    const double nanoseconds = timings[i].getMedian() * 1e9, spread = timings[i].getSpread();
    nlohmann::json entry = {{"benchmark", subject.mBenchmark}, {"scene", subject.mScene},
                            {"size", subject.mSize},           {"contestant", contestants[i].mName},
                            {"runs", subject.mRounds},         {"median", rounded(nanoseconds)},
                            {"unit", "ns/" + subject.mUnit},   {"spread", rounded(spread)}};
    if (!contestants[i].mDetail.empty()) entry["detail"] = contestants[i].mDetail;
    std::string ratioText, checkText;
    char text[64];
    if (i == 0) {
      checkText = check();
      entry["check"] = checkText;
    } else {
      const double ratio = timesAsFast(timings[0], timings[i]);
      std::snprintf(text, sizeof text, "%.2f x", ratio);
      ratioText = text;
      entry["firstIsTimesAsFast"] = rounded(ratio);
    }
    if (contestants[i].mAgreement) {
      const double share = contestants[i].mAgreement();
      std::snprintf(text, sizeof text, "%.3f %% agree", share * 100.0);
      checkText = text;
      entry["agreement"] = share;
      if (share < subject.mAgreement) {
        std::snprintf(text, sizeof text, ", BELOW %g %%", subject.mAgreement * 100.0);
        checkText += text;
        ++mNbDisagreements;
      }
    }
    if (!contestants[i].mDetail.empty()) checkText += "  " + contestants[i].mDetail;
    beginLine(subject.mBenchmark + subject.mScene);
    std::printf("%-18s %-11s %9lld  %-27s %4d  %8.1f ns/%-8s %4.1f %% %10s  %s\n", subject.mBenchmark.c_str(),
                subject.mScene.c_str(), subject.mSize, contestants[i].mName.c_str(), subject.mRounds, nanoseconds,
                subject.mUnit.c_str(), spread * 100.0, ratioText.c_str(), checkText.c_str());
    std::fflush(stdout);
    mLines.push_back(entry.dump());
  }
}

void qzReport::addFigure(const std::string& benchmark, const std::string& scene, long long size,
                         const std::string& name, double value, const std::string& unit) {
  beginLine(benchmark + scene);
  std::printf("%-18s %-11s %9lld  %-27s %4s  %8.2f %s\n", benchmark.c_str(), scene.c_str(), size, name.c_str(), "",
              value, unit.c_str());
  std::fflush(stdout);
  const nlohmann::json entry = {{"benchmark", benchmark}, {"scene", scene},          {"size", size},
                                {"contestant", name},     {"value", rounded(value)}, {"unit", unit}};
  mLines.push_back(entry.dump());
}

std::string qzReport::getJson() const {
  // One result per line: small, and readable as a difference between two runs.
  std::string text = "{\n";
  const auto field = [&text](const char* name, const std::string& value) {
    text += std::string("  \"") + name + "\": " + nlohmann::json(value).dump() + ",\n";
  };
  field("processor", mEnvironment.mProcessor);
  field("compiler", mEnvironment.mCompiler);
  field("flags", mEnvironment.mFlags);
  field("commit", mEnvironment.mCommit);
  field("date", mEnvironment.mDate);
  text += "  \"results\": [\n";
  for (std::size_t i = 0; i < mLines.size(); ++i) text += "    " + mLines[i] + (i + 1 < mLines.size() ? ",\n" : "\n");
  return text + "  ]\n}\n";
}

}  // namespace qzBench
