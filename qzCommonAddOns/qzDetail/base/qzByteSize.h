#pragma once
// Byte sizes as log records print them.

#include <cstdint>
#include <string>

namespace qzDetail {

/// A size with a binary prefix and at most one decimal, rounded half downwards: 1023, 1.5k, 3.9k, 4k, 100M. The caller
/// appends the unit.
std::string formatByteSize(std::int64_t size);

}  // namespace qzDetail
