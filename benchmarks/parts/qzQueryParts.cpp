// The tests of a query: boxes, triangles and clipping. Items are nodes or quadruplets of triangles.

#include <benchmark/benchmark.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <vector>

#include <benchmarks/core/qzVectors.h>

namespace {

using qzBench::tVector;

qz::qzTriMesh meshOf(std::vector<tVector> corners) {
  std::vector<int> indices(corners.size());
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<int>(i);
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(corners)), qz::qzIndexBuffer(std::move(indices)));
}

/// A chain of nodes: in each, the ray hits one inner child and misses the others, which are leaves or empty lanes.
void slabTest(benchmark::State& state) {
  constexpr unsigned kNodes = 256;
  // Two levels of the binary tree become one node. Each level has a leaf that the ray misses and the next level.
  const qzBBox aside = qzBBox::Make(tVector(0.0f, 2.0f, 0.0f), tVector(1.0f, 3.0f, 1.0f));
  const qzBBox ahead = qzBBox::Make(tVector(0.0f, 0.0f, 0.0f), tVector(1.0f, 3.0f, 1.0f));
  const unsigned nbLevels = 2 * kNodes;
  qzGenericBVH bvh;
  bvh.editPrimitives().assign(nbLevels + 1, 0);
  bvh.editNodes().resize(2 * nbLevels + 1);
  for (unsigned level = 0; level < nbLevels; ++level) {
    bvh.getNode(2 * level).setBBox(ahead);
    bvh.getNode(2 * level).setNode(qzBBox::eAxisX, 2 * level + 1, 2 * level + 2, 0.0f);
    bvh.getNode(2 * level + 1).setBBox(aside);
    bvh.getNode(2 * level + 1).setLeaf(level, 1);
  }
  bvh.getNode(2 * nbLevels).setBBox(ahead);
  bvh.getNode(2 * nbLevels).setLeaf(nbLevels, 1);
  qzQBVH hierarchy;
  hierarchy.buildFromBVH(qzQBVH::eTrianglesEquations, bvh,
                         meshOf({tVector(0.0f, 2.0f, 0.0f), tVector(1.0f, 2.0f, 0.0f), tVector(0.0f, 3.0f, 1.0f)}));

  for (auto _ : state) {
    float t = 1.0f;
    Wm4::Vector2<float> barycentric;
    unsigned triangle;
    benchmark::DoNotOptimize(hierarchy.intersectRay(tVector(0.5f, 0.5f, 0.5f), tVector(0.6f, 0.1f, 0.7f), 0.0f, t,
                                                    barycentric, triangle, qzQBVH::eIntersectBothFaces));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(hierarchy.getNoNodes()));
}

/// One leaf of many equal triangles.
struct tOneLeaf {
  static constexpr unsigned kQuadruplets = 256;
  qzQBVH mHierarchy;

  tOneLeaf(qzQBVH::tQBVHDataFlags flags, const tVector& a, const tVector& b, const tVector& c) {
    std::vector<tVector> corners;
    qzGenericBVH bvh;
    for (unsigned triangle = 0; triangle < 4 * kQuadruplets; ++triangle) {
      corners.insert(corners.end(), {a, b, c});
      bvh.editPrimitives().push_back(triangle);
    }
    bvh.editNodes().resize(1);
    bvh.getNode(0).setLeaf(0, 4 * kQuadruplets);
    mHierarchy.buildFromBVH(flags, bvh, meshOf(std::move(corners)));
  }
};

/// Triangles that the ray misses, as most tests of a traversal do.
void leafTest(benchmark::State& state) {
  const tOneLeaf leaf(qzQBVH::eTrianglesEquations, tVector(2.0f, 2.0f, 1.0f), tVector(3.0f, 2.0f, 1.0f),
                      tVector(2.0f, 3.0f, 1.0f));
  for (auto _ : state) {
    float t = 10.0f;
    Wm4::Vector2<float> barycentric;
    unsigned triangle;
    benchmark::DoNotOptimize(leaf.mHierarchy.intersectRay(tVector(0.0f, 0.0f, 0.0f), tVector(0.1f, 0.2f, 1.0f), 0.0f, t,
                                                          barycentric, triangle, qzQBVH::eIntersectBothFaces));
  }
  state.SetItemsProcessed(state.iterations() * tOneLeaf::kQuadruplets);
}

/// Triangles that four planes of the region clip and the last plane rejects.
void clipping(benchmark::State& state) {
  const tOneLeaf leaf(qzQBVH::eTrianglesVertices, tVector(-9.0f, -9.0f, 2.0f), tVector(9.0f, -9.0f, 2.0f),
                      tVector(0.0f, 9.0f, 2.0f));
  const Wm4::Vector4<float> planes[6] = {{1.0f, 0.0f, 0.0f, 1.0f}, {-1.0f, 0.0f, 0.0f, 1.0f},
                                         {0.0f, 1.0f, 0.0f, 1.0f}, {0.0f, -1.0f, 0.0f, 1.0f},
                                         {0.0f, 0.0f, 1.0f, 1.0f}, {0.0f, 0.0f, -1.0f, 1.0f}};
  qzQBVH::tSOASinglePlaneEqn* set = qzQBVH::CreateSOAPlaneEquationSet(planes, 6);
  bool isHit = false;
  for (auto _ : state) isHit |= leaf.mHierarchy.intersectConvexHull(set, 6);
  if (isHit) state.SkipWithError("the region must miss all triangles");
  qzQBVH::DeleteSOAPlaneEquationSet(set);
  state.SetItemsProcessed(state.iterations() * tOneLeaf::kQuadruplets);
}

BENCHMARK(slabTest);
BENCHMARK(leafTest);
BENCHMARK(clipping);

}  // namespace
