#pragma once
// The options that all subcommands of qzquery take.

namespace CLI {
class App;
}

namespace qzQuery {

enum class tBuilder { eLinear, eSurfaceArea };

struct tOptions {
  tBuilder mBuilder = tBuilder::eLinear;
  unsigned mLeafSize = 4;  // of the linear builder
  int mNbThreads = 0;      // as many as there are processors
  bool mQuiet = false;
  bool mVerbose = false;
  bool mAsJson = false;
};

/// The value of --builder that selects it.
const char* nameOf(tBuilder builder);

/// Adds --builder, --leaf, --threads, --quiet, --verbose and --json to a subcommand. options must outlive it.
void addOptions(CLI::App& command, tOptions& options);

}  // namespace qzQuery
