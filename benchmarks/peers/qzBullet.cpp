#include <benchmarks/peers/qzBullet.h>

#include <BulletCollision/CollisionShapes/btTriangleShape.h>
#include <BulletCollision/NarrowPhaseCollision/btGjkEpa2.h>
#include <btBulletCollisionCommon.h>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

namespace {

struct tContact : btCollisionWorld::ContactResultCallback {
  bool mIsPenetrating = false;

  btScalar addSingleResult(btManifoldPoint& point, const btCollisionObjectWrapper*, int, int,
                           const btCollisionObjectWrapper*, int, int) override {
    mIsPenetrating |= point.getDistance() < 0.0f;
    return 0.0f;
  }
};

struct tTriangleTest : btTriangleCallback {
  tTriangleTest(const btConvexShape& region, const btTransform& place) : mRegion(region), mPlace(place) {}

  void processTriangle(btVector3* corners, int, int) override {
    if (mIsHit) return;
    btTriangleShape triangle(corners[0], corners[1], corners[2]);
    triangle.setMargin(0.0f);
    btVector3 guess = (corners[0] + corners[1] + corners[2]) / 3.0f - mPlace.getOrigin();
    if (guess.length2() < 1e-12f) guess = btVector3(1.0f, 0.0f, 0.0f);
    btGjkEpaSolver2::sResults results;
    mIsHit = !btGjkEpaSolver2::Distance(&mRegion, mPlace, &triangle, btTransform::getIdentity(), guess, results);
  }

  const btConvexShape& mRegion;
  const btTransform& mPlace;
  bool mIsHit = false;
};

}  // namespace

struct qzBullet::tWorld {
  std::vector<tVector> mPositions;
  std::unique_ptr<btTriangleIndexVertexArray> mTriangles;
  std::unique_ptr<btBvhTriangleMeshShape> mShape;
  btCollisionObject mMesh;
  std::vector<std::unique_ptr<btConvexShape>> mRegionShapes;
  std::vector<btCollisionObject> mRegions;

  btDefaultCollisionConfiguration mConfiguration;
  btCollisionDispatcher mDispatcher{&mConfiguration};
  btDbvtBroadphase mBroadphase;
  btCollisionWorld mWorld{&mDispatcher, &mBroadphase, &mConfiguration};
};

qzBullet::qzBullet(const qzScene& scene, const std::vector<qzRegion>& regions) : mWorld(std::make_unique<tWorld>()) {
  tWorld& world = *mWorld;
  const float scale = 50.0f / scene.mRadius;
  const auto vector = [](const tVector& v) { return btVector3(v[0], v[1], v[2]); };
  const auto inWorld = [&](const tVector& v) { return vector(scaled(scale, difference(v, scene.mCentre))); };

  for (const tVector& position : scene.mPositions)
    world.mPositions.push_back(scaled(scale, difference(position, scene.mCentre)));
  world.mTriangles = std::make_unique<btTriangleIndexVertexArray>(
      scene.getNbTriangles(), const_cast<int*>(scene.getIndices()), int(3 * sizeof(int)), scene.getNbVertices(),
      &world.mPositions[0][0], int(sizeof(tVector)));
  world.mShape = std::make_unique<btBvhTriangleMeshShape>(world.mTriangles.get(), true);
  world.mShape->setMargin(0.0f);
  world.mMesh.setCollisionShape(world.mShape.get());

  for (const qzRegion& region : regions) {
    btTransform place = btTransform::getIdentity();
    if (region.isBox()) {
      const float half = region.mHalfEdge * scale;
      world.mRegionShapes.push_back(std::make_unique<btBoxShape>(btVector3(half, half, half)));
      const tVector *axes = region.mAxes, &x = axes[0], &y = axes[1], &z = axes[2];
      place.setBasis(btMatrix3x3(x[0], y[0], z[0], x[1], y[1], z[1], x[2], y[2], z[2]));
      place.setOrigin(inWorld(region.mCentre));
    } else {
      auto hull = std::make_unique<btConvexHullShape>();
      for (const tVector& corner : region.mCorners) hull->addPoint(inWorld(corner), false);
      hull->recalcLocalAabb();
      world.mRegionShapes.push_back(std::move(hull));
    }
    world.mRegionShapes.back()->setMargin(0.0f);
    world.mRegions.emplace_back();
    world.mRegions.back().setCollisionShape(world.mRegionShapes.back().get());
    world.mRegions.back().setWorldTransform(place);
  }
}

qzBullet::~qzBullet() = default;

double qzBullet::intersectByContacts(std::vector<char>& answers) const {
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    tContact contact;
    mWorld->mWorld.contactPairTest(&mWorld->mMesh, &mWorld->mRegions[i], contact);
    answers[i] = contact.mIsPenetrating;
  }
  return watch.getSeconds();
}

double qzBullet::intersectByTriangles(std::vector<char>& answers) const {
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const btConvexShape& region = *mWorld->mRegionShapes[i];
    const btTransform& place = mWorld->mRegions[i].getWorldTransform();
    btVector3 min, max;
    region.getAabb(place, min, max);
    tTriangleTest test(region, place);
    mWorld->mShape->processAllTriangles(&test, min, max);
    answers[i] = test.mIsHit;
  }
  return watch.getSeconds();
}

}  // namespace qzBench
