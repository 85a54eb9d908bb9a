#pragma once
// Questions about what is near and what lies in a region, answered by a loop over all triangles with the kernel: what
// every answer of a MeshIndex must equal, bit for bit.

#include <qzMeshQueries/MeshTypes.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace qzPlain {

/// Reads the mesh in each question. Numbers in answers have firstTriangle added.
class tNearQueries {
 public:
  explicit tNearQueries(const qzMeshQueries::Mesh& mesh, std::uint32_t firstTriangle = 0)
      : mMesh(mesh), mFirstTriangle(firstTriangle) {}

  qzMeshQueries::Nearest nearest(const float point[3],
                                 float maxDistance = std::numeric_limits<float>::infinity()) const;
  std::vector<std::uint32_t> trianglesInBox(const float min[3], const float max[3]) const;
  std::vector<std::uint32_t> trianglesInSphere(const float center[3], float radius) const;
  std::vector<std::uint32_t> trianglesInRegion(const float (*planes)[4], std::size_t count) const;

 private:
  qzMeshQueries::Mesh mMesh;
  std::uint32_t mFirstTriangle;
};

}  // namespace qzPlain
