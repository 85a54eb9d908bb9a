#pragma once
// qzBVHTriangleContainer: the triangles of one indexed mesh as primitives, each with the tight box of its three
// vertices. The boxes are computed once, in the constructor; afterwards the buffers may change or disappear. Any number
// of threads may read a finished container.

#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/qzApi.h>
#include <qzSceneGraph/qzIndexBuffer.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <qzSceneGraph/qzVertexBuffer.h>

#include <vector>

class QZ_COMMONADDONS_API qzBVHTriangleContainer : public qzLinearGenericBVHBuilder::tPrimitiveContainerInterface {
 public:
  /// Triangle t has the vertices that indices 3t to 3t + 2 name; one or two surplus indices are ignored. Degenerate
  /// triangles count like any other; a NaN coordinate is ignored. Indices are not checked.
  /// Failure: null buffers are undefined behaviour; -3 indices or fewer throw std::length_error, a failed allocation
  /// its own standard exception.
  /// Cost: linear in the number of triangles; 24 bytes per triangle are kept.
  qzBVHTriangleContainer(const qz::qzVertexBuffer* vertices, const qz::qzIndexBuffer* indices);
  explicit qzBVHTriangleContainer(const qz::qzTriMesh& mesh);
  /// Copies the boxes.
  qzBVHTriangleContainer(const qzBVHTriangleContainer&) = default;
  qzBVHTriangleContainer& operator=(const qzBVHTriangleContainer&) = default;
  ~qzBVHTriangleContainer() override;

  /// Box of triangle i, unchecked; valid until the container is assigned to or destroyed.
  const qzBBox* getBBox(unsigned int i) const override;
  /// Number of triangles.
  unsigned int getQuantity() const override;

 private:
  [[maybe_unused]] const qz::qzVertexBuffer* mVertexBuffer;  // not owned; only the constructor reads it
  [[maybe_unused]] const qz::qzIndexBuffer* mIndexBuffer;
  std::vector<qzBBox> mBBoxes;
};
