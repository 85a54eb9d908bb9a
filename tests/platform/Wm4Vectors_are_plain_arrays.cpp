#include <Wm4/Vector2.h>
#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>
#include <doctest/doctest.h>

#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "support/qzBits.h"

using namespace qzTest;

namespace {

template <class Vector, int kSize>
constexpr bool isPlainArray() {
  return sizeof(Vector) == kSize * sizeof(float) && alignof(Vector) == alignof(float) &&
         std::is_trivially_copyable_v<Vector> && std::is_standard_layout_v<Vector>;
}

// Constructs a Vector over bytes that are all 0xAB and tells whether the default constructor left them alone. The bytes
// are volatile: the vector is uninitialised, so a compiler could otherwise drop them.
template <class Vector>
bool defaultConstructorLeavesMemoryAlone() {
  alignas(Vector) volatile unsigned char memory[sizeof(Vector)];
  for (volatile unsigned char& byte : memory) byte = 0xAB;
  new (const_cast<unsigned char*>(memory)) Vector;
  bool alone = true;
  for (volatile unsigned char& byte : memory) alone = alone && byte == 0xAB;
  return alone;
}

}  // namespace

TEST_CASE("a vector has the size and layout of an array of its components") {
  CHECK(isPlainArray<Wm4::Vector2<float>, 2>());
  CHECK(isPlainArray<Wm4::Vector3<float>, 3>());
  CHECK(isPlainArray<Wm4::Vector4<float>, 4>());
  const Wm4::Vector4<float> v(1.0f, 2.0f, 3.0f, 4.0f);
  const float inOrder[4] = {1.0f, 2.0f, 3.0f, 4.0f};
  CHECK(std::memcmp(&v, inOrder, sizeof inOrder) == 0);
}

TEST_CASE("components are read by index and by name, x first") {
  const Wm4::Vector2<float> two(1.0f, 2.0f);
  CHECK((two[0] == 1.0f && two[1] == 2.0f));
  CHECK((two.X() == 1.0f && two.Y() == 2.0f));
  const Wm4::Vector3<float> three(1.0f, 2.0f, 3.0f);
  CHECK((three[0] == 1.0f && three[1] == 2.0f && three[2] == 3.0f));
  CHECK((three.X() == 1.0f && three.Y() == 2.0f && three.Z() == 3.0f));
  const Wm4::Vector4<float> four(1.0f, 2.0f, 3.0f, 4.0f);
  CHECK((four[0] == 1.0f && four[1] == 2.0f && four[2] == 3.0f && four[3] == 4.0f));
  CHECK((four.X() == 1.0f && four.Y() == 2.0f && four.Z() == 3.0f && four.W() == 4.0f));
}

TEST_CASE("components are written by index and by name") {
  Wm4::Vector2<float> two(0.0f, 0.0f);
  two[0] = 1.0f;
  two.Y() = 2.0f;
  CHECK((two[0] == 1.0f && two[1] == 2.0f));
  two.X() = 5.0f;
  two[1] = 6.0f;
  CHECK((two[0] == 5.0f && two[1] == 6.0f));

  Wm4::Vector3<float> three(0.0f, 0.0f, 0.0f);
  three[0] = 1.0f;
  three.Y() = 2.0f;
  three[2] = 3.0f;
  CHECK((three[0] == 1.0f && three[1] == 2.0f && three[2] == 3.0f));
  three.X() = 5.0f;
  three[1] = 6.0f;
  three.Z() = 7.0f;
  CHECK((three[0] == 5.0f && three[1] == 6.0f && three[2] == 7.0f));

  Wm4::Vector4<float> four(0.0f, 0.0f, 0.0f, 0.0f);
  four.X() = 1.0f;
  four.Y() = 2.0f;
  four.Z() = 3.0f;
  four.W() = 4.0f;
  CHECK((four[0] == 1.0f && four[1] == 2.0f && four[2] == 3.0f && four[3] == 4.0f));
  for (int i = 0; i < 4; ++i) four[i] = 5.0f + static_cast<float>(i);
  CHECK((four.X() == 5.0f && four.Y() == 6.0f && four.Z() == 7.0f && four.W() == 8.0f));
}

TEST_CASE("a constant vector returns components by value") {
  CHECK(std::is_same_v<decltype(std::declval<const Wm4::Vector3<float>&>()[0]), float>);
  CHECK(std::is_same_v<decltype(std::declval<Wm4::Vector3<float>&>()[0]), float&>);
  CHECK(std::is_same_v<decltype(std::declval<const Wm4::Vector3<float>&>().X()), float>);
  CHECK(std::is_same_v<decltype(std::declval<Wm4::Vector3<float>&>().X()), float&>);
}

TEST_CASE("a vector of doubles stores doubles") {
  const Wm4::Vector3<double> v(0.1, 0.2, 0.3);
  CHECK((v[0] == 0.1 && v[1] == 0.2 && v[2] == 0.3));
  CHECK(sizeof v == 3 * sizeof(double));
}

TEST_CASE("the default constructor leaves the components unset") {
  CHECK(defaultConstructorLeavesMemoryAlone<Wm4::Vector2<float>>());
  CHECK(defaultConstructorLeavesMemoryAlone<Wm4::Vector3<float>>());
  CHECK(defaultConstructorLeavesMemoryAlone<Wm4::Vector4<float>>());
}

TEST_CASE("the unit vectors are 1 on their axis and a positive zero elsewhere") {
  CHECK(sameBits(Wm4::Vector2<float>::UNIT_X, Wm4::Vector2<float>(1.0f, 0.0f)));
  CHECK(sameBits(Wm4::Vector2<float>::UNIT_Y, Wm4::Vector2<float>(0.0f, 1.0f)));
  CHECK(sameBits(Wm4::Vector3<float>::UNIT_X, Wm4::Vector3<float>(1.0f, 0.0f, 0.0f)));
  CHECK(sameBits(Wm4::Vector3<float>::UNIT_Y, Wm4::Vector3<float>(0.0f, 1.0f, 0.0f)));
  CHECK(sameBits(Wm4::Vector3<float>::UNIT_Z, Wm4::Vector3<float>(0.0f, 0.0f, 1.0f)));
  CHECK(sameBits(Wm4::Vector4<float>::UNIT_X, Wm4::Vector4<float>(1.0f, 0.0f, 0.0f, 0.0f)));
  CHECK(sameBits(Wm4::Vector4<float>::UNIT_Y, Wm4::Vector4<float>(0.0f, 1.0f, 0.0f, 0.0f)));
  CHECK(sameBits(Wm4::Vector4<float>::UNIT_Z, Wm4::Vector4<float>(0.0f, 0.0f, 1.0f, 0.0f)));
  CHECK(sameBits(Wm4::Vector4<float>::UNIT_W, Wm4::Vector4<float>(0.0f, 0.0f, 0.0f, 1.0f)));
}
