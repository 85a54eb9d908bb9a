#pragma once
// qzSAHFeeder: the surface-area builder with an input, filled from the triangles of a mesh.

#include <qzCommonAddOns/builders/qzGenericBVHBuilder.h>
#include <toolkit/base/qzLimits.h>

namespace qz {
class qzTriMesh;
}

namespace qzToolkit {

class qzSAHFeeder : public qzGenericBVHBuilder {
 public:
  /// Takes the triangles of the builds to come, by their boxes; the mesh may go afterwards. Throws a qzError, and keeps
  /// what it had, when there are more than maxTriangles.
  void setMesh(const qz::qzTriMesh& mesh, std::size_t maxTriangles = kMaxTriangles);

  /// The cost of the builds to come, in place of a qzDefaultSAH; it stays the caller's and must outlive them.
  void setCost(const qzSAHFunctionoid& cost);

  /// Builds bvh over the triangles as the builder does, any number of times in turn and always the same: the order that
  /// the last build left the triangles in does not matter.
  void build(qzGenericBVH& bvh);
};

}  // namespace qzToolkit
