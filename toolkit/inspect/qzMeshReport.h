#pragma once
// qzMeshReport: counts of defects in a mesh.

#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/run/qzThreads.h>

#include <cstddef>

namespace qzToolkit {

/// Vertices at the same position count as one where triangles and edges are compared, because many formats duplicate
/// the vertices of every triangle. Triangles with indices out of range or non-finite corners appear in those counts
/// only; triangles with two corners at the same position have no edges and no duplicates.
struct qzMeshReport {
  std::size_t mNbVertices = 0;
  std::size_t mNbNonFiniteVertices = 0;  ///< a coordinate is NaN or infinite
  std::size_t mNbUnusedVertices = 0;     ///< in no triangle
  std::size_t mNbRepeatedVertices = 0;   ///< at the position of a vertex with a smaller index

  std::size_t mNbTriangles = 0;
  std::size_t mNbOutOfRangeTriangles = 0;
  std::size_t mNbNonFiniteTriangles = 0;
  std::size_t mNbDegenerateTriangles = 0;        ///< no normal in single precision: no ray can hit them
  std::size_t mNbRepeatedCornerTriangles = 0;    ///< among those: two corners at the same position
  std::size_t mNbDuplicateTriangles = 0;         ///< same three corners as an earlier triangle
  std::size_t mNbFlippedDuplicateTriangles = 0;  ///< sets of three corners with triangles of both windings

  std::size_t mNbEdges = 0;
  std::size_t mNbBoundaryEdges = 0;      ///< boundary: in one triangle
  std::size_t mNbNonManifoldEdges = 0;   ///< non-manifold: in more than two
  std::size_t mNbInconsistentEdges = 0;  ///< inconsistent winding: in two triangles with opposite orientation

  qzBBox mBox;                      ///< of the triangles in range and finite; empty without any
  float mLargestCoordinate = 0.0f;  ///< of that box, absolute value
  float mCoordinateStep = 0.0f;     ///< distance from there to the next larger float
  double mStepsAcross = 0.0;        ///< steps in the longest side of the box
};

/// Inspects all triangles of a mesh. Accepts any mesh, bad indices included.
///
/// threads  used for sorting; the calling thread does everything else
/// cancel   polled between stages and triangles, not within a sort
///
/// Cost: n log n, about 40 bytes a triangle.
qzMeshReport inspectMesh(const qz::qzTriMesh& mesh, const qzThreads& threads, const tCancel* cancel = nullptr);

/// Whether a triangle with vertices in range has a normal in single precision. Without one no ray can hit it: it has no
/// area, or one that is too small or too large for a float.
bool hasNormal(const qz::qzTriMesh& mesh, std::size_t triangle);

}  // namespace qzToolkit
