#pragma once
// An array of plain data on whole cache lines; large ones ask the system for large pages.

#include <qzCommonAddOns/qzDetail/base/qzAlignedMemory.h>

#include <cstddef>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace qzMeshQueries::detail {

/// Movable, not copyable; a moved-from array is empty. Elements start uninitialised.
template <class T>
class AlignedArray {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  AlignedArray() = default;
  /// Failure: std::bad_alloc.
  explicit AlignedArray(std::size_t size) : mSize(size) {
    if (size == 0) return;
    if (size > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_alloc();
    mData = qzDetail::allocateAligned<T>(size);
    if (mData == nullptr) throw std::bad_alloc();
  }
  ~AlignedArray() { qzDetail::releaseAligned(mData); }
  AlignedArray(AlignedArray&& other) noexcept
      : mData(std::exchange(other.mData, nullptr)), mSize(std::exchange(other.mSize, 0)) {}
  AlignedArray& operator=(AlignedArray&& other) noexcept {
    std::swap(mData, other.mData);
    std::swap(mSize, other.mSize);
    return *this;
  }

  T* data() { return mData; }
  const T* data() const { return mData; }
  std::size_t size() const { return mSize; }
  std::size_t bytes() const { return mSize * sizeof(T); }
  T& operator[](std::size_t i) { return mData[i]; }
  const T& operator[](std::size_t i) const { return mData[i]; }
  T* begin() { return mData; }
  T* end() { return mData + mSize; }
  const T* begin() const { return mData; }
  const T* end() const { return mData + mSize; }

 private:
  T* mData = nullptr;
  std::size_t mSize = 0;
};

}  // namespace qzMeshQueries::detail
