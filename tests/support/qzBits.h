#pragma once
// Values by their bits: comparing, making and drawing floats.

#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>
#include <qzCommonAddOns/geometry/qzBBox.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>

namespace qzTest {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kMaxFloat = std::numeric_limits<float>::max();

/// Whether two values have the same bytes: tells -0 from 0, and a NaN equals itself.
template <class T>
bool sameBits(const T& a, const T& b) {
  static_assert(std::is_trivially_copyable_v<T> && !std::is_pointer_v<T>);
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

/// sameBits, but any NaN equals any other: which NaN an operation gives is the processor's choice.
inline bool sameBitsOrNaN(float a, float b) {
  return sameBits(a, b) || (a != a && b != b);
}

inline float floatFromBits(std::uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}
inline std::uint32_t bitsOf(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

/// Draws from the raw bits of std::mt19937, so a seed gives the same values everywhere.
class Random {
 public:
  explicit Random(std::uint32_t seed) : mEngine(seed) {}

  std::uint32_t bits() { return static_cast<std::uint32_t>(mEngine()); }
  /// A number below count.
  std::uint32_t below(std::uint32_t count) { return static_cast<std::uint32_t>(std::uint64_t(bits()) * count >> 32); }
  /// From 0 inclusive to 1 exclusive, in steps of 2^-24.
  float unit() { return static_cast<float>(bits() >> 8) * 0x1p-24f; }
  float between(float low, float high) { return low + (high - low) * unit(); }
  Wm4::Vector3<float> point(float low, float high) {
    const float x = between(low, high), y = between(low, high), z = between(low, high);
    return Wm4::Vector3<float>(x, y, z);
  }
  /// Any float: NaN, infinities, both zeros and denormals far more often than raw bits would give them.
  float anyFloat() {
    static const float kOdd[] = {0.0f,  -0.0f,     1.0f,       -1.0f,     kInf,       -kInf,     kNaN,
                                 -kNaN, kMaxFloat, -kMaxFloat, 0x1p-149f, -0x1p-149f, 0x1p-126f, 0.5f};
    const std::uint32_t choice = below(4);
    if (choice == 0) return kOdd[below(sizeof kOdd / sizeof kOdd[0])];
    if (choice == 1) return floatFromBits(bits());
    return between(-2.0f, 2.0f);
  }

 private:
  std::mt19937 mEngine;
};

}  // namespace qzTest
