#pragma once
// Triangles of a mesh: how many there are, their corners and their bounding box.

#include <Wm4/Vector3.h>
#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <array>
#include <cstddef>

namespace qzToolkit {

/// Complete triangles in the index buffer, 0 for a negative number of indices.
std::size_t countTriangles(const qz::qzTriMesh& mesh);

/// The positions of a triangle's three vertices. Unchecked: the triangle and its indices must be in range.
std::array<Wm4::Vector3<float>, 3> cornersOf(const qz::qzTriMesh& mesh, std::size_t triangle);

/// Calls function with the position of every vertex that the index buffer names, in its order and as often as it is
/// named. Indices must be in range.
template <class tFunction>
void forEachCorner(const qz::qzTriMesh& mesh, const tFunction& function) {
  const qz::qzIndexBuffer& indices = *mesh.getIndexBuffer();
  for (int i = 0; i < indices.getNbIndices(); ++i) {
    function(mesh.getVertexBuffer()->Position3(indices.getIndices()[i]));
  }
}

/// The bounding box of all corners; vertices that no triangle names do not count. Empty for a mesh without triangles.
/// Indices must be in range.
qzBBox boxOf(const qz::qzTriMesh& mesh);

}  // namespace qzToolkit
