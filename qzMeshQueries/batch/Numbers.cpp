#include <qzMeshQueries/batch/Numbers.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qzMeshQueries::detail {

void sortNumbers(std::vector<std::uint32_t>& numbers) {
  constexpr std::size_t kFewest = 256;  // fewer are sorted faster by comparisons
  if (numbers.size() < kFewest) return std::sort(numbers.begin(), numbers.end());

  // Radix sort from the lowest digit to the highest one in use.
  constexpr unsigned int kDigitBits = 11, kDigitValues = 1u << kDigitBits;
  std::uint32_t all = 0;
  for (const std::uint32_t number : numbers) all |= number;
  std::vector<std::uint32_t> other(numbers.size());
  for (unsigned int shift = 0; shift < 32 && all >> shift != 0; shift += kDigitBits) {
    const auto digitOf = [&](std::uint32_t number) { return number >> shift & (kDigitValues - 1); };
    std::size_t starts[kDigitValues] = {};
    for (const std::uint32_t number : numbers) ++starts[digitOf(number)];
    std::size_t sum = 0;
    for (std::size_t& start : starts) sum += std::exchange(start, sum);
    for (const std::uint32_t number : numbers) other[starts[digitOf(number)]++] = number;
    numbers.swap(other);
  }
}

}  // namespace qzMeshQueries::detail
