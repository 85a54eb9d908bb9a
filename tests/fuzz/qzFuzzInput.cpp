#include "fuzz/qzFuzzInput.h"

#include <algorithm>
#include <utility>

#include "support/qzBits.h"

namespace qzFuzz {

using qzTest::floatFromBits;
using qzTest::kInf;
using qzTest::kMaxFloat;
using qzTest::kNaN;

std::uint32_t Input::bits() {
  std::uint32_t word = 0;
  for (int shift = 0; shift < 32; shift += 8) word |= std::uint32_t(byte()) << shift;
  return word;
}

std::string Input::bytes(std::size_t size) {
  const std::size_t count = std::min(size, static_cast<std::size_t>(mEnd - mData));
  const std::string result(mData, mData + count);
  mData += count;
  return result;
}

float Input::number() {
  static const float kOdd[] = {-0.0f,     kInf,       -kInf,     kNaN,      -kNaN,      kMaxFloat, -kMaxFloat,
                               0x1p-149f, -0x1p-149f, 0x1p-126f, 0x1p-127f, -0x1p-126f, 0x1p63f,   -0x1p63f,
                               0x1p31f,   -0x1p31f,   0x1p64f,   0x1p100f,  -0x1p100f,  0x1p-60f,  -0x1p-100f,
                               0x1p24f,   1e-4f,      -1e-4f,    1.0e6f,    1.00001e6f, 1e-20f,    1e20f,
                               -1e20f,    0.9999999f, 1.0000001f};
  constexpr std::uint8_t kNbOdd = sizeof kOdd / sizeof kOdd[0];
  constexpr std::uint8_t kFirstOdd = 255 - kNbOdd;
  const std::uint8_t choice = byte();
  if (choice == 255) return floatFromBits(bits());
  if (choice >= kFirstOdd) return kOdd[choice - kFirstOdd];
  return static_cast<float>(choice <= 127 ? choice : 127 - choice) * 0.125f;
}

Point Input::point() {
  const float x = number(), y = number(), z = number();
  return Point(x, y, z);
}

Plane Input::plane() {
  const float a = number(), b = number(), c = number(), d = number();
  return Plane(a, b, c, d);
}

qzBBox Input::box() {
  const std::uint8_t kind = byte();
  if (kind == 255) return qzBBox();
  const Point a = point(), b = point();
  return kind < 192 ? qzBBox::RobustMake(a, b) : qzBBox::Make(a, b);
}

std::vector<qzBBox> Input::boxes(std::size_t maxCount) {
  std::vector<qzBBox> result;
  const std::size_t count = std::min<std::size_t>(1 + byte(), maxCount);
  while (result.size() < count) {
    const bool isAgain = !result.empty() && byte() >= 224;
    result.push_back(isAgain ? result[byte() % result.size()] : box());
  }
  return result;
}

qz::qzTriMesh Input::mesh(std::uint32_t maxNbTriangles) {
  std::vector<Point> vertices(1 + below(64));
  for (Point& vertex : vertices) vertex = point();
  std::vector<int> indices(3 * (1 + below(maxNbTriangles)));
  for (std::size_t t = 0; t < indices.size(); t += 3) {
    const std::uint8_t first = byte();
    const std::size_t same = first >= 224 && t > 0 ? 3 * (byte() % (t / 3)) : t;
    if (same == t) indices[t] = static_cast<int>(first % vertices.size());
    for (std::size_t k = same == t ? 1 : 0; k < 3; ++k) {
      indices[t + k] = same == t ? static_cast<int>(byte() % vertices.size()) : indices[same + k];
    }
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)), qz::qzIndexBuffer(std::move(indices)));
}

std::vector<Plane> Input::planes(std::size_t maxCount) {
  std::size_t count = byte();
  if (count >= 240) count = 400 - (255 - count) * 20;
  count = std::min(count, maxCount);
  std::vector<Plane> result;
  while (result.size() < count) {
    // One plane may be repeated, so that a few bytes make a large set.
    const Plane next = plane();
    std::size_t repeats = byte();
    repeats = std::min(repeats < 192 ? 1 : repeats - 190, count - result.size());
    result.insert(result.end(), repeats, next);
  }
  return result;
}

}  // namespace qzFuzz
