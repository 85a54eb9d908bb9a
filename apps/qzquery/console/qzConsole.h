#pragma once
// Messages for the user.

#include <string>

namespace qzQuery {

struct tOptions;

/// Writes a line to standard error unless options ask for quiet or JSON.
void say(const tOptions& options, const std::string& line);

}  // namespace qzQuery
