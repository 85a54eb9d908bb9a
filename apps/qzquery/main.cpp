// qzquery: asks a triangle mesh in a file what it is, what a ray meets and what it looks like.

#include <toolkit/run/qzInterruption.h>

#include <csignal>

#include "qzRun.h"

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // a file that grows too large is an error like a full disk, not a sudden end
  qzToolkit::qzInterruption::CatchSignals();
  const int exitCode = qzQuery::run(argc, argv);
  if (exitCode > 128) {  // ends as if by the signal, so that a script around it learns that it should stop as well
    std::signal(exitCode - 128, SIG_DFL);
    std::raise(exitCode - 128);
  }
  return exitCode;
}
