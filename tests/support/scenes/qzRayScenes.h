#pragma once
// Hierarchies and rays for the ray queries, and the queries in the library's and in the plain form.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qzDetail/query/ray/qzRayQuery.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "plain/qzPlainQBVH.h"
#include "support/access/qzOpenQBVH.h"
#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"

namespace qzTest {

/// The first difference; empty when every word, the box, the flags and the sizes are the same. eAnyNaN accepts any NaN
/// of the equations for another: which NaN a NaN vertex leads to is the compiler's choice.
enum NaNWords { eSameNaN, eAnyNaN };
std::string difference(const OpenQBVH& library, const qzPlain::tQBVH& plain, NaNWords nans = eSameNaN);

// Builds without log records.
qzGenericBVH linearBVH(const qz::qzTriMesh& mesh, unsigned int maxLeafSize);
void buildFromMesh(OpenQBVH& hierarchy, qzQBVH::tQBVHDataFlags flags, const qz::qzTriMesh& mesh,
                   unsigned int maxLeafSize);

// Nodes of a binary hierarchy by hand. The node array grows to the highest number used.
void setLeaf(qzGenericBVH& bvh, unsigned int node, const qzBBox& box, unsigned int start, unsigned int count);
void setInner(qzGenericBVH& bvh, unsigned int node, const qzBBox& box, unsigned int left, unsigned int right);

/// The boxes of a random hierarchy.
///   eTightBoxes    the smallest around what is below
///   eNestedBoxes   children within their parents; some too large, up to infinite, some of leaves too small
///   eCroppedBoxes  tight, but a side of some is cut off, so that children reach beyond their parents
///   eOddBoxes      some inverted, NaN, infinite or anywhere
enum BoxKind { eTightBoxes, eNestedBoxes, eCroppedBoxes, eOddBoxes };

/// A binary hierarchy of random shape over the triangles of mesh. Leaves have any size up to maxLeafSize or 1 and any
/// depth; some are empty. Nodes are numbered at random, with unreachable nodes between them. Some triangles occur
/// twice.
qzGenericBVH randomBVH(const qz::qzTriMesh& mesh, unsigned int maxLeafSize, BoxKind boxes, Random& random);

/// The point (1 - u - v) V0 + u V1 + v V2.
Point pointOn(const qz::qzTriMesh& mesh, unsigned int triangle, float u, float v);

struct Ray {
  Point origin, direction;
  float tMin = 0.0f, t = kInf;
  unsigned int policy = 0;
};
std::ostream& operator<<(std::ostream& stream, const Ray& ray);

/// What a query returned and left in its outputs, which held marks before the call.
struct Answer {
  bool hit;
  float t;
  Wm4::Vector2<float> barycentric = kUntouchedWeights;
  unsigned int triangle = kUntouchedTriangle;

  static const Wm4::Vector2<float> kUntouchedWeights;
  static constexpr unsigned int kUntouchedTriangle = 0xABCDEF01u;
};
constexpr unsigned int kNoTriangle = 0xFFFFFFFFu;
bool sameAnswer(const Answer& a, const Answer& b);
std::ostream& operator<<(std::ostream& stream, const Answer& answer);

Answer cast(const qzQBVH& hierarchy, const Ray& ray);
Answer cast(const qzPlain::tQBVH& hierarchy, const Ray& ray);
Answer castSymmetric(const qzQBVH& hierarchy, const Ray& ray);
Answer castSymmetric(const qzPlain::tQBVH& hierarchy, const Ray& ray);

/// One of the traversals that the library has for different processors.
struct RayVariant {
  const char *name, *nameOfSymmetric;
  void (*traverse)(const qzDetail::tRayHierarchy&, const qzDetail::tRayQuery&, qzDetail::tRayHit&);
};
/// The traversals that this processor can run.
const std::vector<RayVariant>& rayVariants();
Answer cast(const RayVariant& variant, const OpenQBVH& hierarchy, const Ray& ray);
Answer castSymmetric(const RayVariant& variant, const OpenQBVH& hierarchy, const Ray& ray);

/// A ray that is likely to hit: from outside into the scene, from inside, at a corner, along an axis.
Ray ordinaryRay(const qz::qzTriMesh& mesh, Random& random);
/// A degenerate ray: any float anywhere, both zeros, denormals, directions of zero, origins on planes of boxes.
Ray awkwardRay(const qz::qzTriMesh& mesh, Random& random);

}  // namespace qzTest
