#pragma once
// tScratch: an array with uninitialised contents, for the working data of a build.
// Touching fresh memory is the largest cost of a build, so arrays are not filled in advance, and large ones ask for
// large pages.

#include <qzCommonAddOns/qzDetail/base/qzAlignedMemory.h>

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace qzDetail {

template <class T>
class tScratch {
  static_assert(std::is_trivially_destructible_v<T>);

 public:
  tScratch() = default;
  /// Throws std::bad_alloc.
  explicit tScratch(std::size_t count) : mItems(allocate(count * sizeof(T))) {}

  T* data() { return mItems.get(); }
  const T* data() const { return mItems.get(); }
  T& operator[](std::size_t i) { return mItems.get()[i]; }
  const T& operator[](std::size_t i) const { return mItems.get()[i]; }
  void release() { mItems.reset(); }

 private:
  static constexpr std::align_val_t kAlignment{64};
  static constexpr std::align_val_t kLargeAlignment{kLargePage};

  struct tDelete {
    bool mIsLarge = false;
    void operator()(T* items) const { ::operator delete(items, mIsLarge ? kLargeAlignment : kAlignment); }
  };
  using tItems = std::unique_ptr<T, tDelete>;

  static tItems allocate(std::size_t bytes) {
    const bool isLarge = isWorthLargePages(bytes);
    void* items = ::operator new(bytes, isLarge ? kLargeAlignment : kAlignment);
    if (isLarge) preferLargePages(items, bytes);
    return tItems(static_cast<T*>(items), tDelete{isLarge});
  }

  tItems mItems;
};

}  // namespace qzDetail
