#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h>
#include <qzCommonAddOns/qzDetail/build/qzBoxLanes.h>

qzBVHTriangleContainer::qzBVHTriangleContainer(const qz::qzVertexBuffer* vertices, const qz::qzIndexBuffer* indices)
    : mVertexBuffer(vertices), mIndexBuffer(indices) {
  const qzDetail::tFloatMode mode;
  const int nbTriangles = qzDetail::nbIndices(*indices) / 3;
  mBBoxes.resize(static_cast<std::size_t>(nbTriangles));  // throws if negative: too large for a vector
  const int* index = qzDetail::indicesOf(*indices);
  for (qzBBox& bbox : mBBoxes) {
    qzDetail::tBoxLanes box;
    for (int corner = 0; corner < 3; ++corner) box.expand(vertices->Position3(*index++));
    bbox = box.toBBox();
  }
}

qzBVHTriangleContainer::qzBVHTriangleContainer(const qz::qzTriMesh& mesh)
    : qzBVHTriangleContainer(qzDetail::vertexBufferOf(mesh), qzDetail::indexBufferOf(mesh)) {}

qzBVHTriangleContainer::~qzBVHTriangleContainer() = default;

const qzBBox* qzBVHTriangleContainer::getBBox(unsigned int i) const {
  return &mBBoxes[i];
}

unsigned int qzBVHTriangleContainer::getQuantity() const {
  return static_cast<unsigned int>(mBBoxes.size());
}
