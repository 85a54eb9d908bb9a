// Every member against its plain form, bit for bit, over products of special floats and over random bits. Members that
// copy a value must keep its bits; members that compute may return any NaN. The caller's float mode changes no result.

#include <doctest/doctest.h>

#include "plain/qzPlainBBox2D.h"
#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzTestBoxes2D.h"

using namespace qzTest;

namespace {

const char* firstDifference(const qzBBox2D& box, const qzBBox2D& o, const Point& p, const Point& q, float v) {
  if (!sameBits(qzBBox2D::RobustMake(p, q), qzPlain::robustMake(p, q))) return "RobustMake";
  if (!sameBits(qzBBox2D::RobustMake(p[0], p[1], q[0], q[1]), qzPlain::robustMake(p, q))) return "RobustMake of four";
  if (!sameBitsOrNaN(box.extentX(), qzPlain::extent(box, 0))) return "extentX";
  if (!sameBitsOrNaN(box.extentY(), qzPlain::extent(box, 1))) return "extentY";
  if (!sameBitsOrNaN(box.getCenter(), qzPlain::center(box))) return "getCenter";
  if (!sameBitsOrNaN(box.area(), qzPlain::area(box))) return "area";
  if (box.isEmpty() != qzPlain::isEmpty(box)) return "isEmpty";
  if (box.hasExtent() != qzPlain::hasExtent(box)) return "hasExtent";
  if (box.contains(p) != qzPlain::contains(box, p)) return "contains";
  if (box.strictlyContains(p) != qzPlain::strictlyContains(box, p)) return "strictlyContains";
  if (box.overlaps(o) != qzPlain::overlaps(box, o)) return "overlaps";
  if (box.strictlyOverlaps(o) != qzPlain::strictlyOverlaps(box, o)) return "strictlyOverlaps";
  if (box.intersectSegment(p, q) != qzPlain::intersectSegment(box, p, q)) return "intersectSegment";
  if (!sameBits(box.projectOntoBBox(p), qzPlain::project(box, p))) return "projectOntoBBox";
  if (!sameBits(box.bboxUnion(o), qzPlain::bboxUnion(box, o))) return "bboxUnion";
  if (!sameBits(box.bboxIntersection(o), qzPlain::bboxIntersection(box, o))) return "bboxIntersection";
  if (!sameBits(box.expand(p), qzPlain::expand(box, p))) return "expand";
  if (!sameBitsOrNaN(box.grow(v), qzPlain::grow(box, v))) return "grow";
  qzBBox2D changed = box;
  if (!sameBits(changed.selfUnion(o), qzPlain::bboxUnion(box, o))) return "selfUnion";
  changed = box;
  if (!sameBits(changed.selfIntersection(o), qzPlain::bboxIntersection(box, o))) return "selfIntersection";
  changed = box;
  if (!sameBits(changed.selfExpand(p), qzPlain::expand(box, p))) return "selfExpand";
  changed = box;
  if (!sameBitsOrNaN(changed.selfGrow(v), qzPlain::grow(box, v))) return "selfGrow";
  return nullptr;
}

void check(const qzBBox2D& box, const qzBBox2D& o, const Point& p, const Point& q, float v) {
  const char* const member = firstDifference(box, o, p, q, v);
  if (member != nullptr) FAIL(std::string(member), describe(box), describe(o), describe(p), describe(q), describe({v}));
}

}  // namespace

TEST_CASE("every member of a 2D box equals its plain form over all products of a few special floats") {
  for (const float a : kFewFloats) {
    for (const float b : kFewFloats) {
      for (const float c : kFewFloats) {
        for (const float d : kFewFloats) {
          for (const float e : kFewFloats) {
            for (const float f : kFewFloats) {
              check(qzBBox2D::Make(a, b, c, d), qzBBox2D::Make(e, f, b, a), Point(e, f), Point(c, f), e);
            }
          }
        }
      }
    }
  }
}

TEST_CASE("every member of a 2D box equals its plain form over random boxes, proper ones and any six floats") {
  const std::uint32_t seed = 141;
  INFO("seed ", seed);
  Random random(seed);
  for (int i = 0; i < 200000; ++i) {
    const qzBBox2D box = random.below(2) == 0 ? anyBox(random) : properBox(random);
    const qzBBox2D o = random.below(2) == 0 ? anyBox(random) : properBox(random);
    const Point p = random.below(2) == 0 ? anyPoint(random) : pointBetween(random, -3.0f, 3.0f);
    const Point q = random.below(2) == 0 ? anyPoint(random) : pointBetween(random, -3.0f, 3.0f);
    check(box, o, p, q, random.anyFloat());
  }
}

TEST_CASE("results of a 2D box do not depend on the caller's float mode, which is kept") {
  struct Results {
    float floats[16];
    bool bools[6];
  };
  const auto call = [](const qzBBox2D& box, const qzBBox2D& o, const Point& p, const Point& q, float v) {
    Results results = {};
    const Point center = box.getCenter(), projected = box.projectOntoBBox(p);
    const qzBBox2D grown = box.grow(v), united = box.bboxUnion(o), robust = qzBBox2D::RobustMake(p, q);
    const float floats[] = {box.extentX(), box.extentY(), center[0],     center[1],    box.area(),   projected[0],
                            projected[1],  grown.xMin(),  grown.yMin(),  grown.xMax(), grown.yMax(), united.xMin(),
                            united.yMax(), robust.xMin(), robust.yMax(), robust.xMax()};
    std::memcpy(results.floats, floats, sizeof floats);
    const bool bools[] = {box.isEmpty(),   box.hasExtent(),         box.contains(p),
                          box.overlaps(o), box.strictlyOverlaps(o), box.intersectSegment(p, q)};
    std::memcpy(results.bools, bools, sizeof bools);
    return results;
  };
  const std::uint32_t seed = 142;
  INFO("seed ", seed);
  Random random(seed);
  const auto small = [&] {
    const std::uint32_t choice = random.below(3);
    if (choice == 0) return floatFromBits(random.bits() & 0x807FFFFFu);                  // denormal
    if (choice == 1) return floatFromBits((random.bits() & 0x80FFFFFFu) | 0x00800000u);  // just above
    return random.between(-1.0f, 1.0f);
  };
  const auto smallPoint = [&] {
    const float x = small(), y = small();
    return Point(x, y);
  };
  REQUIRE(CallersFloatMode::isNow(CallersFloatMode::eDefault));
  for (int i = 0; i < 3000; ++i) {
    const Point a = smallPoint(), b = smallPoint(), c = smallPoint(), d = smallPoint();
    const qzBBox2D box = qzBBox2D::Make(a, b), o = qzBBox2D::RobustMake(c, d);
    const float v = small();
    const Results expected = call(box, o, c, a, v);
    for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
      Results results;
      bool isKept;
      {
        const CallersFloatMode callers(mode);
        results = call(box, o, c, a, v);
        isKept = callers.isKept();
      }
      if (!isKept) FAIL("lost the mode ", static_cast<unsigned int>(mode));
      if (std::memcmp(results.floats, expected.floats, sizeof results.floats) != 0 ||
          std::memcmp(results.bools, expected.bools, sizeof results.bools) != 0) {
        FAIL("mode ", static_cast<unsigned int>(mode), describe(box), describe(o));
      }
    }
  }
}
