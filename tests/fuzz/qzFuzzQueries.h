#pragma once
// A four-wide hierarchy in both forms, asked the same.

#include "fuzz/qzFuzzInput.h"
#include "plain/qzPlainHull.h"
#include "support/scenes/qzRayScenes.h"

namespace qzFuzz {

/// The library's hierarchy beside its plain form. Findings: any word that differs.
class BothQBVH {
 public:
  /// Both convert bvh.
  BothQBVH(unsigned int flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh);
  /// The library builds from the mesh, the plain form converts what the plain builder makes of it.
  BothQBVH(unsigned int flags, const qz::qzTriMesh& mesh, unsigned int maxLeafSize);
  BothQBVH(const BothQBVH&) = delete;
  BothQBVH& operator=(const BothQBVH&) = delete;

  /// Casts a ray by both queries, through the library's interface and each of its traversals. Findings: any bit that
  /// differs.
  void cast(const qzTest::Ray& ray) const;
  void askHull(const std::vector<Plane>& planes) const;
  /// Rays, every other one aimed at a triangle of mesh, and plane sets until the input is used up, a few at least.
  void askAll(Input& input, const qz::qzTriMesh& mesh) const;

 private:
  qzTest::OpenQBVH mLibrary;
  qzPlain::tQBVH mPlain;
};

}  // namespace qzFuzz
