#include <apps/qzquery/scene/qzScene.h>

#include <apps/qzquery/console/qzClock.h>
#include <apps/qzquery/console/qzConsole.h>
#include <apps/qzquery/console/qzFormat.h>
#include <apps/qzquery/scene/qzHierarchyBuild.h>
#include <toolkit/io/mesh/qzMeshFile.h>
#include <toolkit/query/qzIndexCast.h>

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
    : mMesh(timed(mReadSeconds, [&] { return qzToolkit::loadMesh(meshName, &cancel); })), mEngine(options.mEngine) {
  const qzClock clock;
  if (mEngine == tEngine::eIndex) {
    mIndex = buildIndex(meshName, mMesh, options, cancel);
  } else {
    buildHierarchy(mMesh, options, cancel, mHierarchy, binary);
  }
  mBuildSeconds = clock.getSeconds();
}

qzToolkit::tBatchCaster qzScene::getCaster(qzQBVH::tIntersectionPolicy policy) const {
  return [this, policy](const qzToolkit::qzRay* rays, std::size_t count, qzToolkit::qzHit* hits) {
    if (mEngine == tEngine::eIndex) {
      castRays(mIndex, rays, count, policy, hits);
    } else {
      mHierarchy.castRays(rays, count, policy, hits);
    }
  };
}

qzToolkit::tBatchCaster qzScene::getSymmetricCaster() const {
  return [this](const qzToolkit::qzRay* rays, std::size_t count, qzToolkit::qzHit* hits) {
    if (mEngine == tEngine::eIndex) {
      castRaysSymmetric(mIndex, rays, count, hits);
    } else {
      for (std::size_t i = 0; i < count; ++i) hits[i] = castRaySymmetric(mHierarchy, rays[i]);
    }
  };
}

void say(const tOptions& options, const std::string& meshName, const qzScene& scene) {
  say(options, meshName + ": " + std::to_string(scene.getNbTriangles()) + " triangles, " +
                   std::to_string(scene.getMesh().getVertexBuffer()->getNbVertices()) + " vertices, read in " +
                   seconds(scene.getReadSeconds()));
  if (options.mEngine == tEngine::eIndex) {
    say(options, "index: " + megabytes(static_cast<double>(scene.getIndex().memoryUsed())) + ", built in " +
                     seconds(scene.getBuildSeconds()));
    return;
  }
  const qzToolkit::qzHierarchy& hierarchy = scene.getHierarchy();
  say(options, "hierarchy: " + std::to_string(hierarchy.getNoNodes()) + " nodes, " +
                   std::to_string(hierarchy.getNoTriangleQuadruplets()) + " quadruplets, " +
                   megabytes(static_cast<double>(hierarchy.getBytes())) + ", built in " +
                   seconds(scene.getBuildSeconds()));
}

}  // namespace qzQuery
