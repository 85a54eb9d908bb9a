// qzquery: inspects a triangle mesh in a file, casts rays at it and renders it.

#include <apps/qzquery/console/qzSignals.h>
#include <apps/qzquery/qzRun.h>

#include <csignal>

int main(int argc, char** argv) {
  // Exceeding the file size limit is an error like a full disk and does not kill the process.
  std::signal(SIGXFSZ, SIG_IGN);
  qzToolkit::qzCancelToken cancel;
  int exitCode;
  {
    const qzQuery::qzSignals signals(cancel);
    exitCode = qzQuery::run(argc, argv, cancel);
  }
  if (exitCode > qzQuery::kExitSignalBase) {
    // Dies by the signal, so that a calling script stops as well.
    std::signal(cancel.getReason(), SIG_DFL);
    std::raise(cancel.getReason());
  }
  return exitCode;
}
