#include <apps/qzquery/scene/qzScene.h>

#include <apps/qzquery/console/qzClock.h>
#include <apps/qzquery/console/qzConsole.h>
#include <apps/qzquery/console/qzFormat.h>
#include <apps/qzquery/scene/qzHierarchyBuild.h>
#include <toolkit/io/mesh/qzMeshFile.h>

namespace qzQuery {

namespace {

/// Calls function, and puts the seconds that it took into duration.
template <class tFunction>
auto timed(double& duration, const tFunction& function) {
  const qzClock clock;
  auto result = function();
  duration = clock.getSeconds();
  return result;
}

}  // namespace

qzScene::qzScene(const std::string& meshName, const tOptions& options, const qzToolkit::tCancel& cancel,
                 qzGenericBVH* binary)
    : mMesh(timed(mReadSeconds, [&] { return qzToolkit::loadMesh(meshName, &cancel); })) {
  const qzClock clock;
  buildHierarchy(mMesh, options, cancel, mHierarchy, binary);
  mBuildSeconds = clock.getSeconds();
}

void say(const tOptions& options, const std::string& meshName, const qzScene& scene) {
  const qzToolkit::qzHierarchy& hierarchy = scene.getHierarchy();
  say(options, meshName + ": " + std::to_string(scene.getNbTriangles()) + " triangles, " +
                   std::to_string(scene.getMesh().getVertexBuffer()->getNbVertices()) + " vertices, read in " +
                   seconds(scene.getReadSeconds()));
  say(options, "hierarchy: " + std::to_string(hierarchy.getNoNodes()) + " nodes, " +
                   std::to_string(hierarchy.getNoTriangleQuadruplets()) + " quadruplets, " +
                   megabytes(static_cast<double>(hierarchy.getBytes())) + ", built in " +
                   seconds(scene.getBuildSeconds()));
}

}  // namespace qzQuery
