// Rays that no triangle can accept are not traversed. All mixes of NaN, infinities, zeros and ordinary numbers in the
// parts of a ray are compared with the plain form, which traverses all of them.

#include <doctest/doctest.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayTraversal.h>

#include <array>
#include <cmath>
#include <sstream>

#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

struct Scene {
  qz::qzTriMesh mesh;
  OpenQBVH library;
  qzPlain::tQBVH plain;

  Scene(qz::qzTriMesh m, const qzGenericBVH& bvh) : mesh(std::move(m)), plain(qzPlain::convert(3, bvh, mesh)) {
    library.buildFromBVH(kBothArrays, bvh, mesh);
  }
};

/// Triangles through the origin and around it, some with coordinates that are infinite, NaN, huge or tiny, so that
/// equations hold everything that a float can.
qz::qzTriMesh wildMesh(std::uint32_t seed) {
  Random random(seed);
  std::vector<Point> corners;
  for (int i = 0; i < 36; ++i) {
    Point p = random.point(-1.0f, 1.0f);
    if (random.below(4) == 0) p[static_cast<int>(random.below(3))] = random.anyFloat();
    if (random.below(4) == 0) p[static_cast<int>(random.below(3))] = 0.0f;
    corners.push_back(p);
  }
  return meshOfCorners(corners);
}

struct NodeCounter {
  int* count;
  void nodeVisited() { ++*count; }
};
int countVisits(const OpenQBVH& hierarchy, const qzDetail::tRayQuery& query, float t) {
  int count = 0;
  qzDetail::tRayHit hit{t};
  qzDetail::castRay(
      qzDetail::viewRows(hierarchy.mNodes, hierarchy.mTriangleEquations, hierarchy.mTriangleIndices,
                         hierarchy.getNoNodes(), hierarchy.getNoTriangleQuadruplets(), hierarchy.mIsNested),
      query, hit, NodeCounter{&count});
  return count;
}

bool isFinite(const Point& p) {
  return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

/// What ends at once, in words of its own.
bool neverHits(const Ray& ray, float tMin) {
  const bool isZero = ray.direction[0] == 0.0f && ray.direction[1] == 0.0f && ray.direction[2] == 0.0f;
  return !isFinite(ray.origin) || !isFinite(ray.direction) || isZero || std::isnan(tMin) || std::isnan(ray.t) ||
         tMin > ray.t;
}

struct Counts {
  int nbRays = 0, nbEnded = 0, nbHits = 0, nbDifferences = 0, nbWrongVisits = 0;
  std::string first;
};

void compare(const char* name, const Ray& ray, const Answer& library, const Answer& plain, Counts& counts) {
  if (sameAnswer(library, plain) || counts.nbDifferences++ > 0) return;
  std::ostringstream text;
  text << name << ' ' << ray << ": " << library << ", plain form " << plain;
  counts.first = text.str();
}

void castBoth(const Scene& scene, const Ray& ray, Counts& counts) {
  const Answer plain = cast(scene.plain, ray), plainSymmetric = castSymmetric(scene.plain, ray);
  compare("ray", ray, cast(scene.library, ray), plain, counts);
  compare("symmetric ray", ray, castSymmetric(scene.library, ray), plainSymmetric, counts);
  for (const RayVariant& variant : rayVariants()) {
    compare(variant.name, ray, cast(variant, scene.library, ray), plain, counts);
    compare(variant.nameOfSymmetric, ray, castSymmetric(variant, scene.library, ray), plainSymmetric, counts);
  }
  ++counts.nbRays;
  counts.nbEnded += neverHits(ray, ray.tMin) ? 1 : 0;
  counts.nbHits += plain.hit ? 1 : 0;

  // Nothing is visited if and only if the ray never hits.
  using namespace qzDetail;
  const int nbVisits = countVisits(scene.library, makeRayQuery(ray.origin, ray.direction, ray.tMin, ray.policy), ray.t);
  const int nbSymmetric = countVisits(scene.library, makeSymmetricRayQuery(ray.origin, ray.direction), ray.t);
  counts.nbWrongVisits += (nbVisits == 0) == neverHits(ray, ray.tMin) ? 0 : 1;
  counts.nbWrongVisits += (nbSymmetric == 0) == neverHits(ray, 0.0f) ? 0 : 1;
}

}  // namespace

