// Compiles the walks for what is near once for each instruction set. Walks.cpp chooses.

#include <qzMeshQueries/walk/NearWalks.h>
#include <qzMeshQueries/walk/Targets.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qzMeshQueries/walk/NearWalks.cpp"
#include <hwy/foreach_target.h>
// What every instruction set compiles.
#include <hwy/highway.h>
#include <qzMeshQueries/walk/NearWalk-inl.h>
#include <qzMeshQueries/walk/RegionWalk-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {

extern const NearWalks kNearWalks;
constexpr NearWalks kNearWalks = {findNearest, findNearests, findInBox, findInSphere, findInRegion};

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
