#include <qzCommonAddOns/qzDetail/build/qzRadixSelect.h>

#include <utility>

namespace qzDetail {

namespace {

constexpr unsigned int kDigitBits = 11, kDigits = 1u << kDigitBits;

// Of count keys, keeps those that agree with the one at rank in the 11 bits from shift on, and their positions, both in
// order. rank becomes the rank among them. Returns their number. Input and output may be the same arrays.
template <class KeyAt, class PositionAt>
std::uint32_t narrow(unsigned int shift, std::uint32_t count, std::uint32_t& rank, KeyAt keyAt, PositionAt positionAt,
                     std::uint32_t* positions, std::uint32_t* candidates) {
  const auto digitOf = [=](std::uint32_t key) { return key >> shift & (kDigits - 1); };
  std::uint32_t counts[kDigits] = {};
  for (std::uint32_t i = 0; i < count; ++i) ++counts[digitOf(keyAt(i))];
  std::uint32_t digit = 0;
  while (counts[digit] <= rank) rank -= counts[digit++];

  std::uint32_t nbKept = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t key = keyAt(i);
    positions[nbKept] = positionAt(i);
    candidates[nbKept] = key;
    nbKept += digitOf(key) == digit;
  }
  return nbKept;
}

}  // namespace

std::uint32_t positionOfRank(const std::uint32_t* keys, std::uint32_t count, std::uint32_t rank,
                             std::uint32_t* positions, std::uint32_t* candidates) {
  // Digits overlap by one bit, in which all candidates agree by then.
  const auto own = [](std::uint32_t i) { return i; };
  const auto keyOf = [=](std::uint32_t i) { return keys[i]; };
  const auto kept = [=](std::uint32_t i) { return positions[i]; };
  const auto keyOfKept = [=](std::uint32_t i) { return candidates[i]; };
  count = narrow(21, count, rank, keyOf, own, positions, candidates);
  count = narrow(10, count, rank, keyOfKept, kept, positions, candidates);
  narrow(0, count, rank, keyOfKept, kept, positions, candidates);
  return positions[rank];
}

void sortPositions(const std::uint32_t* keys, std::uint32_t count, std::uint32_t* positions, std::uint32_t* other) {
  constexpr unsigned int kPasses = 4, kValues = 256;
  std::uint32_t starts[kPasses][kValues] = {};
  for (std::uint32_t i = 0; i < count; ++i) {
    for (unsigned int pass = 0; pass < kPasses; ++pass) ++starts[pass][keys[i] >> (8 * pass) & (kValues - 1)];
  }
  for (unsigned int pass = 0; pass < kPasses; ++pass) {
    std::uint32_t* const next = starts[pass];
    std::uint32_t sum = 0;
    for (unsigned int value = 0; value < kValues; ++value) sum += std::exchange(next[value], sum);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint32_t position = pass == 0 ? i : positions[i];
      other[next[keys[position] >> (8 * pass) & (kValues - 1)]++] = position;
    }
    std::swap(positions, other);
  }
}

}  // namespace qzDetail
