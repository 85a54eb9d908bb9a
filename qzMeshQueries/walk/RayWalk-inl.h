// One ray through the tree. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_RAY_WALK) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_RAY_WALK
#undef QZ_MESHQUERIES_RAY_WALK
#else
#define QZ_MESHQUERIES_RAY_WALK
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>
#include <qzMeshQueries/walk/BlockFilter-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// A subtree to visit: the depth at which the ray enters its box, then the child of a node.
struct StackEntry {
  float near;
  std::uint32_t child;
};

/// Which of a node's children is visited first: the nearest, or, where any hit will do, a block. Blocks high up in the
/// tree hold large triangles, which are likely to be hit.
enum class Order { nearest, blocks };

/// Entries that a stack has room for: at most fifteen children wait on each level.
inline constexpr int kStackSize = (kMaxTreeLevels + 1) * (kNodeWidth - 1) + 1;

/// Bit j: the ray meets box j of the node; its entry depth is left in near[j].
HWY_INLINE std::uint32_t meetBoxes(const RaySlabs& slabs, const WideNode& node, float* HWY_RESTRICT near) {
  const hn::CappedTag<float, kNodeWidth> d;
  const int kLanes = int(hn::Lanes(d));
  std::uint32_t result = 0;
  for (int first = 0; first < kNodeWidth; first += kLanes) {
    const auto planes = [&](int axis, int isFar) HWY_ATTR {
      return hn::MulAdd(hn::Load(d, node.bounds[slabs.nearRow[axis] ^ isFar] + first), hn::Set(d, slabs.inverse[axis]),
                        hn::Set(d, isFar ? slabs.farShift[axis] : slabs.nearShift[axis]));
    };
    const auto enter = hn::Max(hn::Max(planes(0, 0), planes(1, 0)), hn::Max(planes(2, 0), hn::Set(d, slabs.from)));
    const auto leave = hn::Min(hn::Min(planes(0, 1), planes(1, 1)), hn::Min(planes(2, 1), hn::Set(d, slabs.to)));
    hn::Store(enter, d, near + first);
    result |= bitsOf(d, hn::Le(enter, leave)) << first;
  }
  return result;
}

HWY_INLINE void prefetchChild(const WideTree& tree, std::uint32_t child) {
  const bool isBlock = (child & kIsBlock) != 0;
  const char* const place = isBlock ? reinterpret_cast<const char*>(tree.block(child).head)
                                    : reinterpret_cast<const char*>(&tree.nodes[child]);
  for (int line = 0; line < (isBlock ? 3 : 7); ++line) hwy::Prefetch(place + 64 * line);
}

/// Shows every hit to the query: query.take(hit, isFront, slabs) returns true to end the walk, and may lower slabs.to
/// and frame.tMax. Hits come in no particular order; query.kOrder says which children come first.
template <class Query>
HWY_INLINE void walkRay(const WideTree& tree, const Ray& ray, const WalkOptions& options, Query& query) {
  RayFrame frame;
  RaySlabs slabs;
  if (tree.nodes.size() == 0 || !setUpRay(tree, ray, frame, slabs)) return;

  const auto entryOf = [](const WideNode& node, const float* near, int lane) {
    const std::uint32_t child = node.child[lane];
    const bool isFirst = Query::kOrder == Order::blocks && (child & kIsBlock) != 0;
    return StackEntry{isFirst ? -std::numeric_limits<float>::infinity() : near[lane], child};
  };
  StackEntry stack[kStackSize];
  int size = 0;
  std::uint32_t current = 0;
  for (;;) {
    if ((current & kIsBlock) == 0) {
      const WideNode& node = tree.nodes[current];
      alignas(64) float near[kNodeWidth];
      std::uint32_t met = meetBoxes(slabs, node, near);
      for (std::uint32_t rest = met; rest != 0; rest &= rest - 1)
        prefetchChild(tree, node.child[hwy::Num0BitsBelowLS1Bit_Nonzero32(rest)]);
      if (met != 0) {
        int nearest = hwy::Num0BitsBelowLS1Bit_Nonzero32(met);
        met &= met - 1;
        if (met != 0) {
          // The nearest is visited next; the others go on the stack, far to near.
          const int bottom = size;
          StackEntry next = entryOf(node, near, nearest);
          do {
            const int lane = hwy::Num0BitsBelowLS1Bit_Nonzero32(met);
            met &= met - 1;
            StackEntry entry = entryOf(node, near, lane);
            if (entry.near < next.near) std::swap(entry, next);
            int at = size++;
            for (; at > bottom && stack[at - 1].near < entry.near; --at) stack[at] = stack[at - 1];
            stack[at] = entry;
          } while (met != 0);
          current = next.child;
        } else {
          current = node.child[nearest];
        }
        continue;
      }
    } else {
      const Block block = tree.block(current);
      const auto take = [&](const Hit& hit, bool isFront) HWY_ATTR { return query.take(hit, isFront, frame, slabs); };
      SeenBlock seen;
      seeBlock(frame, block, seen);
      if (hitCandidates(frame, block, seen, options, take)) return;
    }
    do {
      if (size == 0) return;
      --size;
    } while (stack[size].near > slabs.to);
    current = stack[size].child;
  }
}

struct ClosestQuery {
  static constexpr Order kOrder = Order::nearest;
  Hit best;
  bool take(const Hit& hit, bool, RayFrame& frame, RaySlabs& slabs) {
    if (!best || comesBefore(hit, best)) {
      best = hit;
      frame.tMax = hit.t;
      slabs.to = std::min(slabs.to, depthNotBefore(std::fabs(frame.lengthAlong), hit.t));
    }
    return false;
  }
};

struct AnyQuery {
  static constexpr Order kOrder = Order::blocks;
  bool isHit = false;
  bool take(const Hit&, bool, RayFrame&, RaySlabs&) { return isHit = true; }
};

struct AllQuery {
  static constexpr Order kOrder = Order::nearest;
  std::vector<Hit>& hits;
  bool take(const Hit& hit, bool, RayFrame&, RaySlabs&) {
    hits.push_back(hit);
    return false;
  }
};

struct CrossingsQuery {
  static constexpr Order kOrder = Order::nearest;
  Crossings count;
  bool take(const Hit&, bool isFront, RayFrame&, RaySlabs&) {
    ++(isFront ? count.front : count.back);
    return false;
  }
};

inline Hit closestHit(const WideTree& tree, const Ray& ray, const WalkOptions& options) {
  ClosestQuery query;
  walkRay(tree, ray, options, query);
  return query.best;
}

inline bool anyHit(const WideTree& tree, const Ray& ray, const WalkOptions& options) {
  AnyQuery query;
  walkRay(tree, ray, options, query);
  return query.isHit;
}

inline void allHits(const WideTree& tree, const Ray& ray, const WalkOptions& options, std::vector<Hit>& hits) {
  const std::size_t first = hits.size();
  AllQuery query{hits};
  walkRay(tree, ray, options, query);
  std::sort(hits.begin() + std::ptrdiff_t(first), hits.end(), comesBefore);
}

inline Crossings crossings(const WideTree& tree, const Ray& ray, const WalkOptions& options) {
  CrossingsQuery query;
  walkRay(tree, ray, options, query);
  return query.count;
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
