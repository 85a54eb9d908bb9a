#pragma once
// qz::qzTriMesh: a triangle mesh that owns its vertex and its index buffer. Stand-in for the scene library's type.

#include <qzSceneGraph/qzIndexBuffer.h>
#include <qzSceneGraph/qzVertexBuffer.h>

#include <utility>

namespace qz {

class qzTriMesh {
 public:
  qzTriMesh(qzVertexBuffer vertices, qzIndexBuffer indices)
      : mVertexBuffer(std::move(vertices)), mIndexBuffer(std::move(indices)) {}

  const qzVertexBuffer* getVertexBuffer() const { return &mVertexBuffer; }
  const qzIndexBuffer* getIndexBuffer() const { return &mIndexBuffer; }

 private:
  qzVertexBuffer mVertexBuffer;
  qzIndexBuffer mIndexBuffer;
};

}  // namespace qz
