#pragma once
// qzMeshReport: what is wrong with a mesh, in numbers.

#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/run/qzThreads.h>

#include <cstddef>

namespace qzToolkit {

/// Vertices at the same place count as one wherever triangles and edges are compared, as many formats give every
/// triangle vertices of its own. Triangles that name missing vertices or have a corner that is not finite are in their
/// own counts and no other; those with two corners at one place have no edges and are nobody's duplicates.
struct qzMeshReport {
  std::size_t mNbVertices = 0;
  std::size_t mNbNonFiniteVertices = 0;  ///< a coordinate is NaN or infinite
  std::size_t mNbUnusedVertices = 0;     ///< no triangle names them
  std::size_t mNbRepeatedVertices = 0;   ///< at the place of a vertex with a smaller number

  std::size_t mNbTriangles = 0;
  std::size_t mNbOutOfRangeTriangles = 0;
  std::size_t mNbNonFiniteTriangles = 0;
  std::size_t mNbDegenerateTriangles = 0;       ///< without a normal in single precision: no ray can hit them
  std::size_t mNbRepeatedCornerTriangles = 0;   ///< of those, the ones with two corners at one place
  std::size_t mNbDuplicateTriangles = 0;        ///< same three corners as another one that is kept
  std::size_t mNbTurnedDuplicateTriangles = 0;  ///< of those, the ones whose three corners are kept in the other turn

  std::size_t mNbEdges = 0;
  std::size_t mNbBorderEdges = 0;   ///< of one triangle
  std::size_t mNbCrowdedEdges = 0;  ///< of more than two
  std::size_t mNbTurnedEdges = 0;   ///< of two triangles whose front faces are on different sides

  qzBBox mBox;                      ///< of the triangles in range and finite; empty without any
  float mLargestCoordinate = 0.0f;  ///< of that box, without sign
  float mCoordinateStep = 0.0f;     ///< from there to the next larger float
  double mStepsAcross = 0.0;        ///< steps in the longest side of the box
};

/// Looks at all triangles of a mesh. Accepts any mesh, bad indices included.
///
/// threads  sort; everything else is done by the calling thread
/// cancel   polled between stages and triangles, not within a sort
///
/// Cost: n log n, about 40 bytes a triangle.
qzMeshReport inspectMesh(const qz::qzTriMesh& mesh, const qzThreads& threads, const tCancel* cancel = nullptr);

/// Whether a triangle with vertices in range has a normal in single precision. Without one no ray can hit it: it has no
/// area, or one that is too small or too large for a float.
bool hasNormal(const qz::qzTriMesh& mesh, std::size_t triangle);

}  // namespace qzToolkit
