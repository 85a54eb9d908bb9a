#pragma once
// Rays cast at a qzMeshQueries::MeshIndex, in the types of the toolkit.

#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzMeshQueries/MeshIndex.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/base/qzRay.h>
#include <toolkit/query/qzRayCast.h>

#include <cstddef>

namespace qzToolkit {

/// An index over the triangles of a mesh, with the same numbers. mesh has indices in range.
/// Failure: a qzError for a triangle with a coordinate that the index refuses; a qzInterrupted when options.cancel says
/// so.
qzMeshQueries::MeshIndex makeIndex(const qz::qzTriMesh& mesh, const qzMeshQueries::BuildOptions& options);

/// The nearest hits of a batch, on the calling thread. Of equal distances the smaller triangle number counts.
void castRays(const qzMeshQueries::MeshIndex& index, const qzRay* rays, std::size_t count,
              qzQBVH::tIntersectionPolicy policy, qzHit* hits);

/// The same for both directions from the origin, among the triangles that face against the direction: distances are
/// absolute values from 0 to tMax. tMin is ignored, and a negative tMax is no hit.
void castRaysSymmetric(const qzMeshQueries::MeshIndex& index, const qzRay* rays, std::size_t count, qzHit* hits);

/// Whether a ray hits: "hit", 1 or 0. index must outlive the question.
qzRayQuestion askForAny(const qzMeshQueries::MeshIndex& index, qzQBVH::tIntersectionPolicy policy);

/// How often a ray meets the fronts and the backs of triangles: "front,back".
qzRayQuestion askForCrossings(const qzMeshQueries::MeshIndex& index, qzQBVH::tIntersectionPolicy policy);

/// All hits, one per row, by distance and then by triangle: "ray", the number of the ray in its file, and the columns of
/// askForHits. A ray that misses has no row.
qzRayQuestion askForAll(const qzMeshQueries::MeshIndex& index, const qz::qzTriMesh& mesh, const tHitDetails& details,
                        qzQBVH::tIntersectionPolicy policy);

}  // namespace qzToolkit
