#include <apps/qzquery/qzRun.h>

#include <apps/qzquery/commands/qzCommands.h>
#include <apps/qzquery/console/qzOptions.h>
#include <qzSystem/qzLog.h>
#include <toolkit/base/qzError.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <new>
#include <string>

namespace qzQuery {

namespace {

/// Prints the log records of the library: errors always, others with --verbose.
class tLogSink : public qz::qzLog {
 public:
  explicit tLogSink(const tOptions& options) : mOptions(options) { msInstance = this; }
  ~tLogSink() override { msInstance = nullptr; }
  tLogSink(const tLogSink&) = delete;
  tLogSink& operator=(const tLogSink&) = delete;

  bool isLogTypeEnabled(qz::qzLogType type) const override { return mOptions.mVerbose || type == qz::eLogError; }
  void write(qz::qzLogType, const std::string& category, const std::string& text) override {
    std::fprintf(stderr, "%s%s%s\n", category.c_str(), category.empty() ? "" : ": ", text.c_str());
  }

 private:
  const tOptions& mOptions;
};

int fail(const std::string& line) {
  std::fprintf(stderr, "qzquery: %s\n", line.substr(0, line.find('\n')).c_str());
  return kExitFailure;
}

}  // namespace

void addCommands(CLI::App& app, tOptions& options, const qzToolkit::tCancel& cancel) {
  app.name("qzquery");
  app.description("Inspects a triangle mesh in a file, casts rays at it and renders it.");
  app.set_version_flag("--version", "qzquery " QZQUERY_VERSION);
  app.require_subcommand(1);
  app.footer(
      "Exit codes: 0 on success; 2 when the command line or a file is invalid, or output cannot be written, after one "
      "line that says why; 128 plus the number of the signal after SIGINT (Ctrl-C: 130), SIGTERM or SIGHUP. No file is "
      "left half-written.");
  addInfoCommand(app, options, cancel);
  addInspectCommand(app, options, cancel);
  addRenderCommand(app, options, cancel);
  addCastCommand(app, options, cancel);
}

int run(int argc, const char* const* argv, const qzToolkit::qzCancelToken& cancel) {
  tOptions options;
  const tLogSink logSink(options);
  CLI::App app;
  addCommands(app, options, cancel);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return error.get_exit_code() == kExitSuccess ? app.exit(error) : fail(error.what());  // 0: --help or --version
  } catch (const qzToolkit::qzInterrupted& interruption) {
    fail(interruption.what());
    return kExitSignalBase + cancel.getReason();
  } catch (const std::bad_alloc&) {
    return fail("not enough memory");
  } catch (const std::exception& error) {
    return fail(error.what());
  }
  return kExitSuccess;
}

}  // namespace qzQuery
