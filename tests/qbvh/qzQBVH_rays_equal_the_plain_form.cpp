// Many rays, ordinary and degenerate, on many hierarchies: every bit of every answer against the plain form.

#include <doctest/doctest.h>

#include <cmath>
#include <sstream>

#include "support/qzCallersFloatMode.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

/// A hierarchy in both forms. Their words are equal except for NaN in the equations, which affect no answer.
struct Scene {
  qz::qzTriMesh mesh;
  OpenQBVH library;
  qzPlain::tQBVH plain;

  Scene(qz::qzTriMesh m, const qzGenericBVH& bvh) : mesh(std::move(m)), plain(qzPlain::convert(3, bvh, mesh)) {
    library.buildFromBVH(kBothArrays, bvh, mesh);
    CHECK(difference(library, plain, eAnyNaN) == "");
  }
};

/// Casts rays by both queries, through the library's interface and each of its traversals, and compares the answers
/// with the plain form's.
class Comparison {
 public:
  explicit Comparison(const Scene& scene) : mScene(scene) {}

  void castBoth(const Ray& ray) {
    mLast = cast(mScene.plain, ray);
    mLastSymmetric = castSymmetric(mScene.plain, ray);
    compare("ray", ray, cast(mScene.library, ray), mLast);
    compare("symmetric ray", ray, castSymmetric(mScene.library, ray), mLastSymmetric);
    for (const RayVariant& variant : rayVariants()) {
      compare(variant.name, ray, cast(variant, mScene.library, ray), mLast);
      compare(variant.nameOfSymmetric, ray, castSymmetric(variant, mScene.library, ray), mLastSymmetric);
    }
    mNbHits += mLast.hit ? 1 : 0;
    mNbSymmetricHits += mLastSymmetric.hit ? 1 : 0;
  }

  /// The ray again with its own hit at the ends of the interval, exactly and one float to either side.
  void castAtEnds(const Ray& ray) {
    const Answer answer = mLast, symmetric = mLastSymmetric;
    if (answer.hit) {
      for (float end : {answer.t, std::nextafter(answer.t, -kInf), std::nextafter(answer.t, kInf)}) {
        Ray again = ray;
        again.t = end;
        castBoth(again);
        again.t = ray.t;
        again.tMin = end;
        castBoth(again);
        again.t = end;
        castBoth(again);
      }
    }
    if (symmetric.hit) {
      for (float end :
           {symmetric.t, std::nextafter(symmetric.t, -kInf), std::nextafter(symmetric.t, kInf), -symmetric.t}) {
        Ray again = ray;
        again.t = end;
        castBoth(again);
      }
    }
  }

  int nbHits() const { return mNbHits; }
  int nbSymmetricHits() const { return mNbSymmetricHits; }
  int nbDifferences() const { return mNbDifferences; }
  const std::string& firstDifference() const { return mFirstDifference; }

 private:
  void compare(const char* query, const Ray& ray, const Answer& library, const Answer& plain) {
    if (sameAnswer(library, plain) || mNbDifferences++ > 0) return;
    std::ostringstream text;
    text << query << ' ' << ray << ": " << library << ", plain form " << plain;
    mFirstDifference = text.str();
  }

  const Scene& mScene;
  Answer mLast{}, mLastSymmetric{};
  int mNbHits = 0, mNbSymmetricHits = 0, mNbDifferences = 0;
  std::string mFirstDifference;
};

/// How many rays hit, by query.
struct Hits {
  int ray = 0, symmetric = 0;
  void operator+=(const Hits& o) {
    ray += o.ray;
    symmetric += o.symmetric;
  }
};

/// Alternates ordinary and degenerate rays; casts half of them again with the hit at an end of the interval. Each query
/// must hit at least smallestNbHits times.
Hits compareRays(const Scene& scene, std::uint32_t seed, int nbRays, int smallestNbHits) {
  Random random(seed);
  Comparison comparison(scene);
  for (int i = 0; i < nbRays; ++i) {
    const Ray ray = i % 2 == 0 ? ordinaryRay(scene.mesh, random) : awkwardRay(scene.mesh, random);
    comparison.castBoth(ray);
    if (i % 4 < 2) comparison.castAtEnds(ray);
  }
  CAPTURE(seed);
  CHECK(comparison.firstDifference() == "");
  CHECK(comparison.nbDifferences() == 0);
  CHECK(comparison.nbHits() >= smallestNbHits);
  CHECK(comparison.nbSymmetricHits() >= smallestNbHits);
  return {comparison.nbHits(), comparison.nbSymmetricHits()};
}

/// Repeated triangles, so that rays hit at equal distances in lanes, quadruplets and leaves.
qz::qzTriMesh meshOfTies(int nbTriangles, std::uint32_t seed) {
  Random random(seed);
  const qz::qzTriMesh once = terrainMesh(4, seed);
  std::vector<Point> corners;
  for (int i = 0; i < nbTriangles; ++i) {
    const unsigned int triangle = random.below(nbTrianglesOf(once));
    const int first = static_cast<int>(random.below(3));  // the same corners in another order, sometimes reversed
    const bool turned = random.below(8) == 0;
    for (int corner = 0; corner < 3; ++corner) {
      corners.push_back(cornerOf(once, triangle, (first + (turned ? 3 - corner : corner)) % 3));
    }
  }
  return meshOfCorners(corners);
}

