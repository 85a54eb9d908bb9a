#include <doctest/doctest.h>
#include <qzCommonAddOns/builders/qzSAHFunctionoid.h>

#include <type_traits>

#include "plain/qzPlainSAHBuilder.h"
#include "support/access/qzVirtualSlots.h"
#include "support/qzBits.h"
#include "support/qzCallersFloatMode.h"

using namespace qzTest;

namespace {

const qzBBox kBox = qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 2.0f, 3.0f);

}  // namespace

TEST_CASE("the box from (0, 0, 0) to (1, 2, 3) costs 44 with no items and 110 with 6") {
  CHECK(qzDefaultSAH().f(kBox, 0) == 44.0f);
  CHECK(qzDefaultSAH().f(kBox, 6) == 110.0f);
}

TEST_CASE("an empty box costs +inf, also with no items") {
  CHECK(qzDefaultSAH().f(qzBBox(), 0) == kInf);
  CHECK(qzDefaultSAH().f(qzBBox(), 7) == kInf);
}

TEST_CASE("the count plus 4 wraps at 32 bits and is converted as an unsigned number") {
  CHECK(qzDefaultSAH().f(kBox, 0xFFFFFFFCu) == 0.0f);
  CHECK(qzDefaultSAH().f(kBox, 0xFFFFFFFFu) == 33.0f);
  CHECK(qzDefaultSAH().f(kBox, 0xFFFFFFFBu) == 11.0f * 4294967296.0f);
  CHECK(qzDefaultSAH().f(kBox, 0x80000000u) == 11.0f * 2147483648.0f);
}

TEST_CASE("the default cost equals its plain form, to the bit, for any box and count, and any float mode is kept") {
  const std::uint32_t seed = 1;
  Random random(seed);
  for (int i = 0; i < 20000; ++i) {
    const auto point = [&] { return Wm4::Vector3<float>{random.anyFloat(), random.anyFloat(), random.anyFloat()}; };
    const Wm4::Vector3<float> min = point(), max = point();
    const qzBBox box = qzBBox::Make(min, max);
    const unsigned int count = random.below(2) == 0 ? random.below(2000) : random.bits();
    const float plain = qzPlain::DefaultSAH().f(box, count);
    float cost = qzDefaultSAH().f(box, count);
    INFO("round ", i, ", seed ", seed);
    REQUIRE(sameBitsOrNaN(cost, plain));
    bool isKept;
    {
      const CallersFloatMode mode(CallersFloatMode::kModes[random.below(CallersFloatMode::kNbModes)]);
      cost = qzDefaultSAH().f(box, count);
      isKept = mode.isKept();
    }
    REQUIRE(sameBitsOrNaN(cost, plain));
    REQUIRE(isKept);
  }
}

TEST_CASE("the functor class is abstract and has no data; the default functor can be copied and moved") {
  CHECK(std::is_abstract_v<qzSAHFunctionoid>);
  CHECK(std::has_virtual_destructor_v<qzSAHFunctionoid>);
  CHECK(sizeof(qzSAHFunctionoid) == sizeof(void*));
  CHECK(sizeof(qzDefaultSAH) == sizeof(void*));
  CHECK(std::is_base_of_v<qzSAHFunctionoid, qzDefaultSAH>);
  CHECK(std::is_copy_constructible_v<qzDefaultSAH>);
  CHECK(std::is_copy_assignable_v<qzDefaultSAH>);
  CHECK(std::is_nothrow_move_constructible_v<qzDefaultSAH>);
  CHECK(std::is_nothrow_move_assignable_v<qzDefaultSAH>);
  const qzDefaultSAH sah, copy(sah);
  CHECK(copy.f(kBox, 0) == 44.0f);
}

#if defined(__GNUC__)
TEST_CASE("f is the first virtual function, before the destructor") {
  CHECK(virtualSlotOf(&qzSAHFunctionoid::f) == -1);  // the destructor would be 0 if it came first
  CHECK(virtualSlotOf(&qzDefaultSAH::f) == -1);
}
#endif
