// Many rays through the tree. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_RAY_BATCH) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_RAY_BATCH
#undef QZ_MESHQUERIES_RAY_BATCH
#else
#define QZ_MESHQUERIES_RAY_BATCH
#endif

#include <qzMeshQueries/walk/RayWalk-inl.h>
#include <qzMeshQueries/walk/Turns-inl.h>
#include <numeric>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {

template <class Query, class Answer>
void castRays(const WideTree& tree, const Ray* rays, std::size_t count, const WalkOptions& options, Answer* answers) {
  constexpr std::size_t kFewest = 4;  // what is worth more than one ray after the other
  if (tree.nodes.size() == 0 || count < kFewest) {
    for (std::size_t i = 0; i < count; ++i) {
      Query query;
      walkRay(tree, rays[i], options, query);
      answers[i] = answerOf(query);
    }
    return;
  }
  std::vector<std::uint32_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0u);
  takeTurns<Query>(tree, rays, numbers.data(), count, options, answers);
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
