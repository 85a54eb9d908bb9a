#pragma once
// qzRenderer: pictures of a mesh by camera rays, several for every pixel, and how deep it is there.
// Both depend on what they show alone, not on the number of threads.

#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/io/picture/qzFloatMap.h>
#include <toolkit/io/picture/qzImage.h>
#include <toolkit/query/qzHierarchy.h>
#include <toolkit/run/qzCancelToken.h>
#include <toolkit/run/qzProgress.h>
#include <toolkit/run/qzThreads.h>
#include <toolkit/view/qzCamera.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "qzSheet.h"

namespace qzQuery {

enum class tShading {
  eFacing,  ///< bright where the surface faces the camera, dark in its nooks, with a shadow on the floor
  eNormal,  ///< x, y, z of the normal on the camera's side as red, green, blue
  eDepth,   ///< near is dark
  eCost     ///< four-wide nodes visited by the ray
};

class qzRenderer {
 public:
  struct tStatistics {
    std::size_t mNbRays = 0, mNbHits = 0;             // of the camera
    double mMeanVisits = 0.0, mMaxPixelVisits = 0.0;  // nodes a ray; only for eCost
  };

  /// Keeps references to mesh and hierarchy. Every camera makes a view.
  qzRenderer(const qz::qzTriMesh& mesh, const qzToolkit::qzHierarchy& hierarchy,
             std::vector<qzToolkit::qzCamera> cameras, qzToolkit::qzCamera::tUp up, tShading shading);

  /// sheet  has as many views as there are cameras; a view does not depend on its place, but colours of eDepth and
  ///        eCost have one scale in all
  /// nbSamples  rays across a pixel, so nbSamples^2 in it
  /// progress   counts rows of the sheet
  qzToolkit::qzImage render(const qzSheet& sheet, int nbSamples, const qzToolkit::qzThreads& threads,
                            const qzToolkit::tCancel& cancel, qzToolkit::qzProgress& progress,
                            tStatistics& statistics) const;

  /// How far the first triangle on the ray through the centre of a pixel is from the camera along its line of sight, in
  /// units of the mesh: the distance that the hierarchy finds, times the cosine of the angle between the ray and that
  /// line. +inf where the ray meets nothing and at empty places.
  qzToolkit::qzFloatMap measureDepth(const qzSheet& sheet, const qzToolkit::qzThreads& threads,
                                     const qzToolkit::tCancel& cancel, qzToolkit::qzProgress& progress) const;

 private:
  using tColor = std::array<double, 3>;  // linear light
  using tVector = std::array<double, 3>;
  class tRandom;

  struct tSample {
    tColor mColor{};
    unsigned mNbVisits = 0;
    bool mIsHit = false;
  };
  template <class tFunction>
  void forEachPixel(const qzSheet& sheet, const qzToolkit::qzThreads& threads, const qzToolkit::tCancel& cancel,
                    qzToolkit::qzProgress& progress, const tFunction& function) const;
  tSample shoot(const qzToolkit::qzCamera& camera, double x, double y, tRandom& random) const;
  tColor shadeHit(const qzToolkit::qzCamera& camera, const qzToolkit::qzRay& ray, const qzToolkit::qzHit& hit,
                  tRandom& random) const;
  tColor shadeBackground(const qzToolkit::qzRay& ray, tRandom& random) const;
  tVector normalTowards(const qzToolkit::qzRay& ray, int triangle) const;
  double openness(const tVector& point, const tVector& normal, double reach, int nbRays, tRandom& random) const;

  const qz::qzTriMesh& mMesh;
  const qzToolkit::qzHierarchy& mHierarchy;
  const std::vector<qzToolkit::qzCamera> mCameras;
  const tShading mShading;
  std::size_t mUpAxis;
  double mFloor = 0.0, mSize = 0.0;  // lowest point and diagonal of the mesh
  tVector mCenter{};
};

}  // namespace qzQuery
