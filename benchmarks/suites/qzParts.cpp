// qzParts: the parts of a build and of a query one by one, on a terrain. A time is that of the whole part, items are
// triangles, nodes or quadruplets of triangles.

#include <benchmark/benchmark.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/build/qzLinearBuild.h>
#include <qzSystem/qzLog.h>

#include <benchmarks/scenes/qzScene.h>

namespace {

using qzBench::qzScene;
using tVector = Wm4::Vector3<float>;

constexpr unsigned kBits = 20;

void setTriangles(benchmark::State& state, unsigned nbTriangles) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nbTriangles));
}

/// The stages of a linear build over a terrain, each with what the one before it left.
struct tStages {
  qzScene mScene;
  qzBVHTriangleContainer mTriangles;
  qzBBox mBBox;
  std::vector<std::uint64_t> mCodes, mSortedCodes;
  std::vector<std::uint32_t> mIndices;

  std::uint32_t nbPrimitives() const { return mTriangles.getQuantity(); }
  qzDetail::tBoxLanes boxOf(std::uint32_t i) const { return qzDetail::tBoxLanes(*mTriangles.getBBox(i)); }

  explicit tStages(const std::string& name) : mScene(qzBench::makeScene(name, "")), mTriangles(mScene.mMesh) {
    mIndices.resize(nbPrimitives());
    mBBox = qzDetail::boxOfAll(*this, mIndices.data()).toBBox();
    makeCodes();
    mSortedCodes = mCodes;
    qzDetail::sortByCode(mSortedCodes.data(), mIndices.data(), nbPrimitives());
  }

  void makeCodes() {
    const qzDetail::tGrid3 grid(mBBox, kBits);
    mCodes.resize(nbPrimitives());
    for (std::uint32_t i = 0; i < nbPrimitives(); ++i) mCodes[i] = grid.codeOf(boxOf(i).center());
  }

  std::unique_ptr<qzDetail::tSplits> makeSplits() const {
    return std::make_unique<qzDetail::tSplits>(mSortedCodes.data(), nbPrimitives(), 3 * kBits);
  }
};

tStages& stages(const benchmark::State& state) {
  static tStages small("terrain10k"), large("terrain1M");
  return state.range(0) == 10000 ? small : large;
}

void boxes(benchmark::State& state) {
  const tStages& s = stages(state);
  for (auto _ : state) {
    const qzBVHTriangleContainer container(s.mScene.mMesh);
    benchmark::DoNotOptimize(container.getBBox(0));
  }
  setTriangles(state, s.nbPrimitives());
}

void sceneBox(benchmark::State& state) {
  const tStages& s = stages(state);
  std::vector<std::uint32_t> indices(s.nbPrimitives());
  for (auto _ : state) benchmark::DoNotOptimize(qzDetail::boxOfAll(s, indices.data()).toBBox());
  setTriangles(state, s.nbPrimitives());
}

void codes(benchmark::State& state) {
  tStages& s = stages(state);
  for (auto _ : state) {
    s.makeCodes();
    benchmark::ClobberMemory();
  }
  setTriangles(state, s.nbPrimitives());
}

void sort(benchmark::State& state) {
  tStages& s = stages(state);
  std::vector<std::uint64_t> sorted;
  for (auto _ : state) {
    state.PauseTiming();
    sorted = s.mCodes;
    state.ResumeTiming();
    qzDetail::sortByCode(sorted.data(), s.mIndices.data(), s.nbPrimitives());
  }
  if (sorted != s.mSortedCodes) state.SkipWithError("not sorted");
  setTriangles(state, s.nbPrimitives());
}

void splits(benchmark::State& state) {
  const tStages& s = stages(state);
  for (auto _ : state) benchmark::DoNotOptimize(s.makeSplits());
  setTriangles(state, s.nbPrimitives());
}

/// Nodes with everything but their boxes.
void emission(benchmark::State& state) {
  const tStages& s = stages(state);
  std::vector<qzGNode> nodes;
  for (auto _ : state) {
    state.PauseTiming();
    const auto splits = s.makeSplits();  // a tree drops those within its leaves
    state.ResumeTiming();
    qzDetail::tFusedTree(*splits, 4).write<qzDetail::tNoBox>(nodes, qzDetail::tLink3(), [](std::uint32_t) {
      return qzDetail::tNoBox();
    });
  }
  setTriangles(state, s.nbPrimitives());
}

