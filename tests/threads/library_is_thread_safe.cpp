// Threads that query one hierarchy while others build their own from the same mesh: nothing is shared but what nobody
// changes. The preset sanitize-threads looks for races; here the answers and trees are those of one thread alone.

#include <doctest/doctest.h>

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <thread>

#include "support/qzBoxScenes.h"
#include "support/qzHullScenes.h"
#include "support/qzObservers.h"
#include "support/qzOpenBVH2D.h"
#include "support/qzOpenSAHBuilder.h"
#include "support/qzSameTrees.h"
#include "support/qzTestMeshes.h"

using namespace qzTest;

namespace {

constexpr std::size_t kNbQuerying = 8, kNbBuilding = 4, kNbRounds = 8;
constexpr qzQBVH::tQBVHDataFlags kBoth = qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations;

struct Ray {
  Point origin, direction;
};

/// What the four-wide hierarchy says about one ray, by both queries.
struct RayAnswer {
  bool hits[2];
  float t[2];
  Wm4::Vector2<float> weights[2];
  unsigned triangles[2];

  bool operator==(const RayAnswer& o) const {
    for (int i = 0; i < 2; ++i) {
      if (hits[i] != o.hits[i] || !sameBits(t[i], o.t[i]) || triangles[i] != o.triangles[i]) return false;
      if (!sameBits(weights[i][0], o.weights[i][0]) || !sameBits(weights[i][1], o.weights[i][1])) return false;
    }
    return true;
  }
};

RayAnswer cast(const qzQBVH& hierarchy, const Ray& ray) {
  RayAnswer answer = {{}, {kInf, 1.0f}, {{0.0f, 0.0f}, {0.0f, 0.0f}}, {}};
  answer.hits[0] = hierarchy.intersectRay(ray.origin, ray.direction, 0.0f, answer.t[0], answer.weights[0],
                                          answer.triangles[0], qzQBVH::eIntersectBothFaces);
  answer.hits[1] =
      hierarchy.intersectRaySymmetric(ray.origin, ray.direction, answer.t[1], answer.weights[1], answer.triangles[1]);
  return answer;
}

/// The arrays of a four-wide hierarchy to compare.
class OpenQBVH : public qzQBVH {
 public:
  bool sameAs(const OpenQBVH& o) const {
    return mNoNodes == o.mNoNodes && mNoQuadruplets == o.mNoQuadruplets && sameBlocks(mNodes, o.mNodes, mNoNodes) &&
           sameBlocks(mTriangleVertices, o.mTriangleVertices, mNoQuadruplets) &&
           sameBlocks(mTriangleEquations, o.mTriangleEquations, mNoQuadruplets) &&
           sameBlocks(mTriangleIndices, o.mTriangleIndices, mNoQuadruplets);
  }

 private:
  template <class Block>
  static bool sameBlocks(const Block* a, const Block* b, std::size_t count) {
    return std::memcmp(a, b, count * sizeof(Block)) == 0;
  }
};

/// What all threads read.
struct Shared {
  qz::qzTriMesh mesh = terrainMesh(30, 41);
  qzBVHTriangleContainer triangles{mesh};
  OpenQBVH hierarchy;
  std::vector<Ray> rays;
  std::vector<RayAnswer> rayAnswers;
  std::vector<std::unique_ptr<PlaneSet>> regions;
  std::vector<bool> regionAnswers;

  // The input of the builders that a feeder fills, to be copied.
  std::vector<qzBBox> boxes = randomBoxes(2000, 0.05f, 42);
  OpenBuilder2D filled2D;

  qzGenericBVH linearTree, surfaceAreaTree;
  qzGenericBVH2D tree2D;

  Shared() {
    Random random(43);
    for (unsigned int i = 0; i < 1000; ++i) {
      const Wm4::Vector2<float> center(random.between(-1.0f, 1.0f), random.between(-1.0f, 1.0f));
      filled2D.mPoints.push_back(center);
      filled2D.mBBoxes.push_back(qzBBox2D::Make(center[0], center[1], center[0] + 0.1f, center[1] + 0.1f));
      filled2D.mBounds.selfExpand(center);
    }
    filled2D.mNbPrimitives = 1000;
    filled2D.mIndices.resize(1000);

    hierarchy.buildFromMesh(kBoth, mesh, 4);
    linearTree = buildLinear();
    surfaceAreaTree = buildSurfaceArea();
    build2D(tree2D);
    for (int i = 0; i < 1000; ++i) {
      const Point origin = random.point(-2.0f, 2.0f), target = anyPointOn(mesh, random);
      rays.push_back({origin, Point(target[0] - origin[0], target[1] - origin[1], target[2] - origin[2])});
      rayAnswers.push_back(cast(hierarchy, rays.back()));
    }
    for (int i = 0; i < 500; ++i) {
      regions.push_back(std::make_unique<PlaneSet>(ordinaryPlanes(mesh, random)));
      regionAnswers.push_back(regions.back()->meets(hierarchy));
    }
  }

