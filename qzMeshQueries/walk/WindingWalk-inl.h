// How often rays upwards cross the mesh. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_WINDING_WALK) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_WINDING_WALK
#undef QZ_MESHQUERIES_WINDING_WALK
#else
#define QZ_MESHQUERIES_WINDING_WALK
#endif

#include <hwy/highway.h>
#include <qzMeshQueries/kernel/EdgeAngle.h>
#include <qzMeshQueries/walk/RayWalk-inl.h>

#include <algorithm>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Bit j: box j of the node may hold a triangle that a ray upwards from the point hits. The image of a vertex has the sign
/// of its exact distance from the point in x and y, and so has its depth. So no margin is needed: the displaced origin lies
/// in an image only if that has a coordinate above 0 and another that is not, in x and in y; and a crossing is not behind
/// the point only if a corner is not.
HWY_INLINE std::uint32_t boxesAbove(const float (&point)[3], const WideNode& node) {
  const hn::CappedTag<float, kNodeWidth> d;
  const int kLanes = int(hn::Lanes(d));
  const auto x = hn::Set(d, point[0]), y = hn::Set(d, point[1]), z = hn::Set(d, point[2]);
  std::uint32_t result = 0;
  for (int first = 0; first < kNodeWidth; first += kLanes) {
    const auto row = [&](int i) HWY_ATTR { return hn::Load(d, node.bounds[i] + first); };
    const auto isInX = hn::And(hn::Le(row(0), x), hn::Gt(row(1), x));
    const auto isInY = hn::And(hn::Le(row(2), y), hn::Gt(row(3), y));
    result |= bitsOf(d, hn::And(hn::And(isInX, isInY), hn::Ge(row(5), z))) << first;
  }
  return result;
}

/// Counts the triangles of a block that rays upwards hit, from points above each other: seen is the block from one of
/// them, images are those from all.
HWY_INLINE void countHits(const RayFrame& frame, const Block& block, const SeenBlock& seen, const float (*points)[3],
                          std::size_t count, Crossings* crossings) {
  for (std::uint32_t rest = seen.candidates; rest != 0; rest &= rest - 1) {
    const int i = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(rest));
    const int corners[3] = {block.corners(0)[i], block.corners(1)[i], block.corners(2)[i]};
    SeenVertex p = seen.vertex(corners[0]), q = seen.vertex(corners[1]), r = seen.vertex(corners[2]);
    if ((seen.crossed >> i & 1) == 0 && !holdsOrigin(p, q, r)) continue;
    const bool isFront = side(q, r) < 0;
    const float* const row = block.row(2);
    const float z[3] = {row[corners[0]], row[corners[1]], row[corners[2]]};
    const float least = std::min(z[0], std::min(z[1], z[2])), greatest = std::max(z[0], std::max(z[1], z[2]));
    for (std::size_t k = 0; k < count; ++k) {
      const float from = points[k][2];
      if (greatest < from) continue;
      // Only a triangle that is neither ahead nor behind needs its depth.
      if (least <= from) {
        p.depth = z[0] - from;
        q.depth = z[1] - from;
        r.depth = z[2] - from;
        if (!counts(frame, Faces::both, locate(frame, p, q, r))) continue;
      }
      ++(isFront ? crossings[k].front : crossings[k].back);
    }
  }
}

/// A walk before its next visit: the children that are left, the next one last.
struct WindingVisits {
  int size = 0;
  std::uint32_t stack[kStackSize + kNodeWidth];

  HWY_INLINE void push(const WideTree& tree, const WideNode& node, std::uint32_t met) {
    for (; met != 0; met &= met - 1) {
      const std::uint32_t child = node.child[hwy::Num0BitsBelowLS1Bit_Nonzero32(met)];
      prefetchChild(tree, child);
      stack[size++] = child;
    }
  }
};

