#pragma once
// What qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h does, for this family's names.

#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>
#include <qzSceneGraph/qzIndexBuffer.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <qzSceneGraph/qzVertexBuffer.h>

namespace qzDetail {

inline const qz::qzVertexBuffer* vertexBufferOf(const qz::qzTriMesh& mesh) {
  return mesh.VBuffer.get();
}
inline const qz::qzIndexBuffer* indexBufferOf(const qz::qzTriMesh& mesh) {
  return mesh.IBuffer.get();
}
inline int nbVertices(const qz::qzVertexBuffer& vertices) {
  return vertices.VertexQuantity;
}
inline int nbIndices(const qz::qzIndexBuffer& indices) {
  return indices.IndexQuantity;
}
inline const int* indicesOf(const qz::qzIndexBuffer& indices) {
  return static_cast<const int*>(indices.GetData());
}
inline bool isCanceled(const qz::qzCancelInterfaceReadOnly& cancel) {
  return cancel.canceled();
}

}  // namespace qzDetail
