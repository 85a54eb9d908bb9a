// No member allocates, keeps state between calls, or depends on the caller's float mode.

#include <doctest/doctest.h>

#include <iterator>
#include <vector>

#include "support/qzCallersFloatMode.h"
#include "support/qzHeapWatch.h"
#include "support/scenes/qzTestBoxes.h"

using namespace qzTest;

namespace {

/// The results of every member, as bits. All NaN are equal.
struct Results {
  static constexpr int kCapacity = 256;
  std::uint32_t words[kCapacity];
  const char* members[kCapacity];  // that returned the word
  int size = 0;

  void add(const char* member, std::uint32_t value) {
    members[size] = member;
    words[size++] = value;
  }
  void add(const char* member, bool value) { add(member, std::uint32_t(value)); }
  // As bits: in the caller's mode a comparison of floats would flush denormals.
  void add(const char* member, float value) {
    const std::uint32_t bits = bitsOf(value);
    add(member, (bits & 0x7FFFFFFFu) > 0x7F800000u ? 0x7FC00000u : bits);
  }
  void add(const char* member, const Point& p) {
    for (int c = 0; c < 3; ++c) add(member, p[c]);
  }
  void add(const char* member, const qzBBox& box) {
    add(member, box.getMinPoint());
    add(member, box.getMaxPoint());
  }
  bool operator==(const Results& o) const {
    return size == o.size && std::memcmp(words, o.words, sizeof(std::uint32_t) * static_cast<std::size_t>(size)) == 0;
  }
};

Results callEveryMember(const qzBBox& box, const qzBBox& o, const Point& p, const Point& q, float v, float w) {
  Results results;
  results.add("qzBBox()", qzBBox());
  results.add("qzBBox(p)", qzBBox(p));
  results.add("Make", qzBBox::Make(p, q));
  results.add("Make of six", qzBBox::Make(p[0], p[1], p[2], q[0], q[1], q[2]));
  results.add("RobustMake", qzBBox::RobustMake(p, q));
  results.add("RobustMake of six", qzBBox::RobustMake(p[0], p[1], p[2], q[0], q[1], q[2]));
  results.add("xMin ...", Point(box.xMin(), box.yMin(), box.zMin()));
  results.add("xMax ...", Point(box.xMax(), box.yMax(), box.zMax()));
  results.add("extentX ...", Point(box.extentX(), box.extentY(), box.extentZ()));
  results.add("getExtents", box.getExtents());
  results.add("getCenter", box.getCenter());
  results.add("volume", box.volume());
  results.add("halfArea", box.halfArea());
  qzBBox::tAxis axis;
  results.add("getMaxExtent", box.getMaxExtent(axis));
  results.add("getMaxExtent or getMinExtent", std::uint32_t(axis));
  results.add("getMinExtent", box.getMinExtent(axis));
  results.add("getMaxExtent or getMinExtent", std::uint32_t(axis));
  results.add("isEmpty", box.isEmpty());
  results.add("hasExtent", box.hasExtent());
  results.add("contains", box.contains(p));
  results.add("strictlyContains", box.strictlyContains(p));
  results.add("contains a box", box.contains(o));
  results.add("overlaps", box.overlaps(o));
  results.add("strictlyOverlaps", box.strictlyOverlaps(o));
  results.add("overlapsPlane", box.overlapsPlane(p, v));
  results.add("overlapsSphere", box.overlapsSphere(p, v));
  results.add("overlapsTriangle", box.overlapsTriangle(p, q, o.getMinPoint()));
  float tMin = v, tMax = w;
  results.add("intersectRay", box.intersectRay(p, q, tMin, tMax));
  results.add("intersectRay", tMin);
  results.add("intersectRay", tMax);
  results.add("bboxUnion", box.bboxUnion(o));
  results.add("bboxIntersection", box.bboxIntersection(o));
  results.add("expand", box.expand(p));
  results.add("grow", box.grow(v));
  qzBBox changed = box;
  results.add("selfExpand", changed.selfExpand(q));
  results.add("selfUnion", changed.selfUnion(o));
  results.add("selfGrow", changed.selfGrow(w));
  results.add("selfIntersection", changed.selfIntersection(box));
  results.add("projectOntoBBox", box.projectOntoBBox(p));
  const Wm4::Vector4<float> projected = box.projectOntoBBox(Wm4::Vector4<float>(p[0], p[1], p[2], v));
  for (int i = 0; i < 4; ++i) results.add("projectOntoBBox of four", projected[i]);
  for (const qzBBox::tAxis a : {qzBBox::eAxisX, qzBBox::eAxisY, qzBBox::eAxisZ}) {
    results.add("getExtent", box.getExtent(a));
    results.add("splitLeft", box.splitLeft(a, v));
    results.add("splitRight", box.splitRight(a, v));
    results.add("split", changed.split(a, w));
    results.add("split", changed);
  }
  const Wm4::Box3<float> converted = box.convert();
  results.add("convert", converted.Center);
  for (int i = 0; i < 3; ++i) {
    results.add("convert", converted.Axis[i]);
    results.add("convert", converted.Extent[i]);
  }
  return results;
}

struct Arguments {
  qzBBox box, o;
  Point p, q;
  float v, w;
};

Results call(const Arguments& a) {
  return callEveryMember(a.box, a.o, a.p, a.q, a.v, a.w);
}

/// Denormals, numbers whose sums and products are denormal, any floats, and ordinary ones.
float smallFloat(Random& random) {
  switch (random.below(5)) {
    case 0:
      return floatFromBits(random.bits() & 0x807FFFFFu);  // denormal
    case 1:
      return floatFromBits((random.bits() & 0x80FFFFFFu) | 0x00800000u);  // just above
    case 2:
      return random.between(-1.0f, 1.0f) * 0x1p-64f;  // square around the smallest normal
    case 3:
      return random.anyFloat();
    default:
      return random.between(-2.0f, 2.0f);
  }
}
Point smallPoint(Random& random) {
  const float x = smallFloat(random), y = smallFloat(random), z = smallFloat(random);
  return Point(x, y, z);
}

std::vector<Arguments> manyArguments(Random& random, int count) {
  std::vector<Arguments> result;
  for (int i = 0; i < count; ++i) {
    const Point a = smallPoint(random), b = smallPoint(random), c = smallPoint(random), d = smallPoint(random);
    const Point p = smallPoint(random), q = smallPoint(random);
    const float v = smallFloat(random), w = smallFloat(random);
    result.push_back(
        {random.below(2) == 0 ? qzBBox::Make(a, b) : qzBBox::RobustMake(a, b), qzBBox::RobustMake(c, d), p, q, v, w});
  }
  return result;
}

}  // namespace

