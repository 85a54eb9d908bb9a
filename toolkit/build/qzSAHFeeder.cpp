#include <toolkit/build/qzSAHFeeder.h>

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <toolkit/base/qzError.h>
#include <toolkit/base/qzMeshGeometry.h>

#include <numeric>
#include <string>

namespace qzToolkit {

void qzSAHFeeder::setMesh(const qz::qzTriMesh& mesh, std::size_t maxTriangles) {
  const std::size_t nbTriangles = countTriangles(mesh);
  if (nbTriangles > maxTriangles) {
    throw qzError("there are " + std::to_string(nbTriangles) + " triangles, more than the limit of " +
                  std::to_string(maxTriangles));
  }
  const qzBVHTriangleContainer triangles(mesh);
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
