#include <qzCommonAddOns/builders/qzBVHMeshContainer.h>

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h>
#include <qzCommonAddOns/qzDetail/build/qzBoxLanes.h>

qzBVHMeshContainer::qzBVHMeshContainer(const std::vector<qz::qzTriMesh*>& meshes) : mBBoxes(meshes.size()) {
  const qzDetail::tFloatMode mode;
  for (std::size_t k = 0; k < meshes.size(); ++k) {
    const qz::qzVertexBuffer* vertices = qzDetail::vertexBufferOf(*meshes[k]);
    qzDetail::tBoxLanes box;
    for (int i = 0; i < qzDetail::nbVertices(*vertices); ++i) box.expand(vertices->Position3(i));
    mBBoxes[k] = box.toBBox();
  }
}

qzBVHMeshContainer::~qzBVHMeshContainer() = default;

const qzBBox* qzBVHMeshContainer::getBBox(unsigned int i) const {
  return &mBBoxes[i];
}

unsigned int qzBVHMeshContainer::getQuantity() const {
  return static_cast<unsigned int>(mBBoxes.size());
}
