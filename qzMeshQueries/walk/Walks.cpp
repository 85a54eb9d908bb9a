// Compiles the walks once for each instruction set, and chooses among them.

#include <qzMeshQueries/walk/NearWalks.h>
#include <qzMeshQueries/walk/Targets.h>
#include <qzMeshQueries/walk/Walks.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qzMeshQueries/walk/Walks.cpp"
#include <hwy/foreach_target.h>
// What every instruction set compiles.
#include <hwy/highway.h>
#include <qzMeshQueries/walk/RayBatch-inl.h>
#include <qzMeshQueries/walk/RayWalk-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {

extern const NearWalks kNearWalks;        // of NearWalks.cpp
extern const WindingWalks kWindingWalks;  // of WindingWalks.cpp
extern const Walks kWalks;
constexpr Walks kWalks = {HWY_TARGET == HWY_SCALAR ? "plain"
                          : HWY_TARGET == HWY_SSE4 ? "SSE4"
                          : HWY_TARGET == HWY_AVX2 ? "AVX2"
                          : HWY_TARGET == HWY_AVX3 ? "AVX-512"
                          : HWY_TARGET == HWY_NEON ? "NEON"
                                                   : "emulated",
                          closestHit,
                          anyHit,
                          allHits,
                          crossings,
                          castRays<ClosestQuery, Hit>,
                          castRays<AnyQuery, std::uint8_t>,
                          castRays<CrossingsQuery, Crossings>,
                          &kNearWalks,
                          &kWindingWalks};

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace qzMeshQueries::detail {

namespace {

struct InstructionSet {
  std::int64_t target;
  const Walks* walks;
};

// The best one first.
constexpr InstructionSet kAll[] = {
#if HWY_TARGETS & HWY_AVX3
    {HWY_AVX3, &N_AVX3::kWalks},
#endif
#if HWY_TARGETS & HWY_AVX2
    {HWY_AVX2, &N_AVX2::kWalks},
#endif
#if HWY_TARGETS & HWY_SSE4
    {HWY_SSE4, &N_SSE4::kWalks},
#endif
#if HWY_TARGETS & HWY_NEON
    {HWY_NEON, &N_NEON::kWalks},
#endif
#if HWY_TARGETS & HWY_SCALAR
    {HWY_SCALAR, &N_SCALAR::kWalks},
#endif
#if HWY_TARGETS & HWY_EMU128
    {HWY_EMU128, &N_EMU128::kWalks},
#endif
};

bool canRun(const InstructionSet& set) {
  return (hwy::SupportedTargets() & set.target) != 0;
}

const Walks* bestWalks() {
  return std::find_if(std::begin(kAll), std::end(kAll) - 1, canRun)->walks;
}

std::atomic<const Walks*> sInUse{nullptr};  // null until the first question

}  // namespace

const Walks& walks() {
  const Walks* inUse = sInUse.load(std::memory_order_relaxed);
  if (inUse == nullptr) sInUse.store(inUse = bestWalks(), std::memory_order_relaxed);
  return *inUse;
}

std::vector<std::string> instructionSets() {
  std::vector<std::string> names;
  for (const InstructionSet& set : kAll)
    if (canRun(set)) names.emplace_back(set.walks->name);
  return names;
}

bool useInstructionSet(const std::string& name) {
  for (const InstructionSet& set : kAll)
    if (canRun(set) && name == set.walks->name) {
      sInUse.store(set.walks);
      return true;
    }
  return false;
}

}  // namespace qzMeshQueries::detail

#endif
