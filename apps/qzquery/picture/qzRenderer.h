#pragma once
// qzRenderer: pictures and depth maps of a mesh by ray casting, with several camera rays per pixel.
// The results do not depend on the number of threads.

#include <apps/qzquery/picture/qzSheet.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/io/picture/qzFloatMap.h>
#include <toolkit/io/picture/qzImage.h>
#include <toolkit/query/qzHierarchy.h>
#include <toolkit/query/qzRayCast.h>
#include <toolkit/run/qzCancelToken.h>
#include <toolkit/run/qzProgress.h>
#include <toolkit/run/qzThreads.h>
#include <toolkit/view/qzCamera.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qzQuery {

enum class tShading {
  eFacing,  ///< bright where the surface faces the camera, with ambient occlusion and a shadow on the floor
  eNormal,  ///< x, y, z of the normal on the side of the camera as red, green, blue
  eDepth,   ///< near is dark
  eCost     ///< four-wide nodes visited by the ray
};

class qzRenderer {
 public:
  struct tStatistics {
    std::size_t mNbRays = 0, mNbHits = 0;             // of the camera
    double mMeanVisits = 0.0, mMaxPixelVisits = 0.0;  // nodes per ray; eCost only
  };

  /// Keeps references to mesh and hierarchy. One view per camera.
  /// cast       nearest hits of rays at both faces
  /// hierarchy  for eCost only, else it may be empty
  qzRenderer(const qz::qzTriMesh& mesh, qzToolkit::tBatchCaster cast, const qzToolkit::qzHierarchy& hierarchy,
             std::vector<qzToolkit::qzCamera> cameras, qzToolkit::qzCamera::tUp up, tShading shading);

  /// sheet  has as many views as there are cameras. A view does not depend on its place in the sheet, but the colours
  ///        of eDepth and eCost have one scale for all views
  /// nbSamples  nbSamples^2 rays are cast per pixel
  /// progress   counts rows of the sheet
  qzToolkit::qzImage render(const qzSheet& sheet, int nbSamples, const qzToolkit::qzThreads& threads,
                            const qzToolkit::tCancel& cancel, qzToolkit::qzProgress& progress,
                            tStatistics& statistics) const;

  /// The depth of the first hit of the ray through the centre of each pixel: its distance from the camera along the
  /// line of sight, in units of the mesh, which is the distance along the ray times the cosine of the angle between ray
  /// and line of sight. +inf without a hit and in empty cells.
  qzToolkit::qzFloatMap measureDepth(const qzSheet& sheet, const qzToolkit::qzThreads& threads,
                                     const qzToolkit::tCancel& cancel, qzToolkit::qzProgress& progress) const;

 private:
  using tColor = std::array<double, 3>;  // linear light
  using tVector = std::array<double, 3>;
  class tRandom;

  struct tPixel;

  /// What a camera ray sees. Its colour is mColor, or with feelers mColor * (open * mLightIfOpen + mLightAlways).
  struct tSample {
    tColor mColor{};
    double mLightIfOpen = 0.0, mLightAlways = 0.0;
    double mReach = 0.0;  // of its feelers
    int mNbFeelers = 0;   // rays that look for occluders
  };
  template <class tFunction>
  void forEachBatch(const qzSheet& sheet, std::size_t nbPixelsInBatch, const qzToolkit::qzThreads& threads,
                    const qzToolkit::tCancel& cancel, qzToolkit::qzProgress& progress, const tFunction& function) const;
  std::vector<qzToolkit::qzHit> cast(const std::vector<qzToolkit::qzRay>& rays) const;
  std::vector<qzToolkit::qzHit> castCounting(const std::vector<qzToolkit::qzRay>& rays,
                                             std::vector<unsigned>& nbVisits) const;
  tSample shadeHit(const qzToolkit::qzCamera& camera, const qzToolkit::qzRay& ray, const qzToolkit::qzHit& hit,
                   tRandom& random, std::vector<qzToolkit::qzRay>& feelers) const;
  tSample shadeBackground(const qzToolkit::qzRay& ray, tRandom& random, std::vector<qzToolkit::qzRay>& feelers) const;
  void addFeelers(const tSample& sample, const tVector& point, const tVector& normal, tRandom& random,
                  std::vector<qzToolkit::qzRay>& feelers) const;
  static tColor colorOf(const tSample& sample, const qzToolkit::qzHit* occluders);
  tVector normalTowards(const qzToolkit::qzRay& ray, int triangle) const;

  const qz::qzTriMesh& mMesh;
  const qzToolkit::tBatchCaster mCast;
  const qzToolkit::qzHierarchy& mHierarchy;
  const std::vector<qzToolkit::qzCamera> mCameras;
  const tShading mShading;
  std::size_t mUpAxis;
  double mFloor = 0.0, mSize = 0.0;  // lowest coordinate and diagonal of the mesh
  tVector mCenter{};
};

}  // namespace qzQuery
