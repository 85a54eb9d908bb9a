#include <benchmarks/peers/qzFcl.h>

#include <fcl/geometry/bvh/BVH_model.h>
#include <fcl/geometry/shape/box.h>
#include <fcl/geometry/shape/convex.h>
#include <fcl/math/bv/OBB.h>
#include <fcl/math/bv/OBBRSS.h>
#include <fcl/narrowphase/collision.h>

#include <benchmarks/core/qzMeasure.h>

namespace qzBench {

namespace {

using tReal = double;
using tPoint = fcl::Vector3<tReal>;

template <class Volume>
std::unique_ptr<fcl::CollisionGeometry<tReal>> makeModel(const qzScene& scene, const std::vector<tPoint>& points) {
  std::vector<fcl::Triangle> triangles;
  for (int i = 0; i < scene.getNbTriangles(); ++i) {
    const int* const corners = scene.getIndices() + 3 * static_cast<std::ptrdiff_t>(i);
    triangles.emplace_back(corners[0], corners[1], corners[2]);
  }
  auto model = std::make_unique<fcl::BVHModel<Volume>>();
  model->beginModel(static_cast<int>(triangles.size()), static_cast<int>(points.size()));
  model->addSubModel(points, triangles);
  model->endModel();
  return model;
}

/// The faces of a region: the number of corners, then the corners, counter-clockwise from outside.
const std::vector<int> kSides = {4, 0, 4, 6, 2, 4, 1, 3, 7, 5, 4, 0, 1, 5, 4,
                                 4, 2, 6, 7, 3, 4, 0, 2, 3, 1, 4, 4, 5, 7, 6};

}  // namespace

struct qzFcl::tShapes {
  std::unique_ptr<fcl::CollisionGeometry<tReal>> mModel;
  std::vector<std::unique_ptr<fcl::CollisionGeometry<tReal>>> mRegions;
  std::vector<fcl::Transform3<tReal>> mPlaces;
};

qzFcl::qzFcl(const qzScene& scene, const std::vector<qzRegion>& regions)
    : mVolume(regions[0].isBox() ? eOrientedBoxes : eOrientedBoxesAndSpheres), mShapes(std::make_unique<tShapes>()) {
  const float scale = 50.0f / scene.mRadius;
  const auto inWorld = [&](const tVector& v) {
    const tVector place = scaled(scale, difference(v, scene.mCentre));
    return tPoint(place[0], place[1], place[2]);
  };
  std::vector<tPoint> points;
  for (const tVector& position : scene.mPositions) points.push_back(inWorld(position));
  mShapes->mModel = mVolume == eOrientedBoxes ? makeModel<fcl::OBB<tReal>>(scene, points)
                                              : makeModel<fcl::OBBRSS<tReal>>(scene, points);

  for (const qzRegion& region : regions) {
    fcl::Transform3<tReal> place = fcl::Transform3<tReal>::Identity();
    if (region.isBox()) {
      for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row) place.linear()(row, column) = region.mAxes[column][row];
      place.translation() = inWorld(region.mCentre);
      const tReal edge = 2.0 * region.mHalfEdge * scale;
      mShapes->mRegions.push_back(std::make_unique<fcl::Box<tReal>>(edge, edge, edge));
    } else {
      auto corners = std::make_shared<std::vector<tPoint>>();
      for (const tVector& corner : region.mCorners) corners->push_back(inWorld(corner));
      mShapes->mRegions.push_back(
          std::make_unique<fcl::Convex<tReal>>(corners, 6, std::make_shared<std::vector<int>>(kSides)));
    }
    mShapes->mRegions.back()->computeLocalAABB();
    mShapes->mPlaces.push_back(place);
  }
}

qzFcl::~qzFcl() = default;

double qzFcl::intersect(std::vector<char>& answers) const {
  const fcl::Transform3<tReal> identity = fcl::Transform3<tReal>::Identity();
  fcl::CollisionRequest<tReal> request;
  request.num_max_contacts = 1;
  request.enable_contact = false;
  request.gjk_solver_type = fcl::GST_LIBCCD;  // the faster of its two solvers
  const qzStopwatch watch;
  for (std::size_t i = 0; i < answers.size(); ++i) {
    fcl::CollisionResult<tReal> result;
    answers[i] = fcl::collide(mShapes->mModel.get(), identity, mShapes->mRegions[i].get(), mShapes->mPlaces[i], request,
                              result) != 0;
  }
  return watch.getSeconds();
}

}  // namespace qzBench
