#pragma once
// Messages for the person at the terminal.

#include <string>

namespace qzQuery {

struct tOptions;

/// Writes a line to standard error unless options ask for quiet or JSON.
void say(const tOptions& options, const std::string& line);

}  // namespace qzQuery
