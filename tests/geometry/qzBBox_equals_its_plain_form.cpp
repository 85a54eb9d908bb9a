// Every member against its plain form, bit for bit, over products of special floats and over random bits. Members that
// copy a value must keep its bits; members that compute may return any NaN.

#include <doctest/doctest.h>

#include <algorithm>

#include "plain/qzPlainBBox.h"
#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

namespace {

constexpr unsigned int kAxisWords[] = {0u, 0x40000000u, 0x80000000u, 0xC0000000u, 1u, 0x7FFFFFFFu};

bool samePair(const Wm4::Box3<float>& a, const Wm4::Box3<float>& b) {
  for (int i = 0; i < 3; ++i) {
    if (!sameBits(a.Axis[i], b.Axis[i]) || !sameBitsOrNaN(a.Extent[i], b.Extent[i])) return false;
  }
  return sameBitsOrNaN(a.Center, b.Center);
}

const char* firstDifferentMeasure(const qzBBox& box) {
  const float extents[3] = {box.extentX(), box.extentY(), box.extentZ()};
  const Point allExtents = box.getExtents();
  for (int c = 0; c < 3; ++c) {
    const float expected = qzPlain::extent(box, c);
    if (!sameBitsOrNaN(extents[c], expected)) return "extentX, extentY or extentZ";
    if (!sameBitsOrNaN(allExtents[c], expected)) return "getExtents";
  }
  for (const unsigned int word : kAxisWords) {
    const float extent = box.getExtent(static_cast<qzBBox::tAxis>(word));
    if (!sameBitsOrNaN(extent, qzPlain::extent(box, qzPlain::axisNumber(word)))) return "getExtent";
  }
  if (!sameBitsOrNaN(box.getCenter(), qzPlain::center(box))) return "getCenter";
  if (!sameBitsOrNaN(box.volume(), qzPlain::volume(box))) return "volume";
  if (!sameBitsOrNaN(box.halfArea(), qzPlain::halfArea(box))) return "halfArea";
  qzBBox::tAxis axis, expectedAxis;
  const float largest = box.getMaxExtent(axis);
  if (!sameBitsOrNaN(largest, qzPlain::maxExtent(box, expectedAxis)) || axis != expectedAxis) return "getMaxExtent";
  const float smallest = box.getMinExtent(axis);
  if (!sameBitsOrNaN(smallest, qzPlain::minExtent(box, expectedAxis)) || axis != expectedAxis) return "getMinExtent";
  if (box.isEmpty() != qzPlain::isEmpty(box)) return "isEmpty";
  if (box.hasExtent() != qzPlain::hasExtent(box)) return "hasExtent";
  if (!samePair(box.convert(), qzPlain::convert(box))) return "convert";
  return nullptr;
}

const char* firstDifferentWithFloat(const qzBBox& box, float v) {
  if (!sameBitsOrNaN(box.grow(v), qzPlain::grow(box, v))) return "grow";
  for (const unsigned int word : kAxisWords) {
    const auto axis = static_cast<qzBBox::tAxis>(word);
    const qzBBox left = qzPlain::splitLeft(box, word, v), right = qzPlain::splitRight(box, word, v);
    if (!sameBits(box.splitLeft(axis, v), left)) return "splitLeft";
    if (!sameBits(box.splitRight(axis, v), right)) return "splitRight";
    qzBBox changed = box;
    if (!sameBits(changed.split(axis, v), right) || !sameBits(changed, left)) return "split";
  }
  return nullptr;
}

const char* firstDifferentWithPoint(const qzBBox& box, const Point& p, float v) {
  if (box.contains(p) != qzPlain::contains(box, p)) return "contains a point";
  if (box.strictlyContains(p) != qzPlain::strictlyContains(box, p)) return "strictlyContains";
  if (!sameBits(box.expand(p), qzPlain::expand(box, p))) return "expand";
  const Point projected = qzPlain::project(box, p);
  if (!sameBits(box.projectOntoBBox(p), projected)) return "projectOntoBBox";
  const Wm4::Vector4<float> four = box.projectOntoBBox(Wm4::Vector4<float>(p[0], p[1], p[2], v));
  if (!sameBits(four, Wm4::Vector4<float>(projected[0], projected[1], projected[2], v)))
    return "projectOntoBBox of four";
  if (box.overlapsPlane(p, v) != qzPlain::overlapsPlane(box, p, v)) return "overlapsPlane";
  if (box.overlapsSphere(p, v) != qzPlain::overlapsSphere(box, p, v)) return "overlapsSphere";
  return nullptr;
}

const char* firstDifferentWithBox(const qzBBox& box, const qzBBox& o) {
  if (box.contains(o) != qzPlain::contains(box, o)) return "contains a box";
  if (box.overlaps(o) != qzPlain::overlaps(box, o)) return "overlaps";
  if (box.strictlyOverlaps(o) != qzPlain::strictlyOverlaps(box, o)) return "strictlyOverlaps";
  if (!sameBits(box.bboxUnion(o), qzPlain::bboxUnion(box, o))) return "bboxUnion";
  if (!sameBits(box.bboxIntersection(o), qzPlain::bboxIntersection(box, o))) return "bboxIntersection";
  if (!sameBits(qzBBox::RobustMake(box.getMinPoint(), o.getMaxPoint()),
                qzPlain::robustMake(box.getMinPoint(), o.getMaxPoint()))) {
    return "RobustMake";
  }
  return nullptr;
}

bool sameRay(const qzBBox& box, const Point& origin, const Point& dir, float tMin, float tMax) {
  float plainMin = tMin, plainMax = tMax;
  const bool expected = qzPlain::intersectRay(box, origin, dir, plainMin, plainMax);
  return box.intersectRay(origin, dir, tMin, tMax) == expected && sameBitsOrNaN(tMin, plainMin) &&
         sameBitsOrNaN(tMax, plainMax);
}

/// Numbers that are often equal, so that ties and touching boxes are common.
float closeFloat(Random& random) {
  const float step = static_cast<float>(random.below(9)) * 0.25f - 1.0f;
  return random.below(4) == 0 ? step + 0x1p-20f * random.unit() : step;
}
Point closePoint(Random& random) {
  const float x = closeFloat(random), y = closeFloat(random), z = closeFloat(random);
  return Point(x, y, z);
}
qzBBox closeBox(Random& random) {
  const Point a = closePoint(random), b = closePoint(random);
  return qzBBox::RobustMake(a, b);
}

}  // namespace

