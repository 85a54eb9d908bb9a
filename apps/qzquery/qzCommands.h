#pragma once
// The subcommands of qzquery and the options that all of them take.

namespace CLI {
class App;
}

namespace qzQuery {

enum class tBuilder { eLinear, eSurfaceArea };

struct tOptions {
  tBuilder mBuilder = tBuilder::eLinear;
  unsigned mLeafSize = 4;  // of the linear builder
  int mNbThreads = 0;      // as many as the machine has
  bool mQuiet = false;
  bool mVerbose = false;
  bool mAsJson = false;
};

/// Adds --builder, --leaf, --threads, --quiet, --verbose and --json to a subcommand.
void addOptions(CLI::App& command, tOptions& options);

// Each adds a subcommand that runs when it is chosen on the command line. options must outlive app.
void addInfoCommand(CLI::App& app, tOptions& options);
void addInspectCommand(CLI::App& app, tOptions& options);
void addRenderCommand(CLI::App& app, tOptions& options);
void addCastCommand(CLI::App& app, tOptions& options);

/// Makes app the whole of qzquery: its description, its own options and all subcommands.
void addCommands(CLI::App& app, tOptions& options);

}  // namespace qzQuery
