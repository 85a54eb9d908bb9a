#pragma once
// Questions about rays and a mesh, answered by a loop over all triangles with the kernel: what every answer of a
// MeshIndex must equal, bit for bit.

#include <qzMeshQueries/MeshTypes.h>

#include <cstdint>
#include <vector>

namespace qzPlain {

/// Reads the mesh in each question. Numbers in options and answers have firstTriangle added.
class tRayQueries {
 public:
  explicit tRayQueries(const qzMeshQueries::Mesh& mesh, std::uint32_t firstTriangle = 0)
      : mMesh(mesh), mFirstTriangle(firstTriangle) {}

  qzMeshQueries::Hit closestHit(const qzMeshQueries::Ray& ray, const qzMeshQueries::RayOptions& options = {}) const;
  bool anyHit(const qzMeshQueries::Ray& ray, const qzMeshQueries::RayOptions& options = {}) const;
  std::vector<qzMeshQueries::Hit> allHits(const qzMeshQueries::Ray& ray,
                                          const qzMeshQueries::RayOptions& options = {}) const;
  qzMeshQueries::Crossings crossings(const qzMeshQueries::Ray& ray,
                                     const qzMeshQueries::RayOptions& options = {}) const;

 private:
  qzMeshQueries::Mesh mMesh;
  std::uint32_t mFirstTriangle;
};

}  // namespace qzPlain
