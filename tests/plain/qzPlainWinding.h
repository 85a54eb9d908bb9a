#pragma once
// Winding numbers by loops over all triangles and all boundary edges with the kernels: what every answer of a MeshIndex
// must equal, bit for bit. And by solid angles, to judge them.

#include <qzMeshQueries/MeshTypes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qzPlain {

/// Reads the mesh in each question.
class tWinding {
 public:
  explicit tWinding(const qzMeshQueries::Mesh& mesh);

  double windingNumber(const float point[3]) const;
  std::size_t nbBoundaryEdges() const { return mNbEdges; }

 private:
  struct tStep {
    std::array<float, 3> place;
    bool isEdge;  // to the place of the next step
  };

  qzMeshQueries::Mesh mMesh;
  std::size_t mNbEdges = 0;
  std::vector<tStep> mSteps;
};

/// The sum of the solid angles of all triangles as seen from the point, over 4 pi, in long double (Van Oosterom and
/// Strackee 1983).
long double solidAngles(const qzMeshQueries::Mesh& mesh, const float point[3]);

/// The distance of the point from the mesh, in long double; infinite without triangles.
long double distanceFrom(const qzMeshQueries::Mesh& mesh, const float point[3]);

}  // namespace qzPlain
