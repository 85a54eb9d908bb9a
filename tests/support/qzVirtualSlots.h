#pragma once
// Which slot of its class's table a virtual function has, the destructor being slot 0.

#include <cstddef>
#include <cstring>

namespace qzTest {

#if defined(__GNUC__)
/// The Itanium ABI, which Linux uses throughout: a pointer to a virtual member function is one more than the offset
/// of its table entry; the destructor, always declared first in this family, takes two entries.
template <class Function>
int virtualSlotOf(Function function) {
  std::ptrdiff_t offsetPlusOne;
  static_assert(sizeof function == 2 * sizeof offsetPlusOne);
  std::memcpy(&offsetPlusOne, &function, sizeof offsetPlusOne);
  return static_cast<int>((offsetPlusOne - 1) / static_cast<std::ptrdiff_t>(sizeof(void*))) - 1;
}
#endif

}  // namespace qzTest
