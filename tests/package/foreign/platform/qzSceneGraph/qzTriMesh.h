#pragma once
// A mesh of shared buffers.

#include <qzSceneGraph/qzIndexBuffer.h>
#include <qzSceneGraph/qzVertexBuffer.h>

#include <memory>

namespace qz {

class qzTriMesh {
 public:
  std::shared_ptr<qzVertexBuffer> VBuffer;
  std::shared_ptr<qzIndexBuffer> IBuffer;
};

}  // namespace qz
