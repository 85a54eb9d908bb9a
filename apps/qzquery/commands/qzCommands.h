#pragma once
// The subcommands of qzquery.

#include <toolkit/run/qzCancelToken.h>

namespace CLI {
class App;
}

namespace qzQuery {

struct tOptions;

// Each adds a subcommand that runs when it is chosen on the command line, and throws a qzInterrupted when it is
// cancelled. options and cancel must outlive app.
void addInfoCommand(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel);
void addInspectCommand(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel);
void addRenderCommand(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel);
void addCastCommand(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel);

/// Sets up app as qzquery: description, options and all subcommands.
void addCommands(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel);

}  // namespace qzQuery
