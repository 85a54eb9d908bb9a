// qzquery cast: the nearest hit of every ray in a file.

#include <toolkit/qzError.h>
#include <toolkit/qzProgress.h>
#include <toolkit/qzRayFile.h>
#include <toolkit/qzThreads.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "qzChoice.h"
#include "qzCommands.h"
#include "qzJson.h"
#include "qzScene.h"

namespace qzQuery {

namespace {

struct tCastArguments {
  std::string mMeshName, mRaysName, mHitsName;
  qzQBVH::tIntersectionPolicy mPolicy = qzQBVH::eIntersectBothFaces;
  bool mSymmetric = false;
};

void cast(const tCastArguments& arguments, const tOptions& options) {
  const qzScene scene(arguments.mMeshName, options);
  const std::vector<qzToolkit::qzRay> rays = qzToolkit::readRays(arguments.mRaysName);
  if (arguments.mSymmetric) {
    const auto bounded = std::find_if(rays.begin(), rays.end(), [](const auto& ray) { return ray.mTMin != 0.0f; });
    if (bounded != rays.end()) {
      const std::string name = arguments.mRaysName == "-" ? "standard input" : arguments.mRaysName;
      throw qzToolkit::qzError(name + ": ray " + std::to_string(bounded - rays.begin()),
                               "tMin must be 0 with --symmetric, which looks both ways from the origin");
    }
  }

  const qzToolkit::qzThreads threads(options.mNbThreads);
  std::vector<qzToolkit::qzHit> hits;
  const double start = now();
  {
    qzToolkit::qzProgress progress("casting rays", rays.size(), !options.mQuiet);
    hits = arguments.mSymmetric ? qzToolkit::castRaysSymmetric(scene.getHierarchy(), rays, threads, progress)
                                : qzToolkit::castRays(scene.getHierarchy(), rays, arguments.mPolicy, threads, progress);
  }
  const double duration = now() - start;
  qzToolkit::writeHits(arguments.mHitsName, hits);

  const auto nbHits = static_cast<std::size_t>(
      std::count_if(hits.begin(), hits.end(), [](const qzToolkit::qzHit& hit) { return hit.isHit(); }));
  if (options.mAsJson) {
    nlohmann::ordered_json answer = describeWork(arguments.mMeshName, scene, options, threads.getNbThreads());
    answer["rays"] = rays.size();
    answer["hits"] = nbHits;
    answer["castSeconds"] = duration;
    writeJson(answer, arguments.mHitsName);
    return;
  }
  say(options, "rays: " + std::to_string(rays.size()) + ", " + std::to_string(nbHits) + " hit (" +
                   percent(nbHits, rays.size()) + "), cast in " + seconds(duration) + " by " +
                   std::to_string(threads.getNbThreads()) + (threads.getNbThreads() == 1 ? " thread" : " threads"));
}

}  // namespace

void addCastCommand(CLI::App& app, tOptions& options) {
  CLI::App& command = *app.add_subcommand("cast", "Find the nearest hit of every ray in a file");
  const auto arguments = std::make_shared<tCastArguments>();
  command.add_option("MESH", arguments->mMeshName, "Mesh file, perhaps with .gz behind its name")->required();
  command
      .add_option(
          "RAYS", arguments->mRaysName,
          "Rays as CSV or .npy: origin and direction in 6 columns, then tMin and tMax if you like; - is standard "
          "input")
      ->required();
  command
      .add_option(
          "-o,--output", arguments->mHitsName,
          "Hits as .npy when the name ends so, else as CSV: distance, triangle, three weights; - is standard output")
      ->required();
  CLI::Option* policy = addChoice<qzQBVH::tIntersectionPolicy>(command, "--policy", arguments->mPolicy,
                                                               {{"both", qzQBVH::eIntersectBothFaces},
                                                                {"front", qzQBVH::eIntersectFrontFaces},
                                                                {"back", qzQBVH::eIntersectBackFaces}},
                                                               "Faces that count; both without it");
  command
      .add_flag("--symmetric", arguments->mSymmetric,
                "Look both ways along every line, for front faces only; distances are without sign")
      ->excludes(policy);
  addOptions(command, options);
  command.callback([arguments, &options] { cast(*arguments, options); });
}

}  // namespace qzQuery
