#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>

#include "builders/surface_area/qzBothSAHBuilders.h"
#include "support/qzBits.h"
#include "support/scenes/qzBoxScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

using Point = Wm4::Vector3<float>;

// The default cost as a functor of another class.
float defaultCost(const qzBBox& box, unsigned int count) {
  return qzPlain::DefaultSAH().f(box, count);
}

// Cost formulas without a fast path.
struct Formula {
  const char* name;
  NotingSAH::Formula f;
};
const Formula kFormulas[] = {
    {"the default cost", defaultCost},
    {"a constant", [](const qzBBox&, unsigned int) { return 1.0f; }},
    {"zero", [](const qzBBox&, unsigned int) { return 0.0f; }},
    {"NaN", [](const qzBBox&, unsigned int) { return kNaN; }},
    {"infinity", [](const qzBBox&, unsigned int) { return kInf; }},
    {"minus infinity", [](const qzBBox&, unsigned int) { return -kInf; }},
    {"minus the default cost", [](const qzBBox& box, unsigned int count) { return -defaultCost(box, count); }},
    {"the square of the count",
     [](const qzBBox&, unsigned int count) { return static_cast<float>(count) * static_cast<float>(count); }},
    {"prefers a few on one side",
     [](const qzBBox&, unsigned int count) { return count > 0 && count < 5 ? -10.0f : static_cast<float>(count); }},
    {"NaN for odd counts", [](const qzBBox& box, unsigned int count) { return count % 2 == 0 ? box.extentX() : kNaN; }},
    {"likes empty sides", [](const qzBBox&, unsigned int count) { return count == 0 ? -1000.0f : 1.0f; }},
    {"NaN for whole nodes",
     [](const qzBBox& box, unsigned int count) { return count == 100 ? kNaN : defaultCost(box, count); }},
    {"steps, with many ties",
     [](const qzBBox& box, unsigned int count) { return std::floor(defaultCost(box, count)); }},
};

std::vector<qzBBox> onOnePoint(unsigned int count) {
  return std::vector<qzBBox>(count, qzBBox(Point(1.5f, -2.0f, 0.125f)));
}

// Scene boxes that do not contain the items.
std::vector<qzBBox> oddSceneBoxes(Random& random) {
  std::vector<qzBBox> boxes = {
      qzBBox(),
      qzBBox::Make(-0.1f, -0.1f, -0.1f, 0.1f, 0.1f, 0.1f),
      qzBBox::Make(5.0f, 5.0f, 5.0f, 6.0f, 6.0f, 6.0f),
      qzBBox::Make(-1e30f, -1e30f, -1e30f, 1e30f, 1e30f, 1e30f),
      qzBBox::Make(-kMaxFloat, -kMaxFloat, -kMaxFloat, kMaxFloat, kMaxFloat, kMaxFloat),
      qzBBox::Make(-kInf, -kInf, -kInf, kInf, kInf, kInf),
      qzBBox::Make(kNaN, kNaN, kNaN, kNaN, kNaN, kNaN),
      qzBBox::Make(-kNaN, 0.0f, -1.0f, 1.0f, kNaN, 1.0f),
      qzBBox(Point(0.25f, 0.25f, 0.25f)),
      qzBBox::Make(-0x1p-140f, -0x1p-140f, -0x1p-140f, 0x1p-140f, 0x1p-140f, 0x1p-140f),
      // Bins of 2^-40 and less: centroids lie some 2^40 bins away, and those numbers wrap.
      qzBBox::Make(0.0f, 0.0f, 0.0f, 0x1p-33f, 0x1p-35f, 0x1p-28f),
      qzBBox::Make(-0.25f, 0.5f, 0.0f, -0.25f + 0x1p-20f, 0.5f + 0x1p-22f, 0x1p-60f),
  };
  for (int i = 0; i < 20; ++i) {
    const Point a{random.anyFloat(), random.anyFloat(), random.anyFloat()};
    const Point b{random.anyFloat(), random.anyFloat(), random.anyFloat()};
    boxes.push_back(qzBBox::Make(a, b));
  }
  return boxes;
}

}  // namespace

TEST_CASE("scenes of every kind and size give the tree of the plain form to the bit") {
  for (const std::uint32_t count : {17u, 64u, 1000u, 1024u, 1025u, 3000u}) {
    const std::uint32_t seed = 100 + count;
    for (const Scene& scene : scenesOfEveryKind(count, seed)) {
      INFO("scene ", scene.name, ", count ", count, ", seed ", seed);
      BothSAHBuilders(scene.boxes).build();
    }
  }
}

TEST_CASE("the default cost in a functor of another class gives the tree and calls of the plain form") {
  for (const std::uint32_t count : {40u, 1024u, 1500u}) {
    const std::uint32_t seed = 200 + count;
    for (const Scene& scene : scenesOfEveryKind(count, seed)) {
      INFO("scene ", scene.name, ", count ", count, ", seed ", seed);
      BothSAHBuilders(scene.boxes).build(defaultCost);
    }
  }
}

TEST_CASE("any cost formula gives the tree and calls of the plain form") {
  for (const Formula& formula : kFormulas) {
    for (const std::uint32_t count : {17u, 100u, 600u}) {
      INFO("cost ", formula.name, ", count ", count);
      BothSAHBuilders(randomBoxes(count, 0.1f, 300 + count)).build(formula.f);
      BothSAHBuilders(onOnePoint(count)).build(formula.f);
    }
  }
}

TEST_CASE("numbers of items near every limit give the tree of the plain form") {
  for (const std::uint32_t count :
       {0u, 1u, 2u, 15u, 16u, 17u, 18u, 1023u, 1024u, 1025u, 1026u, 2047u, 2048u, 2049u, 2050u, 4095u, 4096u, 4097u}) {
    INFO("count ", count);
    BothSAHBuilders(randomBoxes(count, 0.1f, 400 + count)).build();
    BothSAHBuilders(onOnePoint(count)).build();
  }
}

