// qzquery cast: the hits of every ray in a file.

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
#include <toolkit/query/qzIndexCast.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

namespace qzQuery {

namespace {

/// What is written of the hits of a ray.
enum class tAsked { eNearest, eSymmetric, eAny, eAll, eCount };

struct tCastArguments {
  std::string mMeshName, mRaysName, mHitsName;
  qzQBVH::tIntersectionPolicy mPolicy = qzQBVH::eIntersectBothFaces;
  tAsked mAsked = tAsked::eNearest;
  qzToolkit::tHitDetails mDetails;
};

void checkSymmetricRay(const qzToolkit::qzRay& ray) {
  if (ray.mTMin != 0.0f) {
    throw qzToolkit::qzError("tMin must be 0 with --symmetric, which looks both ways from the origin");
  }
}

qzToolkit::qzRayQuestion questionOf(const tCastArguments& arguments, const qzScene& scene) {
  switch (arguments.mAsked) {
    case tAsked::eSymmetric: {
      qzToolkit::qzRayQuestion question =
          qzToolkit::askForHits(scene.getMesh(), arguments.mDetails, scene.getSymmetricCaster());
      question.mCheck = checkSymmetricRay;
      return question;
    }
    case tAsked::eAny:
      return qzToolkit::askForAny(scene.getIndex(), arguments.mPolicy);
    case tAsked::eAll:
      return qzToolkit::askForAll(scene.getIndex(), scene.getMesh(), arguments.mDetails, arguments.mPolicy);
    case tAsked::eCount:
      return qzToolkit::askForCrossings(scene.getIndex(), arguments.mPolicy);
    case tAsked::eNearest:
      break;
  }
  return qzToolkit::askForHits(scene.getMesh(), arguments.mDetails, scene.getCaster(arguments.mPolicy));
}

void cast(const tCastArguments& arguments, const tOptions& options, const qzToolkit::tCancel& cancel) {
  const bool needsIndex =
      arguments.mAsked == tAsked::eAny || arguments.mAsked == tAsked::eAll || arguments.mAsked == tAsked::eCount;
  if (needsIndex && options.mEngine != tEngine::eIndex) {
    throw qzToolkit::qzError("--any, --all and --count", "need --engine index");
  }
  const qzScene scene(arguments.mMeshName, options, cancel);
  say(options, arguments.mMeshName, scene);
  const qzProgramThreads pool(options.mNbThreads);
  const qzToolkit::qzThreads& threads = pool.get();
  const qzClock clock;
  qzToolkit::qzRayReader rays(arguments.mRaysName, &cancel);
  const qzToolkit::qzRayQuestion question = questionOf(arguments, scene);
  qzToolkit::qzTableWriter hits(arguments.mHitsName, question.mColumns, &cancel,
                                question.mHasOneRowPerRay ? rays.getNbRays() : std::nullopt);
  qzToolkit::qzCastCounts counts;
  {
    qzProgressLine progress("casting rays", rays.getSize(), !options.mQuiet);
    counts = castRays(rays, hits, question, threads, &cancel, &progress);
  }
  hits.commit();
  const double duration = clock.getSeconds();

  if (options.mAsJson) {
    nlohmann::ordered_json answer = describeWork(arguments.mMeshName, scene, options, threads.getNbThreads());
    answer["rays"] = counts.mNbRays;
    answer["hits"] = counts.mNbHits;
    answer["rows"] = counts.mNbRows;
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
  CLI::App& command =
      *app.add_subcommand("cast", "Find the hits of every ray in a file: the nearest one, or what the options ask for");
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
          "Hits as .npy if the name ends in .npy, else as CSV with column names: distance, triangle, three weights; - "
          "is standard output, which gets hits as rays arrive, including those before an invalid line")
      ->required();
  CLI::Option* policy = addChoice<qzQBVH::tIntersectionPolicy>(command, "--policy", arguments->mPolicy,
                                                               {{"both", qzQBVH::eIntersectBothFaces},
                                                                {"front", qzQBVH::eIntersectFrontFaces},
                                                                {"back", qzQBVH::eIntersectBackFaces}},
                                                               "Faces that can be hit (default: both)");
  const auto addQuestion = [&](const char* name, tAsked asked, const char* description) {
    return command.add_flag_callback(
        name, [arguments, asked] { arguments->mAsked = asked; }, description);
  };
  CLI::Option* const symmetric =
      addQuestion("--symmetric", tAsked::eSymmetric,
                  "Search both directions from the origin, front faces only; distances are absolute values");
  CLI::Option* const any = addQuestion("--any", tAsked::eAny, "Only whether each ray hits: 1 or 0");
  CLI::Option* const all =
      addQuestion("--all", tAsked::eAll, "All hits, by distance, one per row after the number of its ray, from 0");
  CLI::Option* const count =
      addQuestion("--count", tAsked::eCount, "Only how many front and how many back faces each ray meets");
  CLI::Option* const point =
      command.add_flag("--point", arguments->mDetails.mPoint, "Add the point of a hit: columns x, y, z");
  CLI::Option* const normal =
      command.add_flag("--normal", arguments->mDetails.mNormal,
                       "Add the unit normal of the triangle, by the order of its vertices: columns nx, ny, nz");
  symmetric->excludes(policy);
  for (CLI::Option* const one : {symmetric, any, all, count}) {
    for (CLI::Option* const other : {symmetric, any, all, count}) {
      if (one != other) one->excludes(other);
    }
  }
  for (CLI::Option* const one : {any, count}) one->excludes(point)->excludes(normal);
  addOptions(command, options, true);
  command.callback([arguments, &options, &cancel] { cast(*arguments, options, cancel); });
}

}  // namespace qzQuery