  qzGenericBVH buildLinear() const {
    const CancelAtPoll never(CancelAtPoll::kNever);
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    builder.build(triangles, tree, &never, 20);
    return tree;
  }
  qzGenericBVH buildSurfaceArea() const {
    static const qzDefaultSAH cost;  // one functor for all threads
    OpenSAHBuilder builder(boxes);
    delete builder.mSAH;
    builder.setSAH(&cost);
    qzGenericBVH tree;
    builder.build(tree);
    return tree;
  }
  void build2D(qzGenericBVH2D& tree) const { OpenBuilder2D(filled2D).build(tree, 16); }

  /// Asks everything, from a ray and a region of its own on. Returns how many answers are not those of one thread.
  int nbWrongAnswers(std::size_t thread) const {
    int nbWrong = 0;
    for (std::size_t i = 0; i < rays.size(); ++i) {
      const std::size_t ray = (i + thread * rays.size() / kNbQuerying) % rays.size();
      if (!(cast(hierarchy, rays[ray]) == rayAnswers[ray])) ++nbWrong;
    }
    for (std::size_t i = 0; i < regions.size(); ++i) {
      const std::size_t region = (i + thread * regions.size() / kNbQuerying) % regions.size();
      if (regions[region]->meets(hierarchy) != regionAnswers[region]) ++nbWrong;
    }
    int nbNodes, nbLeaves, min, max;
    float average;
    tree2D.getBVHInfo(nbNodes, nbLeaves, min, max, average);
    if (nbLeaves == 0) ++nbWrong;
    const qzGenericBVH copy(linearTree);
    if (!sameTree(copy, linearTree)) ++nbWrong;
    return nbWrong;
  }

  /// Builds one of every kind. Returns how many trees are not those of one thread.
  int nbWrongTrees() const {
    int nbWrong = 0;
    OpenQBVH fromMesh, fromTree;
    fromMesh.buildFromMesh(kBoth, mesh, 4);
    fromTree.buildFromBVH(kBoth, linearTree, mesh);
    if (!fromMesh.sameAs(hierarchy)) ++nbWrong;
    if (!fromTree.sameAs(hierarchy)) ++nbWrong;
    if (!sameTree(buildLinear(), linearTree)) ++nbWrong;
    if (!sameTree(buildSurfaceArea(), surfaceAreaTree)) ++nbWrong;
    qzGenericBVH2D tree;
    build2D(tree);
    if (!sameNodes(tree, tree2D)) ++nbWrong;
    return nbWrong;
  }
};

}  // namespace

TEST_CASE("eight threads query one hierarchy while four build their own, and all get what one thread alone gets") {
  const LogCapture quiet(false);
  const Shared shared;
  const auto nbHits = std::count_if(shared.rayAnswers.begin(), shared.rayAnswers.end(),
                                    [](const RayAnswer& answer) { return answer.hits[0]; });
  const auto nbYes = std::count(shared.regionAnswers.begin(), shared.regionAnswers.end(), true);
  CHECK(nbHits > 500);
  CHECK(nbYes > 100);
  CHECK(nbYes < 400);

  // All begin together; those who build go on until the last query is answered.
  std::atomic<std::size_t> nbWaiting{kNbQuerying + kNbBuilding}, nbQuerying{kNbQuerying};
  const auto await = [&] {
    for (--nbWaiting; nbWaiting > 0;) std::this_thread::yield();
  };
  std::vector<int> nbWrong(kNbQuerying + kNbBuilding, -1), nbRounds(kNbBuilding, 0);
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kNbQuerying; ++thread) {
    threads.emplace_back([&, thread] {
      await();
      int nbWrongOfThread = 0;
      for (std::size_t round = 0; round < kNbRounds; ++round) nbWrongOfThread += shared.nbWrongAnswers(thread + round);
      nbWrong[thread] = nbWrongOfThread;
      --nbQuerying;
    });
  }
  for (std::size_t thread = 0; thread < kNbBuilding; ++thread) {
    threads.emplace_back([&, thread] {
      await();
      int nbWrongOfThread = 0;
      do {
        nbWrongOfThread += shared.nbWrongTrees();
        ++nbRounds[thread];
      } while (nbQuerying > 0);
      nbWrong[kNbQuerying + thread] = nbWrongOfThread;
    });
  }
  for (std::thread& thread : threads) thread.join();
  CHECK(nbWrong == std::vector<int>(kNbQuerying + kNbBuilding, 0));
  for (const int count : nbRounds) CHECK(count > 0);
}