/// The same with the boxes, which come bottom-up on the way.
void emissionAndBoxes(benchmark::State& state) {
  const tStages& s = stages(state);
  std::vector<qzGNode> nodes;
  for (auto _ : state) {
    state.PauseTiming();
    const auto splits = s.makeSplits();  // a tree drops those within its leaves
    state.ResumeTiming();
    qzDetail::tFusedTree(*splits, 4).write<qzDetail::tBoxLanes>(nodes, qzDetail::tLink3(), [&](std::uint32_t k) {
      return s.boxOf(s.mIndices[k]);
    });
  }
  setTriangles(state, s.nbPrimitives());
}

void linearBuild(benchmark::State& state) {
  const tStages& s = stages(state);
  for (auto _ : state) {
    qzGenericBVH bvh;
    qzLinearGenericBVHBuilder().build(s.mTriangles, bvh, nullptr, kBits);
  }
  setTriangles(state, s.nbPrimitives());
}

void conversion(benchmark::State& state, qzQBVH::tQBVHDataFlags flags) {
  const tStages& s = stages(state);
  qzGenericBVH bvh;
  qzLinearGenericBVHBuilder().build(s.mTriangles, bvh, nullptr, kBits);
  for (auto _ : state) {
    qzQBVH hierarchy;
    hierarchy.buildFromBVH(flags, bvh, s.mScene.mMesh);
  }
  setTriangles(state, s.nbPrimitives());
}

qz::qzTriMesh meshOf(std::vector<tVector> corners) {
  std::vector<int> indices(corners.size());
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<int>(i);
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(corners)), qz::qzIndexBuffer(std::move(indices)));
}

/// Nodes with one inner child that the ray meets, one leaf that it passes by, and two empty lanes or leaves passed by.
void slabTest(benchmark::State& state) {
  constexpr unsigned kNodes = 256;
  // Two levels of the binary tree make a node: on each a leaf aside, and everything else further on.
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

/// One leaf over many triangles of one shape, ahead of a ray or of a region.
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

/// Triangles that the ray passes beside, as most triangles are.
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

/// A region asked about triangles that four planes cut and the last one leaves nothing of.
void clipping(benchmark::State& state) {
  const tOneLeaf leaf(qzQBVH::eTrianglesVertices, tVector(-9.0f, -9.0f, 2.0f), tVector(9.0f, -9.0f, 2.0f),
                      tVector(0.0f, 9.0f, 2.0f));
  const Wm4::Vector4<float> planes[6] = {{1.0f, 0.0f, 0.0f, 1.0f}, {-1.0f, 0.0f, 0.0f, 1.0f},
                                         {0.0f, 1.0f, 0.0f, 1.0f}, {0.0f, -1.0f, 0.0f, 1.0f},
                                         {0.0f, 0.0f, 1.0f, 1.0f}, {0.0f, 0.0f, -1.0f, 1.0f}};
  qzQBVH::tSOASinglePlaneEqn* set = qzQBVH::CreateSOAPlaneEquationSet(planes, 6);
  bool isMet = false;
  for (auto _ : state) isMet |= leaf.mHierarchy.intersectConvexHull(set, 6);
  if (isMet) state.SkipWithError("something was left");
  qzQBVH::DeleteSOAPlaneEquationSet(set);
  state.SetItemsProcessed(state.iterations() * tOneLeaf::kQuadruplets);
}

void conversionForRays(benchmark::State& state) {
  conversion(state, qzQBVH::eTrianglesEquations);
}
void conversionForHulls(benchmark::State& state) {
  conversion(state, qzQBVH::eTrianglesVertices);
}

BENCHMARK(boxes)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(sceneBox)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(codes)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(sort)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(splits)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(emission)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(emissionAndBoxes)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(linearBuild)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(conversionForRays)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(conversionForHulls)->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
BENCHMARK(slabTest);
BENCHMARK(leafTest);
BENCHMARK(clipping);

/// Keeps the builders' records out of the output.
class tSilence : public qz::qzLog {
 public:
  bool isLogTypeEnabled(qz::qzLogType) const override { return false; }
  void write(qz::qzLogType, const std::string&, const std::string&) override {}
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  tSilence silence;
  qz::qzLog::msInstance = &silence;
  benchmark::RunSpecifiedBenchmarks();
  qz::qzLog::msInstance = nullptr;
  return 0;
}
