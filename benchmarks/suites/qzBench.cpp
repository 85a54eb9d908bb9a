// qzBench: measures the library and its peers in turn, on the same triangles, rays and regions, in one process.

#include <toolkit/io/file/qzFile.h>

#include <oneapi/tbb/info.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>

#include <benchmarks/core/qzSilence.h>
#include <benchmarks/suites/qzBenchmarks.h>

namespace {

/// Throws when the folder of the file is missing, before time is spent on measuring.
void expectFolderOf(const std::string& file) {
  const std::filesystem::path folder = std::filesystem::absolute(file).parent_path();
  if (!std::filesystem::is_directory(folder)) throw std::runtime_error("there is no folder " + folder.string());
}

using tNames = std::vector<std::string>;

/// The measurements of a scene.
const std::map<std::string, void (*)(const qzBench::qzScene&, const qzBench::qzSettings&, qzBench::qzReport&)> kKinds =
    {{"build", qzBench::measureBuild},
     {"memory", qzBench::measureMemory},
     {"cancel", qzBench::measureCancel},
     {"rays", qzBench::measureRays},
     {"sah", qzBench::measureSurfaceArea},
     {"hulls", qzBench::measureHulls},
     {"threads", qzBench::measureThreads},
     {"index-rays", qzBench::measureIndexRays},
     {"index-near", qzBench::measureIndexNear},
     {"index-inside", qzBench::measureIndexInside},
     {"index-build", qzBench::measureIndexBuild},
     {"index-memory", qzBench::measureIndexMemory},
     {"index-threads", qzBench::measureIndexThreads}};

/// The measurements without a scene: the builder in two dimensions, and MeshIndex on terrains of growing size.
const std::map<std::string, void (*)(const qzBench::qzSettings&, qzBench::qzReport&)> kOtherKinds = {
    {"plane", qzBench::measurePlane}, {"index-growth", qzBench::measureIndexGrowth}};

const tNames kIndexKinds = {"index-rays",   "index-near",    "index-inside", "index-build",
                            "index-memory", "index-threads", "index-growth"};

/// The scenes of a run, and the measurements of each.
using tPlan = std::vector<std::pair<std::string, tNames>>;

const tPlan kQuickPlan = {{"motorbike", {"build", "memory", "rays", "cancel"}},
                          {"dragon3", {"hulls"}},
                          {"dragon", {"build", "rays"}},
                          {"terrain10k", {"build"}},
                          {"terrain1M", {"build", "rays", "sah", "threads"}}};

/// What takes a minute and says most about MeshIndex.
const tPlan kIndexPlan = {{"motorbike", {"index-rays", "index-near", "index-build", "index-memory"}},
                          {"buildings", {"index-rays"}},
                          {"dragon", {"index-rays", "index-near", "index-inside", "index-build"}},
                          {"dragon2", {"index-inside"}},
                          {"terrain100k", {"index-inside"}},
                          {"terrain1M", {"index-rays", "index-threads"}}};

/// Every measurement, on scenes that need no file.
const tPlan kSmokePlan = {{"terrain10k",
                           {"build", "memory", "cancel", "rays", "sah", "hulls", "threads", "index-rays", "index-near",
                            "index-inside", "index-build", "index-memory", "index-threads"}},
                          {"soup10k", {"build", "rays"}},
                          {"buildings10k", {"index-rays", "index-inside"}}};

const tPlan kFullPlan = {{"motorbike",
                          {"build", "memory", "cancel", "rays", "sah", "hulls", "threads", "index-rays", "index-near",
                           "index-inside", "index-build", "index-memory", "index-threads"}},
                         {"buildings", {"index-rays", "index-near", "index-build", "index-memory", "index-threads"}},
                         {"dragon4", {"build", "rays"}},
                         {"dragon3", {"build", "rays", "hulls"}},
                         {"dragon2", {"build", "rays", "index-inside"}},
                         {"dragon",
                          {"build", "memory", "cancel", "rays", "sah", "hulls", "index-rays", "index-near",
                           "index-inside", "index-build", "index-memory", "index-threads"}},
                         {"terrain10k", {"build", "memory", "rays"}},
                         {"terrain100k", {"build", "memory", "rays", "index-inside"}},
                         {"terrain1M",
                          {"build", "memory", "cancel", "rays", "sah", "threads", "index-rays", "index-near",
                           "index-build", "index-memory", "index-threads"}},
                         {"terrain10M", {"build", "memory", "rays", "index-rays", "index-build", "index-memory"}},
                         {"soup10k", {"build", "rays"}},
                         {"soup100k", {"build", "rays", "index-inside"}},
                         {"soup1M", {"build", "memory", "rays", "index-inside"}},
                         {"soup10M", {"build"}}};

/// More rounds in small scenes, where runs are short, and fewer in large ones.
int roundsFor(const qzBench::qzScene& scene, int rounds) {
  if (scene.getNbTriangles() < 200000) return 3 * rounds;
  if (scene.getNbTriangles() > 5000000) return std::max(3, rounds / 3);
  return rounds;
}

/// save is called after each scene, so that a run that is stopped leaves what it has measured.
void run(const tPlan& plan, const tNames& kinds, const std::string& folder, const qzBench::qzSettings& settings,
         qzBench::qzReport& report, const std::function<void()>& save) {
  const auto isAskedFor = [&kinds](const std::string& kind) {
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
  };
  for (const auto& [sceneName, ownKinds] : plan) {
    if (std::none_of(ownKinds.begin(), ownKinds.end(), isAskedFor)) continue;
    const qzBench::qzScene scene = qzBench::makeScene(sceneName, folder);
    qzBench::qzSettings own = settings;
    own.mRounds = roundsFor(scene, settings.mRounds);
    for (const std::string& kind : ownKinds)
      if (isAskedFor(kind)) kKinds.at(kind)(scene, own, report);
    save();
  }
  for (const auto& [kind, measure] : kOtherKinds)
    if (isAskedFor(kind)) measure(settings, report);
  save();
}

}  // namespace

