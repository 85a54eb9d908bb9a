// The stages of a linear build over a terrain, each on the result of the stage before, and the conversion to a
// four-wide hierarchy. Items are triangles.

#include <benchmark/benchmark.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/build/qzLinearBuild.h>

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzScene.h>

namespace {

using qzBench::qzScene;

constexpr unsigned kBits = 20;

void setTriangles(benchmark::State& state, unsigned nbTriangles) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nbTriangles));
}

/// Inputs and results of the stages.
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

/// Writes the nodes with boxes of the type Box; boxOf gives the box of the k-th primitive in sorted order.
template <class Box, class BoxOf>
void writeNodes(benchmark::State& state, const tStages& s, const BoxOf& boxOf) {
  std::vector<qzGNode> nodes;
  for (auto _ : state) {
    state.PauseTiming();
    const auto splits = s.makeSplits();  // the tree drops the splits within its leaves
    state.ResumeTiming();
    qzDetail::tFusedTree(*splits, 4).write<Box>(nodes, qzDetail::tLink3(), boxOf);
  }
  setTriangles(state, s.nbPrimitives());
}

/// Nodes without boxes.
void emission(benchmark::State& state) {
  writeNodes<qzDetail::tNoBox>(state, stages(state), [](std::uint32_t) { return qzDetail::tNoBox(); });
}

/// Nodes with boxes, which are united bottom-up in the same pass.
void emissionAndBoxes(benchmark::State& state) {
  const tStages& s = stages(state);
  writeNodes<qzDetail::tBoxLanes>(state, s, [&](std::uint32_t k) { return s.boxOf(s.mIndices[k]); });
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

void conversionForRays(benchmark::State& state) {
  conversion(state, qzQBVH::eTrianglesEquations);
}
void conversionForHulls(benchmark::State& state) {
  conversion(state, qzQBVH::eTrianglesVertices);
}

/// The sizes of stages(), in triangles.
void atBothSizes(benchmark::internal::Benchmark* part) {
  part->Arg(10000)->Arg(1000000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(boxes)->Apply(atBothSizes);
BENCHMARK(sceneBox)->Apply(atBothSizes);
BENCHMARK(codes)->Apply(atBothSizes);
BENCHMARK(sort)->Apply(atBothSizes);
BENCHMARK(splits)->Apply(atBothSizes);
BENCHMARK(emission)->Apply(atBothSizes);
BENCHMARK(emissionAndBoxes)->Apply(atBothSizes);
BENCHMARK(linearBuild)->Apply(atBothSizes);
BENCHMARK(conversionForRays)->Apply(atBothSizes);
BENCHMARK(conversionForHulls)->Apply(atBothSizes);

}  // namespace
