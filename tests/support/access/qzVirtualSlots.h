#pragma once
// The position of a virtual function in its class's table.

#include <cstddef>
#include <cstring>

namespace qzTest {

#if defined(__GNUC__)
/// 1 for the first virtual function after the destructor, if the destructor is declared first, which takes two entries
/// of the table. In the Itanium ABI a pointer to a virtual member function is 1 plus the offset of its table entry.
template <class Function>
int virtualSlotOf(Function function) {
  std::ptrdiff_t offsetPlusOne;
  static_assert(sizeof function == 2 * sizeof offsetPlusOne);
  std::memcpy(&offsetPlusOne, &function, sizeof offsetPlusOne);
  return static_cast<int>((offsetPlusOne - 1) / static_cast<std::ptrdiff_t>(sizeof(void*))) - 1;
}
#endif

}  // namespace qzTest