TEST_CASE("extents, centre, volume and area equal the plain form over every choice of special extents") {
  for (const float min : kOddFloats) {
    for (const float x : kOddFloats) {
      for (const float y : kOddFloats) {
        for (const float z : kOddFloats) {
          const qzBBox box = qzBBox::Make(min, -0.0f, 1.0f, x, y, z);
          if (const char* member = firstDifferentMeasure(box)) FAIL(member, describe(box));
        }
      }
    }
  }
}

TEST_CASE("split and grow equal the plain form over every choice of special bounds") {
  for (const float min : kOddFloats) {
    for (const float max : kOddFloats) {
      for (const float v : kOddFloats) {
        for (int axis = 0; axis < 3; ++axis) {
          Point low(0.25f, 0.25f, 0.25f), high(0.5f, 0.5f, 0.5f);
          low[axis] = min;
          high[axis] = max;
          const qzBBox box = qzBBox::Make(low, high);
          if (const char* member = firstDifferentWithFloat(box, v)) FAIL(member, describe(box), describe({v}));
        }
      }
    }
  }
}

TEST_CASE("members that take a point or a box equal the plain form over every choice of special bounds on one axis") {
  for (const float min : kOddFloats) {
    for (const float max : kOddFloats) {
      for (const float p : kOddFloats) {
        for (const float q : kOddFloats) {
          for (int axis = 0; axis < 3; ++axis) {
            Point low(0.25f, 0.25f, 0.25f), high(0.5f, 0.5f, 0.5f), a = low, b = high;
            low[axis] = min;
            high[axis] = max;
            a[axis] = p;
            b[axis] = q;
            const qzBBox box = qzBBox::Make(low, high), o = qzBBox::Make(a, b);
            if (const char* member = firstDifferentWithPoint(box, a, q)) {
              FAIL(member, describe(box), describe(a), describe({q}));
            }
            if (const char* member = firstDifferentWithBox(box, o)) FAIL(member, describe(box), describe(o));
          }
        }
      }
    }
  }
}

