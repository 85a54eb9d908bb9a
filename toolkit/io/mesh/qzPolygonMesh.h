#pragma once
// qzPolygonMesh: vertices and faces with any number of corners, as mesh files have them.

#include <Wm4/Vector3.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <vector>

namespace qzToolkit {

/// How a reader treats coordinates that are NaN or infinite.
enum class tNonFinite { eRefuse, eKeep };

class qzPolygonMesh {
 public:
  std::vector<Wm4::Vector3<float>> mVertices;
  std::vector<int> mCorners;    ///< vertex indices, face after face
  std::vector<int> mNbCorners;  ///< of every face

  /// Number of triangles after triangulation: corners - 2 per face, none for points and lines.
  std::size_t countTriangles() const;

  /// Triangulates all faces, in their order. Indices must be in range. Triangles stay as they are. A simple polygon,
  /// convex or not, keeps its area and orientation; a self-intersecting or non-planar one gives some triangles over its
  /// corners. Moves the vertices out of this object. cancel is polled for every triangle.
  qz::qzTriMesh triangulate(const tCancel* cancel = nullptr);
};

}  // namespace qzToolkit