TEST_CASE("a scene box that does not contain the items gives the tree of the plain form") {
  const std::uint32_t seed = 500;
  Random random(seed);
  for (const qzBBox& sceneBBox : oddSceneBoxes(random)) {
    for (const std::uint32_t count : {5u, 30u, 700u, 1300u}) {
      INFO("scene box from ", sceneBBox.xMin(), ' ', sceneBBox.yMin(), ' ', sceneBBox.zMin(), " to ", sceneBBox.xMax(),
           ' ', sceneBBox.yMax(), ' ', sceneBBox.zMax(), ", count ", count, ", seed ", seed);
      for (const Scene& scene : {Scene{"random", randomBoxes(count, 0.1f, random.bits())},
                                 Scene{"awkward", scenesOfEveryKind(count, random.bits()).back().boxes}}) {
        INFO("scene ", scene.name);
        BothSAHBuilders both(scene.boxes);
        both.setSceneBBox(sceneBBox);
        both.build();
        both.build(defaultCost);
      }
    }
  }
}

TEST_CASE("centroids any number of bins away, beyond 2^31, 2^32, 2^63 and 2^64 too, give the tree of the plain form") {
  // A unit scene of 128 bins, so the centroid e lies in bin 128 e before clamping.
  const std::uint32_t seed = 600;
  Random random(seed);
  std::vector<float> far;
  for (int exponent = 0; exponent < 128; ++exponent) {
    for (const float mantissa : {1.0f, 1.0f + 0x1p-23f, 1.5f, 2.0f - 0x1p-23f}) {
      far.push_back(std::ldexp(mantissa, exponent));
      far.push_back(-std::ldexp(mantissa, exponent));
    }
  }
  for (int round = 0; round < 20; ++round) {
    std::vector<qzBBox> boxes;
    for (const float x : far) {
      const float y = random.below(2) == 0 ? random.unit() : far[random.below(static_cast<std::uint32_t>(far.size()))];
      const float z = random.below(2) == 0 ? random.unit() : far[random.below(static_cast<std::uint32_t>(far.size()))];
      boxes.emplace_back(round % 2 == 0 ? Point(x, y, z) : Point(random.unit(), y, z));
    }
    boxes.resize(std::min<std::size_t>(boxes.size(), 1024));
    INFO("round ", round, ", seed ", seed);
    BothSAHBuilders both(boxes);
    both.setSceneBBox(qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f));
    both.build();
    both.build(defaultCost);
  }
}

TEST_CASE("items in any order, missing or repeated give the tree of the plain form") {
  const std::uint32_t seed = 700;
  Random random(seed);
  INFO("seed ", seed);
  for (const std::uint32_t count : {50u, 1024u, 2500u}) {
    BothSAHBuilders both(randomBoxes(count, 0.1f, random.bits()));
    std::vector<unsigned int> indices(count);
    for (unsigned int& index : indices) index = random.below(count);
    both.setItemIndices(indices);
    both.build();
  }
}

TEST_CASE("a second build starts from the item order of the first, and gives the tree of the plain form") {
  BothSAHBuilders both(randomBoxes(3000, 0.05f, 800));
  both.build();
  both.build();
  both.build(defaultCost);
  both.build();
}

TEST_CASE("other numbers of bins give the tree of the plain form") {
  for (const unsigned int nbBins : {1u, 2u, 3u, 16u, 64u, 127u}) {
    INFO(nbBins, " bins");
    BothSAHBuilders both(randomBoxes(500, 0.1f, 900 + nbBins));
    both.setNbBins(nbBins);
    both.build();
    both.build(defaultCost);
  }
}

TEST_CASE("signed zeros in item boxes give the node boxes of the plain form") {
  const std::uint32_t seed = 1000;
  Random random(seed);
  INFO("seed ", seed);
  for (const std::uint32_t count : {40u, 900u, 2000u}) {
    std::vector<qzBBox> boxes;
    for (std::uint32_t i = 0; i < count; ++i) {
      const auto coordinate = [&] {
        return random.below(2) == 0 ? 0.0f : random.below(2) == 0 ? -0.0f : random.unit();
      };
      const Point min{coordinate(), coordinate(), coordinate()};
      const Point max{min[0] + random.unit(), coordinate(), min[2]};
      boxes.push_back(qzBBox::Make(min, max));
    }
    BothSAHBuilders both(boxes);
    both.build();
    both.build(defaultCost);
  }
}

TEST_CASE("of two NaN coordinates the lower one gives the key of a median, for any payloads") {
  // NaN keys sort by sign and payload: positive NaN between positive and negative distances (of inverted boxes),
  // negative NaN last. So the signs of NaN decide which distance is the median.
  const std::uint32_t seed = 1100;
  Random random(seed);
  for (int round = 0; round < 10; ++round) {
    INFO("round ", round, ", seed ", seed);
    std::vector<qzBBox> boxes;
    for (int i = 0; i < 1500; ++i) {
      const auto nan = [&] {
        return floatFromBits((random.below(2) == 0 ? 0x7F800001u : 0xFF800001u) | (random.bits() & 0x7FFFFFu));
      };
      Point min, max;
      for (int axis = 0; axis < 3; ++axis) {
        const std::uint32_t kind = random.below(6);
        min[axis] = kind < 3 ? nan() : random.unit();
        max[axis] = kind < 3 ? nan() : kind < 4 ? min[axis] + random.unit() : -10.0f * random.unit();
      }
      boxes.push_back(qzBBox::Make(min, max));
    }
    BothSAHBuilders both(boxes);
    both.build();
  }
}
