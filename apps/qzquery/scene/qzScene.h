#pragma once
// qzScene: a mesh from a file with what answers questions about it, and how long reading and building took.

#include <apps/qzquery/console/qzOptions.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzMeshQueries/MeshIndex.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/query/qzHierarchy.h>
#include <toolkit/query/qzRayCast.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <string>

namespace qzQuery {

class qzScene {
 public:
  /// Reads the mesh and builds the engine of options. Throws a qzError, or a qzInterrupted when it is cancelled.
  /// binary  out: the binary hierarchy that the four-wide one was converted from, unless it is null; for eQbvh only
  qzScene(const std::string& meshName, const tOptions& options, const qzToolkit::tCancel& cancel,
          qzGenericBVH* binary = nullptr);
  qzScene(const qzScene&) = delete;
  qzScene& operator=(const qzScene&) = delete;

  const qz::qzTriMesh& getMesh() const { return mMesh; }
  /// Empty with eIndex.
  const qzToolkit::qzHierarchy& getHierarchy() const { return mHierarchy; }
  /// Empty with eQbvh.
  const qzMeshQueries::MeshIndex& getIndex() const { return mIndex; }
  /// Nearest hits, by the engine of options. The scene must outlive it.
  qzToolkit::tBatchCaster getCaster(qzQBVH::tIntersectionPolicy policy) const;
  /// Nearest hits in both directions.
  qzToolkit::tBatchCaster getSymmetricCaster() const;
  std::size_t getNbTriangles() const { return qzToolkit::countTriangles(mMesh); }
  double getReadSeconds() const { return mReadSeconds; }
  double getBuildSeconds() const { return mBuildSeconds; }

 private:
  double mReadSeconds = 0.0, mBuildSeconds = 0.0;
  qz::qzTriMesh mMesh;
  tEngine mEngine;
  qzToolkit::qzHierarchy mHierarchy;
  qzMeshQueries::MeshIndex mIndex;
};

/// Writes the sizes of the mesh and of what was built over it to standard error unless options ask for quiet or JSON.
void say(const tOptions& options, const std::string& meshName, const qzScene& scene);

}  // namespace qzQuery
