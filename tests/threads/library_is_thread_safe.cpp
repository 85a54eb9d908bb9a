// Threads that query one hierarchy while others build their own from the same mesh; all shared data is constant. The
// preset sanitize-threads looks for races; here answers and trees are compared with those of a single thread.

#include <doctest/doctest.h>

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>

#include "support/access/qzOpenBVH2D.h"
#include "support/access/qzOpenSAHBuilder.h"
#include "support/access/qzSameTrees.h"
#include "support/qzObservers.h"
#include "support/qzVectors.h"
#include "support/scenes/qzBoxScenes.h"
#include "support/scenes/qzHullScenes.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

constexpr std::size_t kNbQuerying = 8, kNbBuilding = 4, kNbRounds = 8;

/// Answers of both ray queries.
struct BothAnswers {
  Answer ray, symmetric;
  bool operator==(const BothAnswers& o) const { return sameAnswer(ray, o.ray) && sameAnswer(symmetric, o.symmetric); }
};

BothAnswers castBoth(const qzQBVH& hierarchy, const Ray& ray) {
  return {cast(hierarchy, ray), castSymmetric(hierarchy, ray)};
}

bool sameArrays(const OpenQBVH& a, const OpenQBVH& b) {
  return a.nodeWords() == b.nodeWords() && a.vertexWords() == b.vertexWords() &&
         a.equationWords() == b.equationWords() && a.indexWords() == b.indexWords();
}

struct Statistics2D {
  int nbNodes = 0, nbLeaves = 0, min = 0, max = 0;
  float average = 0.0f;
  bool operator==(const Statistics2D& o) const {
    return nbNodes == o.nbNodes && nbLeaves == o.nbLeaves && min == o.min && max == o.max &&
           sameBits(average, o.average);
  }
};

Statistics2D statisticsOf(const qzGenericBVH2D& tree) {
  Statistics2D s;
  tree.getBVHInfo(s.nbNodes, s.nbLeaves, s.min, s.max, s.average);
  return s;
}

bool samePrimitives(const qzGenericBVH2D& a, const qzGenericBVH2D& b) {
  for (unsigned int i = 0; i < 1000; ++i) {
    if (a.getPrimitive(i) != b.getPrimitive(i)) return false;
  }
  return true;
}

/// What all threads read.
struct Shared {
  qz::qzTriMesh mesh = terrainMesh(30, 41);
  qzBVHTriangleContainer triangles{mesh};
  OpenQBVH hierarchy;
  std::vector<Ray> rays;
  std::vector<BothAnswers> rayAnswers;
  std::vector<std::unique_ptr<PlaneSet>> regions;
  std::vector<bool> regionAnswers;

  // The input of the builders that a derived class fills.
  std::vector<qzBBox> boxes = randomBoxes(2000, 0.05f, 42);
  OpenBuilder2D filled2D;

  qzGenericBVH linearTree, surfaceAreaTree;
  qzGenericBVH2D tree2D;
  Statistics2D statistics2D;

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

    hierarchy.buildFromMesh(kBothArrays, mesh, 4);
    linearTree = buildLinear();
    surfaceAreaTree = buildSurfaceArea();
    build2D(tree2D);
    statistics2D = statisticsOf(tree2D);
    for (int i = 0; i < 1000; ++i) {
      Ray ray;
      ray.origin = random.point(-2.0f, 2.0f);
      ray.direction = minus(anyPointOn(mesh, random), ray.origin);
      rays.push_back(ray);
      rayAnswers.push_back(castBoth(hierarchy, ray));
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

  /// Runs all queries, each thread starting at another one. Returns the number of answers that differ.
  int nbWrongAnswers(std::size_t thread) const {
    int nbWrong = 0;
    for (std::size_t i = 0; i < rays.size(); ++i) {
      const std::size_t ray = (i + thread * rays.size() / kNbQuerying) % rays.size();
      if (!(castBoth(hierarchy, rays[ray]) == rayAnswers[ray])) ++nbWrong;
    }
    for (std::size_t i = 0; i < regions.size(); ++i) {
      const std::size_t region = (i + thread * regions.size() / kNbQuerying) % regions.size();
      if (regions[region]->meets(hierarchy) != regionAnswers[region]) ++nbWrong;
    }
    if (!(statisticsOf(tree2D) == statistics2D)) ++nbWrong;
    const qzGenericBVH copy(linearTree);
    if (!sameTree(copy, linearTree)) ++nbWrong;
    return nbWrong;
  }

  /// Builds one tree of every kind. Returns the number of trees that differ.
  int nbWrongTrees() const {
    int nbWrong = 0;
    OpenQBVH fromMesh, fromTree;
    fromMesh.buildFromMesh(kBothArrays, mesh, 4);
    fromTree.buildFromBVH(kBothArrays, linearTree, mesh);
    if (!sameArrays(fromMesh, hierarchy)) ++nbWrong;
    if (!sameArrays(fromTree, hierarchy)) ++nbWrong;
    if (!sameTree(buildLinear(), linearTree)) ++nbWrong;
    if (!sameTree(buildSurfaceArea(), surfaceAreaTree)) ++nbWrong;
    qzGenericBVH2D tree;
    build2D(tree);
    if (!sameNodes(tree, tree2D) || !samePrimitives(tree, tree2D)) ++nbWrong;
    return nbWrong;
  }
};

}  // namespace

TEST_CASE("eight threads query one hierarchy while four build their own, with the results of a single thread") {
  const LogCapture quiet(false);
  const Shared shared;
  const auto nbHits = std::count_if(shared.rayAnswers.begin(), shared.rayAnswers.end(),
                                    [](const BothAnswers& answers) { return answers.ray.hit; });
  const auto nbYes = std::count(shared.regionAnswers.begin(), shared.regionAnswers.end(), true);
  CHECK(shared.statistics2D.nbLeaves > 10);
  CHECK(nbHits > 500);
  CHECK(nbYes > 100);
  CHECK(nbYes < 400);

  // All start together; builders repeat until the last query is answered.
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
