#pragma once
// qzScene: a mesh from a file with a hierarchy over its triangles, and how long reading and building took.

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/query/qzHierarchy.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <string>

namespace qzQuery {

struct tOptions;

class qzScene {
 public:
  /// Reads the mesh and builds the hierarchy. Throws a qzError, or a qzInterrupted when it is cancelled.
  /// binary  out: the binary hierarchy that the four-wide one was converted from, unless it is null
  qzScene(const std::string& meshName, const tOptions& options, const qzToolkit::tCancel& cancel,
          qzGenericBVH* binary = nullptr);
  qzScene(const qzScene&) = delete;
  qzScene& operator=(const qzScene&) = delete;

  const qz::qzTriMesh& getMesh() const { return mMesh; }
  const qzToolkit::qzHierarchy& getHierarchy() const { return mHierarchy; }
  std::size_t getNbTriangles() const { return qzToolkit::countTriangles(mMesh); }
  double getReadSeconds() const { return mReadSeconds; }
  double getBuildSeconds() const { return mBuildSeconds; }

 private:
  double mReadSeconds = 0.0, mBuildSeconds = 0.0;
  qz::qzTriMesh mMesh;
  qzToolkit::qzHierarchy mHierarchy;
};

/// Writes the sizes of the mesh and of its hierarchy to standard error unless options ask for quiet or JSON.
void say(const tOptions& options, const std::string& meshName, const qzScene& scene);

}  // namespace qzQuery
