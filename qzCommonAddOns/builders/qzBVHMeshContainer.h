#pragma once
// qzBVHMeshContainer: whole meshes as primitives, each with the box around all vertices of its vertex buffer, unused
// ones included. The boxes are computed once, in the constructor; the meshes are not kept. Any number of threads may
// read a finished container.

#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/qzApi.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <vector>

class QZ_COMMONADDONS_API qzBVHMeshContainer : public qzLinearGenericBVHBuilder::tPrimitiveContainerInterface {
 public:
  /// One primitive per mesh, in list order. A mesh without vertices is a primitive with the empty box. A NaN coordinate
  /// is ignored. Null meshes are undefined behaviour.
  /// Failure: an allocation throws the standard exception.
  /// Cost: linear in the number of vertices; 24 bytes per mesh are kept.
  explicit qzBVHMeshContainer(const std::vector<qz::qzTriMesh*>& meshes);
  /// Copies the boxes.
  qzBVHMeshContainer(const qzBVHMeshContainer&) = default;
  qzBVHMeshContainer& operator=(const qzBVHMeshContainer&) = default;
  ~qzBVHMeshContainer() override;

  /// Box of mesh i, unchecked; valid until the container is assigned to or destroyed.
  const qzBBox* getBBox(unsigned int i) const override;
  /// Number of meshes.
  unsigned int getQuantity() const override;

 private:
  std::vector<qzBBox> mBBoxes;
};