int main(int argc, char** argv) {
  tNames sceneKinds, scenes;
  for (const auto& [kind, measure] : kKinds) sceneKinds.push_back(kind);
  tNames allKinds = sceneKinds;
  for (const auto& [kind, measure] : kOtherKinds) allKinds.push_back(kind);
  tNames kinds = allKinds;
  std::string folder = QZ_BENCH_SCENES, jsonFile, commit = "unknown";
  bool isQuick = false, isSmoke = false, isIndex = false, isProcessorAsked = false;
  int rounds = 0;

  CLI::App app("Times the library and its peers on the same scenes, in turn, on one thread.");
  app.add_flag("--quick", isQuick, "fewer scenes, rays and rounds: a few minutes");
  app.add_flag("--index", isIndex, "the main figures of MeshIndex, in a minute");
  app.add_flag("--smoke", isSmoke, "every measurement for a moment, on small scenes; only the answers tell anything");
  const CLI::Option* const only =
      app.add_option("--only", kinds, "measure only these kinds")->delimiter(',')->check(CLI::IsMember(allKinds));
  app.add_option("--scenes", scenes, "measure all kinds on these scenes")
      ->delimiter(',')
      ->check(CLI::IsMember(qzBench::sceneNames()));
  app.add_option("--folder", folder, "folder of the scene files")->capture_default_str();
  app.add_option("--rounds", rounds, "runs of every contestant; default 9, with --quick 3")->check(CLI::Range(1, 1000));
  app.add_option("--json", jsonFile, "write the results to this file");
  app.add_option("--commit", commit, "commit that was built, for the header");
  app.add_flag("--processor", isProcessorAsked, "print the name of the processor and exit");
  CLI11_PARSE(app, argc, argv);

  if (isProcessorAsked) {
    std::printf("%s\n", qzBench::processorName().c_str());
    return 0;
  }
  try {
    qzBench::qzSettings settings;
    if (isIndex && only->empty()) kinds = kIndexKinds;
    if (isQuick || isIndex) {
      settings.mRounds = 3;
      settings.mRaySide = 256;
      settings.mSecondsPerRun = 0.02;
      settings.mLargestPlane = 1000000;
      settings.mPlaces = 20000;
      settings.mLargestTerrain = "terrain1M";
    }
    if (isSmoke) {
      settings.mRounds = 1;
      settings.mRaySide = 32;
      settings.mSecondsPerRun = 1000.0;  // no limit: the hash covers all regions
      settings.mMostRegions = 400;
      settings.mPlaces = 1000;
      settings.mLargestPlane = 10000;
      settings.mLargestTerrain = "terrain100k";
    }
    if (rounds > 0) settings.mRounds = rounds;
    tPlan plan = isSmoke ? kSmokePlan : isIndex ? kIndexPlan : isQuick ? kQuickPlan : kFullPlan;
    if (!scenes.empty()) {
      plan.clear();
      for (const std::string& scene : scenes) plan.emplace_back(scene, sceneKinds);
    }

    if (!jsonFile.empty()) expectFolderOf(jsonFile);
    tbb::info::default_concurrency();  // before the thread is pinned: oneTBB keeps its first count of processors
    if (!qzBench::pinToOneProcessor()) std::fprintf(stderr, "qzBench: the thread could not be pinned to a processor\n");
    const qzBench::qzSilence silence;
    qzBench::qzReport report({qzBench::processorName(), QZ_BENCH_COMPILER, QZ_BENCH_FLAGS, commit, qzBench::today()});
    run(plan, kinds, folder, settings, report, [&] {
      if (!jsonFile.empty()) qzToolkit::writeFile(jsonFile, report.getJson());
    });
    if (report.getNbDisagreements() == 0) return 0;
    std::fprintf(stderr, "qzBench: %d comparisons agree less than required\n", report.getNbDisagreements());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "qzBench: %s\n", error.what());
  }
  return 1;
}
