// qzquery cast: the nearest hit of every ray in a file.

#include <apps/qzquery/commands/qzCommands.h>
#include <apps/qzquery/console/qzChoice.h>
#include <apps/qzquery/console/qzClock.h>
#include <apps/qzquery/console/qzConsole.h>
#include <apps/qzquery/console/qzFormat.h>
#include <apps/qzquery/console/qzOptions.h>
#include <apps/qzquery/console/qzProgramThreads.h>
#include <apps/qzquery/console/qzProgressLine.h>
#include <apps/qzquery/scene/qzJson.h>
#include <apps/qzquery/scene/qzScene.h>
#include <toolkit/base/qzError.h>
#include <toolkit/io/table/qzRayFile.h>
#include <toolkit/query/qzRayCast.h>

#include <CLI/CLI.hpp>
#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>

namespace qzQuery {

namespace {

struct tCastArguments {
  std::string mMeshName, mRaysName, mHitsName;
  qzQBVH::tIntersectionPolicy mPolicy = qzQBVH::eIntersectBothFaces;
  bool mSymmetric = false;
};

qzToolkit::tBatchCaster casterOf(const tCastArguments& arguments, const qzToolkit::qzHierarchy& hierarchy) {
  return [&](const qzToolkit::qzRay* rays, std::size_t count, qzToolkit::qzHit* hits) {
    if (!arguments.mSymmetric) return hierarchy.castRays(rays, count, arguments.mPolicy, hits);
    for (std::size_t i = 0; i < count; ++i) hits[i] = castRaySymmetric(hierarchy, rays[i]);
  };
}

void checkSymmetricRay(const qzToolkit::qzRay& ray) {
  if (ray.mTMin != 0.0f) {
    throw qzToolkit::qzError("tMin must be 0 with --symmetric, which looks both ways from the origin");
  }
}

void cast(const tCastArguments& arguments, const tOptions& options, const qzToolkit::tCancel& cancel) {
  const qzScene scene(arguments.mMeshName, options, cancel);
  say(options, arguments.mMeshName, scene);
  const qzProgramThreads pool(options.mNbThreads);
  const qzToolkit::qzThreads& threads = pool.get();
  const qzClock clock;
  qzToolkit::qzRayReader rays(arguments.mRaysName, &cancel);
  qzToolkit::qzHitWriter hits(arguments.mHitsName, &cancel, rays.getNbRays());
  qzToolkit::qzCastCounts counts;
  {
    qzProgressLine progress("casting rays", rays.getSize(), !options.mQuiet);
    counts = castRays(rays, hits, casterOf(arguments, scene.getHierarchy()),
                      arguments.mSymmetric ? checkSymmetricRay : nullptr, threads, &cancel, &progress);
  }
  hits.commit();
  const double duration = clock.getSeconds();

  if (options.mAsJson) {
    nlohmann::ordered_json answer = describeWork(arguments.mMeshName, scene, options, threads.getNbThreads());
    answer["rays"] = counts.mNbRays;
    answer["hits"] = counts.mNbHits;
    answer["castSeconds"] = duration;
    writeJson(answer, arguments.mHitsName);
    return;
  }
  say(options, "rays: " + std::to_string(counts.mNbRays) + ", " + std::to_string(counts.mNbHits) + " hit (" +
                   percent(counts.mNbHits, counts.mNbRays) + "), cast in " + seconds(duration) + " by " +
                   countOfThreads(threads.getNbThreads()));
}

}  // namespace

void addCastCommand(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel) {
  CLI::App& command = *app.add_subcommand("cast", "Find the nearest hit of every ray in a file");
  const auto arguments = std::make_shared<tCastArguments>();
  command.add_option("MESH", arguments->mMeshName, "Mesh file; may be compressed (.gz)")->required();
  command
      .add_option(
          "RAYS", arguments->mRaysName,
          "Rays as CSV or .npy: 6 columns of origin and direction, optionally tMin and tMax; - is standard input")
      ->required();
  command
      .add_option(
          "-o,--output", arguments->mHitsName,
          "Hits as .npy if the name ends in .npy, else as CSV: distance, triangle, three weights; - is standard "
          "output, which gets hits as rays arrive, including those before an invalid line")
      ->required();
  CLI::Option* policy = addChoice<qzQBVH::tIntersectionPolicy>(command, "--policy", arguments->mPolicy,
                                                               {{"both", qzQBVH::eIntersectBothFaces},
                                                                {"front", qzQBVH::eIntersectFrontFaces},
                                                                {"back", qzQBVH::eIntersectBackFaces}},
                                                               "Faces that can be hit (default: both)");
  command
      .add_flag("--symmetric", arguments->mSymmetric,
                "Search both directions from the origin, front faces only; distances are absolute values")
      ->excludes(policy);
  addOptions(command, options);
  command.callback([arguments, &options, &cancel] { cast(*arguments, options, cancel); });
}

}  // namespace qzQuery
