#pragma once
// How the library reads meshes, their buffers and the cancel interface of the sibling libraries. A platform whose
// classes have other members configures with -DQZ_PLATFORM_ADAPTER=<its own version of this header>. The other uses of
// the sibling libraries are elsewhere: log records in qzLogRecord.h, the locale in qzByteSize.cpp, vectors everywhere.

#if defined(QZ_PLATFORM_ADAPTER)
#include QZ_PLATFORM_ADAPTER
#else

#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>
#include <qzSceneGraph/qzIndexBuffer.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <qzSceneGraph/qzVertexBuffer.h>

namespace qzDetail {

inline const qz::qzVertexBuffer* vertexBufferOf(const qz::qzTriMesh& mesh) {
  return mesh.getVertexBuffer();
}
inline const qz::qzIndexBuffer* indexBufferOf(const qz::qzTriMesh& mesh) {
  return mesh.getIndexBuffer();
}

/// Number of vertices; may be negative.
inline int nbVertices(const qz::qzVertexBuffer& vertices) {
  return vertices.getNbVertices();
}

/// Number of indices, and the indices themselves, three per triangle; the number may be negative.
inline int nbIndices(const qz::qzIndexBuffer& indices) {
  return indices.getNbIndices();
}
inline const int* indicesOf(const qz::qzIndexBuffer& indices) {
  return indices.getIndices();
}

/// Asks once whether the caller wants the work abandoned.
inline bool isCanceled(const qz::qzCancelInterfaceReadOnly& cancel) {
  return cancel.isCanceled();
}

}  // namespace qzDetail

#endif
