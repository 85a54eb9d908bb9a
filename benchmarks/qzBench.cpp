// qzBench: the library beside its peers, on the same triangles and rays, in turn, in one process.

#include <qzSystem/qzLog.h>
#include <toolkit/qzFile.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <exception>
#include <set>

#include "qzBenchmarks.h"

namespace {

/// Keeps the builder's records out of the table, and their writing out of the times.
class tSilence : public qz::qzLog {
 public:
  bool isLogTypeEnabled(qz::qzLogType) const override { return false; }
  void write(qz::qzLogType, const std::string&, const std::string&) override {}
};

std::string today() {
  const std::time_t now = std::time(nullptr);
  char text[16];
  std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&now));
  return text;
}

int run(const std::set<std::string>& kinds, const std::vector<std::string>& sceneNames, const std::string& folder,
        const qzBench::qzSettings& settings, const std::string& commit, const std::string& jsonFile) {
  qzBench::qzReport report({qzBench::processorName(), QZ_BENCH_COMPILER, QZ_BENCH_FLAGS, commit, today()});
  for (const std::string& name : sceneNames) {
    const qzBench::qzScene scene = qzBench::makeScene(name, folder);
    qzBench::qzSettings own = settings;
    if (scene.getNbTriangles() > 5000000) own.mRounds = std::max(3, settings.mRounds / 3);
    if (kinds.count("build") != 0) qzBench::measureBuild(scene, own, report);
    if (kinds.count("memory") != 0) qzBench::measureMemory(scene, report);
    if (kinds.count("cancel") != 0) qzBench::measureCancel(scene, own, report);
    if (kinds.count("rays") != 0) qzBench::measureRays(scene, own, report);
    if (kinds.count("threads") != 0) qzBench::measureThreads(scene, own, report);
    if (kinds.count("hulls") != 0) qzBench::measureHulls(scene, own, report);
  }
  if (kinds.count("plane") != 0) qzBench::measurePlane(settings, report);
  if (!jsonFile.empty()) qzToolkit::writeFile(jsonFile, report.getJson());
  if (report.getNbDisagreements() != 0) {
    std::fprintf(stderr, "qzBench: %d comparisons agree less than they should\n", report.getNbDisagreements());
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> allKinds = {"build", "memory", "cancel", "rays", "threads", "hulls", "plane"};
  std::vector<std::string> kinds = allKinds;
  std::vector<std::string> scenes = {"motorbike", "dragon", "terrain1M"};
  std::string folder = QZ_BENCH_SCENES, jsonFile, commit = "unknown";
  qzBench::qzSettings settings;

  CLI::App app("Times the library and its peers on the same scenes, in turn, on one thread.");
  app.add_option("--only", kinds, "which measurements")->delimiter(',')->check(CLI::IsMember(allKinds));
  app.add_option("--scenes", scenes, "scenes by name")->delimiter(',');
  app.add_option("--folder", folder, "where the scene files are")->capture_default_str();
  app.add_option("--rounds", settings.mRounds, "runs of every contestant")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app.add_option("--ray-side", settings.mRaySide, "the camera shoots the square of this many rays")
      ->check(CLI::Range(8, 4096))
      ->capture_default_str();
  app.add_option("--json", jsonFile, "write the results to this file");
  app.add_option("--commit", commit, "what was built, for the header");
  CLI11_PARSE(app, argc, argv);

  try {
    if (!qzBench::pinToOneProcessor()) std::fprintf(stderr, "qzBench: the thread could not be pinned to a processor\n");
    tSilence silence;
    qz::qzLog::msInstance = &silence;
    const int result = run({kinds.begin(), kinds.end()}, scenes, folder, settings, commit, jsonFile);
    qz::qzLog::msInstance = nullptr;
    return result;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qzBench: %s\n", error.what());
    return 1;
  }
}
