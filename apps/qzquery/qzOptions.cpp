#include "qzOptions.h"

#include <CLI/CLI.hpp>

#include "qzChoice.h"

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
      "How to build the hierarchy: linear (default), quick to build, or sah, by surface areas, quick to "
      "ask");
  CLI::Option* const leaf =
      command.add_option("--leaf", options.mLeafSize, "Triangles in a leaf of the linear builder at most")
          ->check(CLI::Range(1u, kMaxLeafSize))
          ->capture_default_str();
  command.parse_complete_callback([leaf, &options] {
    if (options.mBuilder == tBuilder::eSurfaceArea && leaf->count() > 0) {
      throw CLI::ValidationError("--leaf", "goes with --builder linear; the other one finds its own leaves");
    }
  });
  command.add_option("--threads", options.mNbThreads, "Threads; without it, as many as the machine has")
      ->check(CLI::Range(1, kMaxThreads));
  command.add_flag("--quiet", options.mQuiet, "Say nothing but errors");
  command.add_flag("--verbose", options.mVerbose, "Show the log records of the library");
  command.add_flag("--json", options.mAsJson,
                   "Answer as one JSON object on standard output, or on standard error where -o - takes the other");
}

}  // namespace qzQuery
