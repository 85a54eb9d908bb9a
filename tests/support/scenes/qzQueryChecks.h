#pragma once
// Answers of a MeshIndex beside those of the plain form. For programs that link the mesh queries.

#include <qzMeshQueries/MeshIndex.h>

#include <string>
#include <vector>

#include "plain/qzPlainRayQueries.h"
#include "support/qzBits.h"
#include "support/scenes/qzQueryRays.h"

namespace qzTest {

inline bool sameHits(const std::vector<qzMeshQueries::Hit>& a, const std::vector<qzMeshQueries::Hit>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (!sameBits(a[i], b[i])) return false;
  return true;
}

/// The answers of the plain form to all questions about one ray.
struct RayAnswers {
  qzMeshQueries::Hit closest;
  bool isHit = false;
  std::vector<qzMeshQueries::Hit> all;
  qzMeshQueries::Crossings crossings;
};

inline RayAnswers answersOf(const qzPlain::tRayQueries& plain, const qzMeshQueries::Ray& ray,
                            const qzMeshQueries::RayOptions& options = {}) {
  return {plain.closestHit(ray, options), plain.anyHit(ray, options), plain.allHits(ray, options),
          plain.crossings(ray, options)};
}

/// Which of the four questions about a ray the index answers in another way; empty if none.
inline std::string wrongAnswer(const qzMeshQueries::MeshIndex& index, const RayAnswers& expected,
                               const qzMeshQueries::Ray& ray, const qzMeshQueries::RayOptions& options = {}) {
  const auto tell = [&](const std::string& what) { return what + " of " + describe(ray) + ", " + describe(options); };
  const qzMeshQueries::Hit closest = index.closestHit(ray, options);
  if (!sameBits(closest, expected.closest))
    return tell("closestHit " + describe(closest) + " for " + describe(expected.closest));
  if (index.anyHit(ray, options) != expected.isHit) return tell("anyHit");
  std::vector<qzMeshQueries::Hit> all = {qzMeshQueries::Hit{}};  // is replaced
  index.allHits(ray, all, options);
  if (!sameHits(all, expected.all)) return tell("allHits");
  if (!sameBits(index.crossings(ray, options), expected.crossings)) return tell("crossings");
  return {};
}

/// Which of the four batches answers some ray in another way; empty if none.
inline std::string wrongBatch(const qzMeshQueries::MeshIndex& index, const std::vector<RayAnswers>& expected,
                              const std::vector<qzMeshQueries::Ray>& rays,
                              const qzMeshQueries::RayOptions& options = {}, int threads = 0) {
  const std::size_t count = rays.size();
  const auto tell = [&](const char* what, std::size_t i) {
    return what + std::string(" of number ") + std::to_string(i) + " of " + std::to_string(count) + ", " +
           describe(rays[i]) + ", " + describe(options);
  };
  // One answer more than there are rays, which must stay as it is.
  const qzMeshQueries::Hit mark = {-1.0f, -2.0f, -3.0f, 4};
  std::vector<qzMeshQueries::Hit> closest(count + 1, mark);
  index.closestHits(rays.data(), count, closest.data(), options, threads);
  for (std::size_t i = 0; i < count; ++i)
    if (!sameBits(closest[i], expected[i].closest)) return tell("closestHits", i);
  if (!sameBits(closest[count], mark)) return "closestHits wrote behind its answers";

  std::vector<std::uint8_t> isHit(count + 1, 77);
  index.anyHits(rays.data(), count, isHit.data(), options, threads);
  for (std::size_t i = 0; i < count; ++i)
    if (isHit[i] != (expected[i].isHit ? 1 : 0)) return tell("anyHits", i);
  if (isHit[count] != 77) return "anyHits wrote behind its answers";

  const qzMeshQueries::Lists<qzMeshQueries::Hit> all = index.allHits(rays.data(), count, options, threads);
  if (all.starts.size() != count + 1 || all.starts[0] != 0 || all.starts[count] != all.items.size())
    return "allHits: starts do not fit the items";
  for (std::size_t i = 0; i < count; ++i) {
    if (all.starts[i + 1] - all.starts[i] != expected[i].all.size()) return tell("allHits", i);
    for (std::size_t k = 0; k < expected[i].all.size(); ++k)
      if (!sameBits(all.items[all.starts[i] + k], expected[i].all[k])) return tell("allHits", i);
  }

  std::vector<qzMeshQueries::Crossings> crossings(count + 1, qzMeshQueries::Crossings{5, 6});
  index.crossings(rays.data(), count, crossings.data(), options, threads);
  for (std::size_t i = 0; i < count; ++i)
    if (!sameBits(crossings[i], expected[i].crossings)) return tell("crossings", i);
  if (crossings[count].front != 5 || crossings[count].back != 6) return "crossings wrote behind their answers";
  return {};
}

}  // namespace qzTest
