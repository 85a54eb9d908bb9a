#pragma once
// A hash for fingerprints: FNV-1a over the bytes of words, the low byte first, so it is the same on every machine.

#include "support/qzBits.h"

#include <cstdint>

namespace qzTest {

class Hash {
 public:
  void add(std::uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) mValue = (mValue ^ (word >> shift & 0xFF)) * 0x100000001B3u;
  }
  /// The float's bits; one NaN stands for all of them. Decided on the bits: a compiler may take it that no float is
  /// NaN.
  void add(float value) {
    const std::uint32_t bits = bitsOf(value);
    add((bits & 0x7FFFFFFFu) > 0x7F800000u ? 0x7FC00000u : bits);
  }
  void add(const qzBBox& box) {
    for (int axis = 0; axis < 3; ++axis) {
      add(box.getMinPoint()[axis]);
      add(box.getMaxPoint()[axis]);
    }
  }
  std::uint64_t value() const { return mValue; }

 private:
  std::uint64_t mValue = 0xCBF29CE484222325u;
};

}  // namespace qzTest
