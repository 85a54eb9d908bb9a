// Many rays in flight: at its turn, each visits one node or block. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_TURNS) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_TURNS
#undef QZ_MESHQUERIES_TURNS
#else
#define QZ_MESHQUERIES_TURNS
#endif

#include <qzMeshQueries/walk/ChildOrder-inl.h>
#include <qzMeshQueries/walk/RayWalk-inl.h>
#include <memory>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {

/// The bottom of every stack: a child that ends the walk.
inline constexpr std::uint32_t kNoMore = kIsBlock - 1;

/// Rays in flight at once: enough to hide the latency of memory.
inline constexpr int kInFlight = 24;

inline Hit answerOf(const ClosestQuery& query) {
  return query.best;
}
inline std::uint8_t answerOf(const AnyQuery& query) {
  return query.isHit ? 1 : 0;
}
inline Crossings answerOf(const CrossingsQuery& query) {
  return query.count;
}

template <class Query>
struct alignas(64) FlyingRay {
  RaySlabs slabs;
  RayFrame frame;
  Query query;
  std::size_t number;     ///< of the ray in the batch
  std::uint32_t current;  ///< the child to visit at the next turn
  int size;               ///< of the stack
  ChildStack stack;
};

/// Answers rays[numbers[i]] for i in 0..count. flying is room for kInFlight rays.
template <class Query, class Answer>
HWY_INLINE void takeTurns(const WideTree& tree, const Ray* rays, const std::uint32_t* numbers, std::size_t count,
                          const WalkOptions& options, FlyingRay<Query>* flying, Answer* answers) {
  using Flying = FlyingRay<Query>;
  // Rays whose next child is a node, and those whose next child is a block; for this turn and for the next.
  Flying *beforeNode[2][kInFlight], *beforeBlock[2][kInFlight];
  int nbNodes = 0, nbBlocks = 0;
  std::size_t next = 0;

  // Starts the next ray in a place, and passes over those that hit nothing.
  const auto start = [&](Flying& ray) HWY_ATTR {
    for (; next < count; ++next) {
      const std::size_t number = numbers[next];
      if (!setUpRay(tree, rays[number], ray.frame, ray.slabs)) {
        answers[number] = answerOf(Query());
        continue;
      }
      ray.query = Query();
      ray.number = number;
      ray.current = 0;
      ray.size = 1;
      ray.stack.near[0] = -std::numeric_limits<float>::infinity();
      ray.stack.child[0] = kNoMore;
      ++next;
      return true;
    }
    return false;
  };
  for (int i = 0; i < kInFlight; ++i)
    if (start(flying[i])) beforeNode[0][nbNodes++] = &flying[i];

  const WideNode* const nodes = tree.nodes.data();
  const std::uint8_t* const blocks = tree.blocks.data();
  for (int turn = 0; nbNodes + nbBlocks > 0; turn ^= 1) {
    Flying **const nextNodes = beforeNode[turn ^ 1], **const nextBlocks = beforeBlock[turn ^ 1];
    int nbNextNodes = 0, nbNextBlocks = 0;
    const auto goOn = [&](Flying* ray, int size) HWY_ATTR {
      do --size;
      while (ray->stack.near[size] > ray->slabs.to);
      std::uint32_t child = ray->stack.child[size];
      if (HWY_UNLIKELY(child == kNoMore)) {
        answers[ray->number] = answerOf(ray->query);
        if (!start(*ray)) return;
        child = 0;
      } else {
        ray->size = size;
      }
      ray->current = child;
      prefetchWhole(nodes, blocks, child);
      nextNodes[nbNextNodes] = ray;
      nextBlocks[nbNextBlocks] = ray;
      nbNextBlocks += int(child >> 31);
      nbNextNodes += 1 - int(child >> 31);
    };

    for (int i = 0; i < nbNodes; ++i) {
      Flying* const ray = beforeNode[turn][i];
      const int size = ray->size;
      goOn(ray, size + storeChildren<Query::kOrder>(ray->slabs, nodes[ray->current], ray->stack.near + size,
                                                    ray->stack.child + size));
    }

    Flying* hopefuls[kInFlight];  // rays whose block has candidates
    SeenBlock seen[kInFlight];
    int nbHopefuls = 0;
    for (int i = 0; i < nbBlocks; ++i) {
      Flying* const ray = beforeBlock[turn][i];
      seeBlock(ray->frame, tree.block(ray->current), seen[nbHopefuls]);
      hopefuls[nbHopefuls] = ray;
      nbHopefuls += seen[nbHopefuls].candidates != 0 ? 1 : 0;
    }
    for (int i = 0; i < nbHopefuls; ++i) {
      Flying& ray = *hopefuls[i];
      const auto take = [&](const Hit& hit, bool isFront)
                            HWY_ATTR { return ray.query.take(hit, isFront, ray.frame, ray.slabs); };
      if (hitCandidates(ray.frame, tree.block(ray.current), seen[i], options, take)) ray.size = 1;
    }
    for (int i = 0; i < nbBlocks; ++i) goOn(beforeBlock[turn][i], beforeBlock[turn][i]->size);

    nbNodes = nbNextNodes;
    nbBlocks = nbNextBlocks;
  }
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