inline Crossings crossingsAbove(const WideTree& tree, const float point[3]) {
  const float points[1][3] = {{point[0], point[1], point[2]}};
  RayFrame frame;
  Crossings crossings;
  if (tree.nodes.size() == 0 || !makeWindingFrame(point, frame)) return crossings;
  WindingVisits visits;
  visits.stack[visits.size++] = 0;
  while (visits.size > 0) {
    const std::uint32_t child = visits.stack[--visits.size];
    if ((child & kIsBlock) == 0) {
      const WideNode& node = tree.nodes[child];
      visits.push(tree, node, boxesAbove(frame.origin, node));
    } else {
      const Block block = tree.block(child);
      SeenBlock seen;
      seeBlock(frame, block, seen);
      countHits(frame, block, seen, points, 1, &crossings);
    }
  }
  return crossings;
}

/// The same for many points, some of them in turns: each goes one node or block further, while memory loads the others'.
/// Points above each other, as in the columns of a grid, go together.
inline void crossingsAboveMany(const WideTree& tree, const float (*points)[3], std::size_t count, Crossings* out) {
  std::fill(out, out + count, Crossings());
  if (tree.nodes.size() == 0) return;
  struct Flying {
    RayFrame frame;  // of the lowest point
    const float (*points)[3];
    Crossings* crossings;
    std::size_t count;
    WindingVisits visits;
  };
  constexpr int kPoints = 16;
  constexpr std::size_t kMostTogether = 64;
  Flying flying[kPoints];
  // Those before a node, those before a block; of this turn, of the next.
  Flying *beforeNode[2][kPoints], *beforeBlock[2][kPoints];
  int nbNodes = 0, nbBlocks = 0;
  std::size_t next = 0;
  const auto start = [&](Flying& point) HWY_ATTR {
    for (; next < count; ++next) {
      if (!makeWindingFrame(points[next], point.frame)) continue;
      point.points = points + next;
      point.crossings = out + next;
      point.count = 1;
      while (point.count < kMostTogether && next + point.count < count) {
        const float* const other = points[next + point.count];
        RayFrame above;
        if (std::memcmp(other, points[next], 2 * sizeof(float)) != 0 || !makeWindingFrame(other, above)) break;
        point.frame.origin[2] = std::min(point.frame.origin[2], other[2]);
        ++point.count;
      }
      next += point.count;
      point.visits.stack[0] = 0;
      point.visits.size = 1;
      return true;
    }
    return false;
  };
  for (Flying& point : flying)
    if (start(point)) beforeNode[0][nbNodes++] = &point;
  for (int turn = 0; nbNodes + nbBlocks > 0; turn ^= 1) {
    int nbNextNodes = 0, nbNextBlocks = 0;
    const auto goOn = [&](Flying* point) HWY_ATTR {
      if (HWY_UNLIKELY(point->visits.size == 0) && !start(*point)) return;
      const std::uint32_t isBlock = point->visits.stack[point->visits.size - 1] >> 31;
      beforeNode[turn ^ 1][nbNextNodes] = point;
      beforeBlock[turn ^ 1][nbNextBlocks] = point;
      nbNextNodes += int(1 - isBlock);
      nbNextBlocks += int(isBlock);
    };
    for (int i = 0; i < nbNodes; ++i) {
      Flying* const point = beforeNode[turn][i];
      const WideNode& node = tree.nodes[point->visits.stack[--point->visits.size]];
      point->visits.push(tree, node, boxesAbove(point->frame.origin, node));
      goOn(point);
    }
    for (int i = 0; i < nbBlocks; ++i) {
      Flying* const point = beforeBlock[turn][i];
      const Block block = tree.block(point->visits.stack[--point->visits.size]);
      SeenBlock seen;
      seeBlock(point->frame, block, seen);
      countHits(point->frame, block, seen, point->points, point->count, point->crossings);
      goOn(point);
    }
    nbNodes = nbNextNodes;
    nbBlocks = nbNextBlocks;
  }
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
