#pragma once
// qzSAHFeeder: input for the surface-area builder, from the triangles of a mesh. A build cannot be cancelled.

#include <qzCommonAddOns/builders/qzGenericBVHBuilder.h>
#include <toolkit/base/qzLimits.h>

namespace qz {
class qzTriMesh;
}

namespace qzToolkit {

class qzSAHFeeder : public qzGenericBVHBuilder {
 public:
  /// Sets the triangles of later builds by their boxes; the mesh is not kept. Throws a qzError and keeps the previous
  /// triangles if there are more than maxTriangles.
  void setMesh(const qz::qzTriMesh& mesh, std::size_t maxTriangles = kMaxTriangles);

  /// Sets the cost function of later builds instead of a qzDefaultSAH. Not owned; it must outlive them.
  void setCost(const qzSAHFunctionoid& cost);

  /// Builds bvh over the triangles. Repeated builds give the same tree.
  void build(qzGenericBVH& bvh);
};

}  // namespace qzToolkit
