// qzquery: asks a triangle mesh in a file what it is, what a ray meets and what it looks like.

#include <csignal>

#include "qzRun.h"
#include "qzSignals.h"

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // a file that grows too large is an error like a full disk, not a sudden end
  qzToolkit::qzCancelToken cancel;
  int exitCode;
  {
    const qzQuery::qzSignals signals(cancel);
    exitCode = qzQuery::run(argc, argv, cancel);
  }
  if (exitCode > qzQuery::kExitSignalBase) {
    // Ends as if by the signal, so that a script around it learns that it should stop as well.
    std::signal(cancel.getReason(), SIG_DFL);
    std::raise(cancel.getReason());
  }
  return exitCode;
}
