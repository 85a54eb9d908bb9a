#pragma once
// Stable sort of (code, primitive) pairs by code, by radix.
//
// Codes have far more bits than it takes to tell n primitives apart. So only the 32 bits below and including the
// highest differing one are sorted digit by digit. The few pairs that agree in all of these form short runs, which
// insertion sort finishes. A large array is first distributed by its top digit into pieces that fit the cache.

#include <qzCommonAddOns/qzDetail/base/qzBits.h>
#include <qzCommonAddOns/qzDetail/base/qzScratch.h>

#include <cstdint>
#include <utility>

namespace qzDetail {

/// A run of pairs.
template <class Code>
struct tPairs {
  Code* mCodes;
  std::uint32_t* mIndices;

  tPairs from(std::uint32_t first) const { return {mCodes + first, mIndices + first}; }
};

constexpr unsigned int kDigitBits = 8;
constexpr unsigned int kDigitValues = 1u << kDigitBits;
constexpr std::uint32_t kLongestInsertion = 24;          // pairs; up to here inserting is faster than counting
constexpr std::uint32_t kLongestWithoutDeal = 1u << 16;  // pairs; up to here the whole array stays in the cache

/// Turns the counts of a digit's values into the positions where their pairs begin.
inline void startsFromCounts(std::uint32_t* counts) {
  std::uint32_t sum = 0;
  for (unsigned int value = 0; value < kDigitValues; ++value) sum += std::exchange(counts[value], sum);
}

template <class Code>
void insertionSort(tPairs<Code> pairs, std::uint32_t n) {
  for (std::uint32_t i = 1; i < n; ++i) {
    const Code code = pairs.mCodes[i];
    const std::uint32_t index = pairs.mIndices[i];
    std::uint32_t k = i;
    for (; k > 0 && pairs.mCodes[k - 1] > code; --k) {
      pairs.mCodes[k] = pairs.mCodes[k - 1];
      pairs.mIndices[k] = pairs.mIndices[k - 1];
    }
    pairs.mCodes[k] = code;
    pairs.mIndices[k] = index;
  }
}

/// Sorts by kDigits digits from bit shift up, least significant first. The result is in pairs when kDigits is even, in
/// other when it is odd.
template <unsigned int kDigits, class Code>
void sortDigits(tPairs<Code> pairs, tPairs<Code> other, std::uint32_t n, unsigned int shift) {
  std::uint32_t starts[kDigits][kDigitValues] = {};
  for (std::uint32_t i = 0; i < n; ++i) {
    const Code bits = pairs.mCodes[i] >> shift;
    for (unsigned int digit = 0; digit < kDigits; ++digit) {
      ++starts[digit][bits >> (kDigitBits * digit) & (kDigitValues - 1)];
    }
  }
  for (unsigned int digit = 0; digit < kDigits; ++digit) {
    startsFromCounts(starts[digit]);
    for (std::uint32_t i = 0; i < n; ++i) {
      const Code code = pairs.mCodes[i];
      const std::uint32_t to = starts[digit][code >> (shift + kDigitBits * digit) & (kDigitValues - 1)]++;
      other.mCodes[to] = code;
      other.mIndices[to] = pairs.mIndices[i];
    }
    std::swap(pairs, other);
  }
}

/// Completes a sort by the bits from shift up: sorts every run of pairs that agree in these by the bits below.
template <class Code>
void sortRuns(tPairs<Code> pairs, tPairs<Code> other, std::uint32_t n, unsigned int shift) {
  if (shift == 0) return;
  for (std::uint32_t first = 0; first < n;) {
    const Code top = pairs.mCodes[first] >> shift;
    std::uint32_t last = first + 1;
    while (last < n && pairs.mCodes[last] >> shift == top) ++last;
    if (last - first <= kLongestInsertion) {
      insertionSort(pairs.from(first), last - first);
    } else {
      sortDigits<4>(pairs.from(first), other.from(first), last - first, 0);  // at most 31 bits are left
    }
    first = last;
  }
}

/// Sorts codes ascending and writes the primitive numbers 0 ... n - 1 in that order to indices; equal codes keep
/// ascending numbers. Linear in n; works in 4 + sizeof(Code) bytes per pair.
template <class Code>
void sortByCode(Code* codes, std::uint32_t* indices, std::uint32_t n) {
  const tPairs<Code> pairs{codes, indices};
  Code differing = 0;
  for (std::uint32_t i = 0; i < n; ++i) {
    indices[i] = i;
    differing |= codes[i] ^ codes[0];
  }
  if (differing == 0) return;
  const unsigned int nbBits = highestBit(differing) + 1;
  const unsigned int shift = nbBits > 4 * kDigitBits ? nbBits - 4 * kDigitBits : 0;  // of the window of four digits

  tScratch<Code> otherCodes(n);
  tScratch<std::uint32_t> otherIndices(n);
  const tPairs<Code> other{otherCodes.data(), otherIndices.data()};
  if (n <= kLongestWithoutDeal) {
    sortDigits<4>(pairs, other, n, shift);
    sortRuns(pairs, other, n, shift);
    return;
  }

  // Distribute by the top digit, then sort every piece by the other three digits, which returns it to its array.
  const unsigned int topShift = shift + 3 * kDigitBits;
  std::uint32_t ends[kDigitValues] = {};
  for (std::uint32_t i = 0; i < n; ++i) ++ends[codes[i] >> topShift & (kDigitValues - 1)];
  startsFromCounts(ends);
  for (std::uint32_t i = 0; i < n; ++i) {
    const Code code = codes[i];
    const std::uint32_t to = ends[code >> topShift & (kDigitValues - 1)]++;
    other.mCodes[to] = code;
    other.mIndices[to] = i;
  }
  std::uint32_t first = 0;
  for (const std::uint32_t end : ends) {
    if (first < end) {
      sortDigits<3>(other.from(first), pairs.from(first), end - first, shift);
      sortRuns(pairs.from(first), other.from(first), end - first, shift);
    }
    first = end;
  }
}

}  // namespace qzDetail