/// A whole number from -2 to 2, sometimes -0.
float latticeNumber(Random& random) {
  const std::uint32_t number = random.below(6);
  return number == 5 ? -0.0f : static_cast<float>(number) - 2.0f;
}
Point latticePoint(Random& random) {
  const float x = latticeNumber(random), y = latticeNumber(random), z = latticeNumber(random);
  return Point(x, y, z);
}

/// Triangles between points with small whole coordinates, most of them in a plane of two axes.
qz::qzTriMesh latticeMesh(int nbTriangles, Random& random) {
  std::vector<Point> corners;
  for (int i = 0; i < nbTriangles; ++i) {
    const int axis = static_cast<int>(random.below(4));
    const float level = latticeNumber(random);
    for (int corner = 0; corner < 3; ++corner) {
      corners.push_back(latticePoint(random));
      if (axis < 3) corners.back()[axis] = level;
    }
  }
  return meshOfCorners(corners);
}

/// From a lattice point to another, or from half way between.
Ray latticeRay(Random& random) {
  Ray ray;
  ray.origin = latticePoint(random);
  ray.direction = latticePoint(random);
  const bool isBetween = random.below(2) == 0;
  const Point other = latticePoint(random);
  for (int axis = 0; axis < 3 && isBetween; ++axis) ray.origin[axis] = (ray.origin[axis] + other[axis]) * 0.5f;
  ray.policy = random.below(4);
  if (random.below(3) == 0) ray.tMin = latticeNumber(random) * 0.5f;
  if (random.below(3) == 0) ray.t = static_cast<float>(random.below(7)) * 0.5f;
  return ray;
}

}  // namespace

TEST_CASE("rays on hierarchies built from meshes equal the plain form") {
  for (unsigned int leafSize : {1u, 4u, 9u}) {
    CAPTURE(leafSize);
    for (const auto& mesh : {terrainMesh(20, 41), soupMesh(700, 42), sphereMesh(14, 20), awkwardMesh(700, 43)}) {
      compareRays(Scene(mesh, linearBVH(mesh, leafSize)), 44 + leafSize, 6000, 1000);
    }
  }
}

TEST_CASE("rays on a root leaf without nodes equal the plain form") {
  for (int count : {1, 2, 3, 4, 5, 8, 9, 37}) {
    CAPTURE(count);
    for (const auto& mesh : {soupMesh(count, 51), awkwardMesh(count, 52)}) {
      const Scene scene(mesh, linearBVH(mesh, 1000));
      CHECK(scene.library.getNoNodes() == 0);
      compareRays(scene, 53, 2000, 1);
    }
  }
}

TEST_CASE("rays on hierarchies of any shape and with any boxes equal the plain form") {
  int nbNested = 0, nbScenes = 0;
  for (BoxKind boxes : {eTightBoxes, eNestedBoxes, eCroppedBoxes, eOddBoxes}) {
    CAPTURE(boxes);
    Hits hits;
    for (std::uint32_t seed = 1; seed <= 60; ++seed) {
      CAPTURE(seed);
      Random random(seed);
      const int count = static_cast<int>(2 + random.below(80));
      const auto mesh = random.below(2) == 0 ? soupMesh(count, seed) : awkwardMesh(count, seed);
      const unsigned int leafSize = random.below(12);
      const Scene scene(mesh, randomBVH(mesh, leafSize, boxes, random));
      hits += compareRays(scene, seed, 800, boxes == eTightBoxes ? 3 : 0);
      nbNested += scene.library.mIsNested ? 1 : 0;
      ++nbScenes;
    }
    CHECK(hits.ray > 1000);
    CHECK(hits.symmetric > 1000);
  }
  CHECK(nbNested > 40);  // for these, queries take the fast path
  CHECK(nbScenes - nbNested > 80);
}

TEST_CASE("rays with many hits at equal distances equal the plain form") {
  for (std::uint32_t seed = 201; seed <= 240; ++seed) {
    CAPTURE(seed);
    Random random(seed);
    const auto mesh = meshOfTies(static_cast<int>(8 + random.below(60)), seed);
    const unsigned int leafSize = 1 + random.below(9);
    const bool isLinear = random.below(3) == 0;
    const auto boxes = random.below(2) == 0 ? eTightBoxes : eNestedBoxes;
    compareRays(Scene(mesh, isLinear ? linearBVH(mesh, leafSize) : randomBVH(mesh, leafSize, boxes, random)), seed, 800,
                50);
  }
}

