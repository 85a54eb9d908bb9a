#pragma once
// Numbers with their units, as messages show them.

#include <cstddef>
#include <string>

namespace qzQuery {

/// "12.3 %"; "0 %" if whole is 0.
std::string percent(std::size_t part, std::size_t whole);
/// "0.123 s"
std::string seconds(double duration);
/// "12.3 MB"
std::string megabytes(double bytes);
/// "1 thread", "2 threads"
std::string countOfThreads(int count);

}  // namespace qzQuery
