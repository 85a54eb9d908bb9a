#pragma once
// qzPolygonMesh: vertices and faces with any number of corners, as mesh files have them.

#include <Wm4/Vector3.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <vector>

namespace qzToolkit {

/// What a reader does about coordinates that are NaN or infinite.
enum class tNonFinite { eRefuse, eKeep };

class qzPolygonMesh {
 public:
  std::vector<Wm4::Vector3<float>> mVertices;
  std::vector<int> mCorners;    ///< vertex numbers, those of one face after those of another
  std::vector<int> mNbCorners;  ///< of every face

  /// Triangles that the faces make: corners - 2 each, none for points and lines.
  std::size_t countTriangles() const;

  /// The mesh with every face divided into triangles, in the order of the faces. Vertex numbers must be in range. A
  /// face of three corners stays as it is; a simple polygon, which may have notches, keeps its area and its side; one
  /// that crosses itself or bends gives some triangles over its corners. Takes the vertices out of this object.
  qz::qzTriMesh triangulate(const tCancel* cancel = nullptr);
};

}  // namespace qzToolkit
