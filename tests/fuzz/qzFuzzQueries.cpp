#include "fuzz/qzFuzzQueries.h"

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>

#include <cmath>
#include <sstream>
#include <utility>

#include "fuzz/qzFuzzCheck.h"
#include "plain/qzPlainLinearBuilder.h"
#include "support/qzObservers.h"

namespace qzFuzz {

using qzTest::Answer;
using qzTest::castSymmetric;
using qzTest::Ray;

namespace {

qzGenericBVH plainLinearBVH(const qz::qzTriMesh& mesh, unsigned int maxLeafSize) {
  qzPlain::LinearBuilder builder;
  qzPlain::Tree tree;
  builder.setMaxPrimitivesPerLeaf(maxLeafSize);
  builder.build(qzBVHTriangleContainer(mesh), tree, nullptr, 20);
  qzGenericBVH bvh;
  bvh.editNodes() = std::move(tree.nodes);
  bvh.editPrimitives() = std::move(tree.primitives);
  return bvh;
}

/// To a corner, an edge or any point of a triangle, or one a little beside it.
Point towardsTriangle(Input& input, const qz::qzTriMesh& mesh, const Point& origin) {
  const unsigned int triangle = input.byte() % qzTest::nbTrianglesOf(mesh);
  const float u = static_cast<float>(input.byte() % 18) * 0.0625f, v = static_cast<float>(input.byte() % 18) * 0.0625f;
  Point direction = qzTest::pointOn(mesh, triangle, u, v);
  for (int axis = 0; axis < 3; ++axis) direction[axis] -= origin[axis];
  return direction;
}

void expectSame(const char* query, const Ray& ray, const Answer& library, const Answer& plain) {
  if (sameAnswer(library, plain)) return;
  std::ostringstream text;
  text << query << ' ' << ray << ": " << library << ", plain form " << plain;
  fail(text.str());
}

}  // namespace

BothQBVH::BothQBVH(unsigned int flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh)
    : mPlain(qzPlain::convert(flags, bvh, mesh)) {
  mLibrary.buildFromBVH(qzQBVH::tQBVHDataFlags(flags), bvh, mesh);
  expectNone(difference(mLibrary, mPlain, qzTest::eAnyNaN));
}

BothQBVH::BothQBVH(unsigned int flags, const qz::qzTriMesh& mesh, unsigned int maxLeafSize) {
  const qzTest::LogCapture quiet(false);
  mPlain = qzPlain::convert(flags, plainLinearBVH(mesh, maxLeafSize), mesh);
  mLibrary.buildFromMesh(qzQBVH::tQBVHDataFlags(flags), mesh, maxLeafSize);
  expectNone(difference(mLibrary, mPlain, qzTest::eAnyNaN));
}

void BothQBVH::cast(const Ray& ray) const {
  const qzTest::LogCapture quiet(false);
  const Answer plain = qzTest::cast(mPlain, ray), plainSymmetric = castSymmetric(mPlain, ray);
  expectSame("ray", ray, qzTest::cast(mLibrary, ray), plain);
  expectSame("symmetric ray", ray, castSymmetric(mLibrary, ray), plainSymmetric);
  if ((mPlain.mFlags & qzPlain::tQBVH::kEquationsFlag) == 0) return;
  for (const qzTest::RayVariant& variant : qzTest::rayVariants()) {
    expectSame(variant.name, ray, qzTest::cast(variant, mLibrary, ray), plain);
    expectSame(variant.nameOfSymmetric, ray, castSymmetric(variant, mLibrary, ray), plainSymmetric);
  }
}

void BothQBVH::askHull(const std::vector<Plane>& planes) const {
  const qzTest::LogCapture quiet(false);
  const auto count = static_cast<unsigned int>(planes.size());
  qzQBVH::tSOASinglePlaneEqn* const set = qzQBVH::CreateSOAPlaneEquationSet(planes.data(), count);
  const bool answer = mLibrary.intersectConvexHull(set, count);
  qzQBVH::DeleteSOAPlaneEquationSet(set);
  if (answer == qzPlain::intersectConvexHull(mPlain, planes)) return;
  fail("the hull of " + std::to_string(count) + " planes meets the hierarchy in one form only: the " +
       (answer ? "library's" : "plain one"));
}

void BothQBVH::askAll(Input& input, const qz::qzTriMesh& mesh) const {
  for (int i = 0; i < 2 || (i < 64 && !input.isUsedUp()); ++i) {
    const std::uint8_t kind = input.byte();
    if (kind >= 192) {
      askHull(input.planes(40));
      continue;
    }
    // Policies 3 and 0xFFFFFFFF are none of the named ones. A ray has no far end unless the input gives one.
    static const unsigned int kPolicies[] = {0, 1, 2, 3, 0xFFFFFFFFu};
    Ray ray;
    ray.policy = kPolicies[kind % 5];
    ray.origin = input.point();
    ray.direction = (kind >> 3) % 2 == 0 ? input.point() : towardsTriangle(input, mesh, ray.origin);
    if (kind % 2 != 0) ray.tMin = input.number();
    if (kind % 4 >= 2) ray.t = input.number();
    cast(ray);
    // The same with its hit at the ends of the interval, exactly and a step off.
    const Answer hit = qzTest::cast(mPlain, ray);
    if (!hit.hit || kind < 128) continue;
    for (float end : {hit.t, std::nextafter(hit.t, -qzTest::kInf), std::nextafter(hit.t, qzTest::kInf)}) {
      Ray again = ray;
      again.t = end;
      cast(again);
      again.t = ray.t;
      again.tMin = end;
      cast(again);
    }
  }
}

}  // namespace qzFuzz
