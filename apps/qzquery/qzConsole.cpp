#include "qzConsole.h"

#include <cstdio>

#include "qzOptions.h"

namespace qzQuery {

void say(const tOptions& options, const std::string& line) {
  if (!options.mQuiet && !options.mAsJson) std::fprintf(stderr, "%s\n", line.c_str());
}

}  // namespace qzQuery