TEST_CASE("the ray test equals the plain form over every choice of a few special floats on one axis") {
  for (const float min : kFewFloats) {
    for (const float max : kFewFloats) {
      for (const float origin : kFewFloats) {
        for (const float dir : kFewFloats) {
          for (const float tMin : kFewFloats) {
            for (const float tMax : kFewFloats) {
              const qzBBox box = qzBBox::Make(0.0f, min, 0.0f, 1.0f, max, 1.0f);
              const Point o(-1.0f, origin, 0.5f), d(0.5f, dir, 0.0f);
              if (!sameRay(box, o, d, tMin, tMax)) FAIL(describe({min, max, origin, dir, tMin, tMax}));
            }
          }
        }
      }
    }
  }
}

TEST_CASE("the plane test equals the plain form over every choice of a few special floats") {
  const float corners[] = {0.0f, 1.0f, -kInf, kNaN};
  for (const float min : corners) {
    for (const float max : corners) {
      for (const float x : kFewFloats) {
        for (const float y : kFewFloats) {
          for (const float z : kFewFloats) {
            for (const float d : kFewFloats) {
              const qzBBox box = qzBBox::Make(min, max, 0.5f, max, 1.0f, min);
              const Point n(x, y, z);
              if (box.overlapsPlane(n, d) != qzPlain::overlapsPlane(box, n, d))
                FAIL(describe(box), describe({x, y, z, d}));
            }
          }
        }
      }
    }
  }
}

TEST_CASE("every member equals its plain form on random bits") {
  const std::uint32_t seed = 31;
  INFO("seed ", seed);
  Random random(seed);
  for (int i = 0; i < 100000; ++i) {
    const qzBBox box = anyBox(random), o = anyBox(random);
    const Point p = anyPoint(random), dir = anyPoint(random);
    const float v = random.anyFloat(), w = random.anyFloat();
    if (const char* member = firstDifferentMeasure(box)) FAIL(member, describe(box));
    if (const char* member = firstDifferentWithFloat(box, v)) FAIL(member, describe(box), describe({v}));
    if (const char* member = firstDifferentWithPoint(box, p, v))
      FAIL(member, describe(box), describe(p), describe({v}));
    if (const char* member = firstDifferentWithBox(box, o)) FAIL(member, describe(box), describe(o));
    if (!sameRay(box, p, dir, v, w)) FAIL("intersectRay", describe(box), describe(p), describe(dir), describe({v, w}));
  }
}

TEST_CASE("every member equals its plain form on ordinary boxes, where touching and ties are common") {
  const std::uint32_t seed = 32;
  INFO("seed ", seed);
  Random random(seed);
  int hits = 0, planes = 0, spheres = 0, overlaps = 0;
  const int runs = 100000;
  for (int i = 0; i < runs; ++i) {
    const qzBBox box = closeBox(random), o = closeBox(random);
    const Point p = closePoint(random), dir = closePoint(random);
    const float v = closeFloat(random);
    if (const char* member = firstDifferentMeasure(box)) FAIL(member, describe(box));
    if (const char* member = firstDifferentWithFloat(box, v)) FAIL(member, describe(box), describe({v}));
    if (const char* member = firstDifferentWithPoint(box, p, v))
      FAIL(member, describe(box), describe(p), describe({v}));
    if (const char* member = firstDifferentWithBox(box, o)) FAIL(member, describe(box), describe(o));
    if (!sameRay(box, p, dir, v, 4.0f)) FAIL("intersectRay", describe(box), describe(p), describe(dir), describe({v}));
    float tMin = v, tMax = 4.0f;
    hits += box.intersectRay(p, dir, tMin, tMax);
    planes += box.overlapsPlane(p, v);
    spheres += box.overlapsSphere(p, v);
    overlaps += box.overlaps(o);
  }
  // Both answers occur often.
  for (const int count : {hits, planes, spheres, overlaps}) CHECK((count > runs / 50 && count < runs - runs / 50));
}
