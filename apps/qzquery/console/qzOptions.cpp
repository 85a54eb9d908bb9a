#include <apps/qzquery/console/qzOptions.h>

#include <apps/qzquery/console/qzChoice.h>

#include <CLI/CLI.hpp>

namespace qzQuery {

namespace {

constexpr unsigned kMaxLeafSize = 1u << 28;
constexpr int kMaxThreads = 1024;

}  // namespace

const char* nameOf(tBuilder builder) {
  return builder == tBuilder::eLinear ? "linear" : "sah";
}

void addOptions(CLI::App& command, tOptions& options) {
  addChoice<tBuilder>(
      command, "--builder", options.mBuilder,
      {{nameOf(tBuilder::eLinear), tBuilder::eLinear}, {nameOf(tBuilder::eSurfaceArea), tBuilder::eSurfaceArea}},
      "Builder: linear (default) builds faster, sah (surface-area heuristic) makes queries faster");
  CLI::Option* const leaf =
      command.add_option("--leaf", options.mLeafSize, "Maximum number of triangles in a leaf (linear builder only)")
          ->check(CLI::Range(1u, kMaxLeafSize))
          ->capture_default_str();
  command.parse_complete_callback([leaf, &options] {
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