TEST_CASE("every mix of NaN, infinities, zeros and ones in a ray gives the answer of the plain form") {
  constexpr float kDenormal = 1e-40f;
  const std::array<float, 6> ofPoint = {kNaN, kInf, -kInf, 0.0f, -0.0f, 0.25f};
  const std::array<float, 7> ofDirection = {kNaN, kInf, -kInf, 0.0f, -0.0f, 1.0f, -kDenormal};
  const std::array<float, 6> ofLimit = {kNaN, kInf, -kInf, 0.0f, -0.0f, 0.5f};
  Counts counts;
  for (std::uint32_t seed = 1; seed <= 6; ++seed) {
    CAPTURE(seed);
    Random random(seed);
    const auto mesh = seed == 1 ? sphereMesh(4, 5) : wildMesh(seed);
    const Scene scene(mesh,
                      seed < 3 ? linearBVH(mesh, 2) : randomBVH(mesh, 3, seed == 3 ? eNestedBoxes : eOddBoxes, random));
    REQUIRE(scene.library.getNoNodes() > 0);
    // Each pair of parts takes all its values; the other six parts are drawn.
    const auto draw = [&](Ray& ray) {
      for (int axis = 0; axis < 3; ++axis) {
        const bool isOrdinary = random.below(3) != 0;
        ray.origin[axis] = isOrdinary ? random.between(-1.0f, 1.0f) : ofPoint[random.below(6)];
        ray.direction[axis] = isOrdinary ? random.between(-1.0f, 1.0f) : ofDirection[random.below(7)];
      }
      ray.tMin = random.below(2) == 0 ? 0.0f : ofLimit[random.below(6)];
      ray.t = random.below(2) == 0 ? kInf : ofLimit[random.below(6)];
      ray.policy = random.below(4);
    };
    const auto set = [&](Ray& ray, int part, std::uint32_t value) {
      if (part < 3) ray.origin[part] = ofPoint[value % 6];
      if (part >= 3 && part < 6) ray.direction[part - 3] = ofDirection[value % 7];
      if (part == 6) ray.tMin = ofLimit[value % 6];
      if (part == 7) ray.t = ofLimit[value % 6];
    };
    for (int first = 0; first < 8; ++first) {
      for (int second = 0; second < first; ++second) {
        for (std::uint32_t value = 0; value < 49; ++value) {
          for (int repetition = 0; repetition < 8; ++repetition) {
            Ray ray;
            draw(ray);
            set(ray, first, value / 7);
            set(ray, second, value % 7);
            castBoth(scene, ray, counts);
          }
        }
      }
    }
    // All mixes in the direction, from ordinary origins.
    for (const float x : ofDirection) {
      for (const float y : ofDirection) {
        for (const float z : ofDirection) {
          for (const float tMin : ofLimit) {
            for (const float t : ofLimit) {
              Ray ray;
              ray.origin = random.point(-0.5f, 0.5f);
              ray.direction = Point(x, y, z);
              ray.tMin = tMin;
              ray.t = t;
              ray.policy = random.below(4);
              castBoth(scene, ray, counts);
            }
          }
        }
      }
    }
  }
  CHECK(counts.first == "");
  CHECK(counts.nbDifferences == 0);
  CHECK(counts.nbWrongVisits == 0);
  CHECK(counts.nbRays > 100000);
  CHECK(counts.nbEnded > counts.nbRays / 2);
  CHECK(counts.nbHits > 500);
}