TEST_CASE("rays on a lattice, where boxes, origins and hits coincide, equal the plain form") {
  for (std::uint32_t seed = 401; seed <= 440; ++seed) {
    CAPTURE(seed);
    Random random(seed);
    const auto mesh = latticeMesh(static_cast<int>(8 + random.below(120)), random);
    const unsigned int leafSize = 1 + random.below(6);
    const bool isLinear = random.below(2) == 0;
    const Scene scene(mesh, isLinear ? linearBVH(mesh, leafSize) : randomBVH(mesh, leafSize, eNestedBoxes, random));
    Comparison comparison(scene);
    for (int i = 0; i < 1500; ++i) {
      const Ray ray = latticeRay(random);
      comparison.castBoth(ray);
      if (i % 4 == 0) comparison.castAtEnds(ray);
    }
    CHECK(comparison.firstDifference() == "");
    CHECK(comparison.nbHits() >= 200);
    CHECK(comparison.nbSymmetricHits() >= 200);
  }
}

TEST_CASE("rays on infinite, huge, tiny and NaN vertices equal the plain form") {
  Hits hits;
  for (std::uint32_t seed = 301; seed <= 340; ++seed) {
    CAPTURE(seed);
    Random random(seed);
    std::vector<Point> corners;
    for (int i = 0; i < 90; ++i) {
      Point p = random.point(-1.0f, 1.0f);
      const int axis = static_cast<int>(random.below(3));
      if (random.below(3) == 0) p[axis] = random.anyFloat();
      corners.push_back(p);
    }
    const auto mesh = meshOfCorners(corners);
    const bool isLinear = random.below(2) == 0;
    hits +=
        compareRays(Scene(mesh, isLinear ? linearBVH(mesh, 3) : randomBVH(mesh, 5, eOddBoxes, random)), seed, 800, 0);
  }
  CHECK(hits.ray > 1000);
  CHECK(hits.symmetric > 1000);
}

TEST_CASE("rays on a deep chain of nodes equal the plain form, with any number of lanes on the stack") {
  // Every triangle twice, in adjacent leaves: the one reported is the one visited first.
  const qz::qzTriMesh once = terrainMesh(18, 61);
  std::vector<Point> corners;
  for (unsigned int i = 0; i < 2 * nbTrianglesOf(once); ++i) {
    for (int corner = 0; corner < 3; ++corner) corners.push_back(cornerOf(once, i / 2, corner));
  }
  const qz::qzTriMesh mesh = meshOfCorners(corners);
  const unsigned int length = nbTrianglesOf(mesh) - 1;
  const qzBBox box = qzBBox::Make(-2.0f, -2.0f, -2.0f, 2.0f, 2.0f, 2.0f);
  for (bool growsLeft : {false, true}) {
    CAPTURE(growsLeft);
    qzGenericBVH bvh;
    bvh.editNodes().resize(2 * length + 1);
    for (unsigned int i = 0; i < length; ++i) {
      const unsigned int leaf = 2 * i + 1, next = 2 * i + 2;
      bvh.editPrimitives().push_back(i);
      setInner(bvh, 2 * i, box, growsLeft ? next : leaf, growsLeft ? leaf : next);
      setLeaf(bvh, leaf, box, i, 1);
    }
    bvh.editPrimitives().push_back(length);
    setLeaf(bvh, 2 * length, box, length, 1);

    // Vertical and oblique rays to every triangle, and others.
    const Scene scene(mesh, bvh);
    Comparison comparison(scene);
    for (unsigned int i = 0; i <= length; i += 2) {
      Ray ray;
      ray.origin = pointOn(mesh, i, 0.3f, 0.3f);
      ray.origin[2] = 1.0f;
      ray.direction = Point(i % 4 == 0 ? 0.0f : 0.01f, 0.01f, -1.0f);
      comparison.castBoth(ray);
    }
    CHECK(comparison.firstDifference() == "");
    CHECK(comparison.nbHits() == static_cast<int>(length + 1) / 2);
    compareRays(scene, 62, 60, 5);
  }
}

TEST_CASE("rays do not depend on the caller's rounding and denormal modes, and leave them as they are") {
  const auto mesh = awkwardMesh(200, 71);
  const Scene scene(mesh, linearBVH(mesh, 4));
  Random random(72);
  int nbHits = 0, nbDifferences = 0, nbModesLost = 0;
  for (int i = 0; i < 1000; ++i) {
    const Ray ray = i % 2 == 0 ? ordinaryRay(mesh, random) : awkwardRay(mesh, random);
    const Answer plain = cast(scene.plain, ray), plainSymmetric = castSymmetric(scene.plain, ray);
    for (CallersFloatMode::Mode mode : CallersFloatMode::kModes) {
      Answer answer{}, symmetric{};
      {
        const CallersFloatMode floatMode(mode);
        answer = cast(scene.library, ray);
        symmetric = castSymmetric(scene.library, ray);
        nbModesLost += floatMode.isKept() ? 0 : 1;
      }
      nbHits += answer.hit ? 1 : 0;
      nbDifferences += sameAnswer(answer, plain) && sameAnswer(symmetric, plainSymmetric) ? 0 : 1;
    }
  }
  CHECK(nbDifferences == 0);
  CHECK(nbModesLost == 0);
  CHECK(nbHits > 500);
}
