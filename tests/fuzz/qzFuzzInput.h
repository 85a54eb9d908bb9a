#pragma once
// The bytes of a fuzzer's input as numbers, points, meshes, rays and planes. Every input makes something: when the
// bytes are used up all numbers are 0.

#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qzFuzz {

using Point = Wm4::Vector3<float>;
using Plane = Wm4::Vector4<float>;

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : mData(data), mEnd(data + size) {}

  bool isUsedUp() const { return mData == mEnd; }
  std::uint8_t byte() { return isUsedUp() ? std::uint8_t(0) : *mData++; }
  /// Four bytes, the low one first.
  std::uint32_t bits();
  /// A number from one byte, below count, which is at most 256.
  std::uint32_t below(std::uint32_t count) { return byte() * count >> 8; }
  /// The next size bytes, or those that are left.
  std::string bytes(std::size_t size);
  std::string rest() { return bytes(static_cast<std::size_t>(mEnd - mData)); }

  /// Any float from one byte: a small multiple of 1/8, or something odd (NaN, infinite, denormal, huge); or from five
  /// bytes, the last four being its bits.
  float number();
  Point point();
  Plane plane();
  /// Six numbers as they come, or the box around two points.
  qzBBox box();
  std::vector<qzBBox> boxes(std::size_t maxCount);
  /// One to maxNbTriangles triangles over shared vertices, some of them at the place of another.
  qz::qzTriMesh mesh(std::uint32_t maxNbTriangles);
  /// A plane set, most of them small, but up to 400 where maxCount allows it.
  std::vector<Plane> planes(std::size_t maxCount);

 private:
  const std::uint8_t* mData;
  const std::uint8_t* mEnd;
};

}  // namespace qzFuzz