TEST_CASE("results of a box do not depend on the caller's float mode") {
  const std::uint32_t seed = 41;
  INFO("seed ", seed);
  Random random(seed);
  const std::vector<Arguments> arguments = manyArguments(random, 5000);
  REQUIRE(CallersFloatMode::isNow(CallersFloatMode::eDefault));
  std::vector<Results> expected;
  for (const Arguments& a : arguments) expected.push_back(call(a));
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    INFO("mode ", static_cast<unsigned int>(mode));
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      Results results;
      {
        const CallersFloatMode callers(mode);
        results = call(arguments[i]);
      }
      if (!(results == expected[i])) {
        int word = 0;
        while (results.words[word] == expected[i].words[word]) ++word;
        FAIL(std::string(results.members[word]), " with arguments number ", i);
      }
    }
  }
}

TEST_CASE("the float mode matters: flushing denormals changes plain arithmetic") {
  volatile float a = 0x1p-126f, b = 0x1p-127f;
  const float kept = a - b;
  float flushed;
  {
    const CallersFloatMode callers(CallersFloatMode::eFastMath);
    flushed = a - b;
  }
  CHECK(bitsOf(kept) != bitsOf(flushed));
}

TEST_CASE("every call restores the caller's float mode") {
  Random random(42);
  const std::vector<Arguments> arguments = manyArguments(random, 100);
  for (const CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
    INFO("mode ", static_cast<unsigned int>(mode));
    const CallersFloatMode callers(mode);
    bool kept = true;
    for (const Arguments& a : arguments) {
      call(a);
      kept = kept && callers.isKept();
    }
    CHECK(kept);
  }
}

TEST_CASE("a division by zero inside a call stays in the caller's exception flags, in any float mode") {
  const qzBBox box = qzBBox::Make(1.0f, 1.0f, 1.0f, 2.0f, 2.0f, 2.0f);
  std::vector<CallersFloatMode::Mode> modes(std::begin(CallersFloatMode::kModes), std::end(CallersFloatMode::kModes));
  modes.push_back(CallersFloatMode::eDefault);
  for (const CallersFloatMode::Mode mode : modes) {
    INFO("mode ", static_cast<unsigned int>(mode));
    const CallersFloatMode callers(mode);
    REQUIRE(CallersFloatMode::exceptionFlags() == 0);
    float tMin = 0.0f, tMax = 10.0f;
    box.intersectRay({0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 0.0f}, tMin, tMax);
    CHECK((CallersFloatMode::exceptionFlags() & CallersFloatMode::kDivisionByZero) != 0);
  }
}

TEST_CASE("calls repeat their results whatever was called between, and const members do not change the box") {
  const std::uint32_t seed = 43;
  INFO("seed ", seed);
  Random random(seed);
  for (const Arguments& a : manyArguments(random, 5000)) {
    const Arguments before = a;
    const Results first = call(a);
    call({qzBBox(), a.box, a.q, a.p, a.w, a.v});
    if (!(call(a) == first)) FAIL(describe(a.box));
    if (!sameBits(before.box, a.box) || !sameBits(before.o, a.o)) FAIL(describe(before.box));
  }
}

TEST_CASE("no member allocates") {
  Random random(44);
  const std::vector<Arguments> arguments = manyArguments(random, 1000);
  const HeapWatch watch;
  for (const Arguments& a : arguments) call(a);
  CHECK(watch.nbAllocations() == 0);
  CHECK(watch.nbReleases() == 0);
}

TEST_CASE("HeapWatch counts an allocation") {
  const HeapWatch watch;
  ::operator delete(::operator new(1));  // called by name, so that no compiler removes the pair
  CHECK(watch.nbAllocations() == 1);
  CHECK(watch.nbReleases() == 1);
}
