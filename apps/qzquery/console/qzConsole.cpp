#include <apps/qzquery/console/qzConsole.h>

#include <apps/qzquery/console/qzOptions.h>

#include <cstdio>

namespace qzQuery {

void say(const tOptions& options, const std::string& line) {
  if (!options.mQuiet && !options.mAsJson) std::fprintf(stderr, "%s\n", line.c_str());
}

}  // namespace qzQuery
