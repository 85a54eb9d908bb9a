#pragma once
// Stable radix sort of (code, primitive) pairs, least significant digit first.

#include <cstdint>
#include <memory>
#include <utility>

namespace qzDetail {

/// Sorts codes ascending and writes the primitive numbers 0 ... n - 1 in that order to indices; equal codes keep
/// ascending numbers. Linear in n; works in 4 + sizeof(Code) bytes per pair.
template <class Code>
void sortByCode(Code* codes, std::uint32_t* indices, std::uint32_t n) {
  constexpr unsigned int kDigits = sizeof(Code), kValues = 256;

  // One pass counts every digit.
  std::uint32_t counts[kDigits][kValues] = {};
  for (std::uint32_t i = 0; i < n; ++i) {
    indices[i] = i;
    for (unsigned int digit = 0; digit < kDigits; ++digit) ++counts[digit][codes[i] >> (8 * digit) & 0xFF];
  }

  const std::unique_ptr<Code[]> otherCodes(new Code[n]);
  const std::unique_ptr<std::uint32_t[]> otherIndices(new std::uint32_t[n]);
  Code *from = codes, *to = otherCodes.get();
  std::uint32_t *fromIndices = indices, *toIndices = otherIndices.get();
  for (unsigned int digit = 0; digit < kDigits; ++digit) {
    std::uint32_t* offsets = counts[digit];
    const unsigned int shift = 8 * digit;
    if (n == 0 || offsets[from[0] >> shift & 0xFF] == n) continue;  // the same in all codes: nothing would move
    std::uint32_t sum = 0;
    for (unsigned int value = 0; value < kValues; ++value) sum += std::exchange(offsets[value], sum);
    for (std::uint32_t i = 0; i < n; ++i) {
      const std::uint32_t position = offsets[from[i] >> shift & 0xFF]++;
      to[position] = from[i];
      toIndices[position] = fromIndices[i];
    }
    std::swap(from, to);
    std::swap(fromIndices, toIndices);
  }
  if (from != codes) {
    for (std::uint32_t i = 0; i < n; ++i) {
      codes[i] = from[i];
      indices[i] = fromIndices[i];
    }
  }
}

}  // namespace qzDetail
