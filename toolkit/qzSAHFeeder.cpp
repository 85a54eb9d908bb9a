#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/qzError.h>
#include <toolkit/qzSAHFeeder.h>

#include <numeric>

namespace qzToolkit {

namespace {

constexpr unsigned int kMaxTriangles = 1u << 27;

}  // namespace

void qzSAHFeeder::setMesh(const qz::qzTriMesh& mesh) {
  const qzBVHTriangleContainer triangles(mesh);
  if (triangles.getQuantity() > kMaxTriangles) throw qzError("there are more than 2^27 triangles");
  resizeItems(static_cast<int>(triangles.getQuantity()));
  mSceneBBox = qzBBox();
  for (unsigned int i = 0; i < mNbItems; ++i) {
    mItemBBoxes[i] = *triangles.getBBox(i);
    mSceneBBox.selfUnion(mItemBBoxes[i]);
  }
}

void qzSAHFeeder::setCost(const qzSAHFunctionoid& cost) {
  setSAH(&cost);
}

void qzSAHFeeder::build(qzGenericBVH& bvh) {
  std::iota(mItemIndices.begin(), mItemIndices.end(), 0u);
  qzGenericBVHBuilder::build(bvh);
}

}  // namespace qzToolkit
