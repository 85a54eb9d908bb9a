#include <apps/qzquery/console/qzOptions.h>

#include <apps/qzquery/console/qzChoice.h>

#include <CLI/CLI.hpp>

namespace qzQuery {

namespace {

constexpr unsigned kMaxLeafSize = 1u << 28;
constexpr int kMaxThreads = 1024;

}  // namespace

const char* nameOf(tEngine engine) {
  return engine == tEngine::eIndex ? "index" : "qbvh";
}

const char* nameOf(qzMeshQueries::Quality quality) {
  switch (quality) {
    case qzMeshQueries::Quality::fast:
      return "fast";
    case qzMeshQueries::Quality::good:
      return "good";
    case qzMeshQueries::Quality::best:
      break;
  }
  return "best";
}

const char* nameOf(tBuilder builder) {
  return builder == tBuilder::eLinear ? "linear" : "sah";
}

void addOptions(CLI::App& command, tOptions& options, bool hasEngines) {
  using qzMeshQueries::Quality;
  CLI::Option *engine = nullptr, *quality = nullptr;
  if (hasEngines) {
    engine = addChoice<tEngine>(command, "--engine", options.mEngine,
                                {{nameOf(tEngine::eIndex), tEngine::eIndex}, {nameOf(tEngine::eQbvh), tEngine::eQbvh}},
                                "What answers: index (watertight, default) or qbvh (default with --builder or --leaf)");
    quality = addChoice<Quality>(command, "--quality", options.mQuality,
                                 {{nameOf(Quality::fast), Quality::fast},
                                  {nameOf(Quality::good), Quality::good},
                                  {nameOf(Quality::best), Quality::best}},
                                 "Time to build the index for faster rays: fast, good (default) or best");
  }
  CLI::Option* const builder = addChoice<tBuilder>(
      command, "--builder", options.mBuilder,
      {{nameOf(tBuilder::eLinear), tBuilder::eLinear}, {nameOf(tBuilder::eSurfaceArea), tBuilder::eSurfaceArea}},
      "Builder of a qbvh: linear (default) builds faster, sah (surface-area heuristic) makes queries faster");
  CLI::Option* const leaf =
      command.add_option("--leaf", options.mLeafSize, "Maximum number of triangles in a leaf (linear builder only)")
          ->check(CLI::Range(1u, kMaxLeafSize))
          ->capture_default_str();
  command.parse_complete_callback([engine, quality, builder, leaf, &options] {
    if (engine != nullptr) {
      options.mIsEngineGiven = engine->count() > 0;
      const bool asksForQbvh = builder->count() + leaf->count() > 0;
      if (!options.mIsEngineGiven) options.mEngine = asksForQbvh ? tEngine::eQbvh : tEngine::eIndex;
      if (asksForQbvh && options.mEngine == tEngine::eIndex) {
        throw CLI::ValidationError(builder->count() > 0 ? "--builder" : "--leaf", "is for --engine qbvh");
      }
      if (quality->count() > 0 && options.mEngine == tEngine::eQbvh) {
        throw CLI::ValidationError("--quality", "is for --engine index");
      }
    }
    if (options.mBuilder == tBuilder::eSurfaceArea && leaf->count() > 0) {
      throw CLI::ValidationError("--leaf", "is for --builder linear; sah chooses its own leaf sizes");
    }
  });
  command.add_option("--threads", options.mNbThreads, "Number of threads (default: all processors)")
      ->check(CLI::Range(1, kMaxThreads));
  command.add_flag("--quiet", options.mQuiet, "Print errors only");
  command.add_flag("--verbose", options.mVerbose, "Print the log records of the library");
  command.add_flag("--json", options.mAsJson,
                   "Print the result as one JSON object on standard output (on standard error with -o -)");
}

}  // namespace qzQuery
