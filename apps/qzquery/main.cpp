// qzquery: asks a triangle mesh in a file what it is, what a ray meets and what it looks like.

#include <csignal>

#include "qzRun.h"

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // a file that grows too large is an error like a full disk, not a sudden end
  return qzQuery::run(argc, argv);
}
