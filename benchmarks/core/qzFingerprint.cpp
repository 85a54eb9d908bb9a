#include <benchmarks/core/qzFingerprint.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace qzBench {

void qzFingerprint::add(const void* bytes, std::size_t size) {
  const char* const begin = static_cast<const char*>(bytes);
  for (std::size_t offset = 0; offset + 4 <= size; offset += 4) {
    std::uint32_t word;
    std::memcpy(&word, begin + offset, 4);
    mState = (mState ^ word) * 1099511628211ull;
  }
}

std::string qzFingerprint::getText() const {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", static_cast<unsigned>(mState ^ (mState >> 32)));
  return text;
}

}  // namespace qzBench
