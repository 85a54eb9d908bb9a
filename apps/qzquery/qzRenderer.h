#pragma once
// qzRenderer: pictures of a mesh by camera rays, several for every pixel.
// A picture depends on what it shows alone, not on the number of threads.

#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/qzCamera.h>
#include <toolkit/qzImage.h>
#include <toolkit/qzProgress.h>
#include <toolkit/qzThreads.h>
#include <toolkit/qzVisitCounter.h>

#include <array>
#include <cstddef>
#include <cstdint>

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

  /// Keeps references to mesh and hierarchy.
  qzRenderer(const qz::qzTriMesh& mesh, const qzToolkit::qzVisitCounter& hierarchy, const qzToolkit::qzCamera& camera,
             qzToolkit::qzCamera::tUp up, tShading shading);

  /// nbSamples  rays across a pixel, so nbSamples^2 in it
  qzToolkit::qzImage render(int width, int height, int nbSamples, const qzToolkit::qzThreads& threads,
                            bool showProgress, tStatistics& statistics) const;

 private:
  using tColor = std::array<double, 3>;  // linear light
  using tVector = std::array<double, 3>;
  class tRandom;

  struct tSample {
    tColor mColor{};
    unsigned mNbVisits = 0;
    bool mIsHit = false;
  };
  tSample shoot(double x, double y, tRandom& random) const;
  tColor shadeHit(const qzToolkit::qzRay& ray, const qzToolkit::qzHit& hit, tRandom& random) const;
  tColor shadeBackground(const qzToolkit::qzRay& ray, tRandom& random) const;
  tVector normalTowards(const qzToolkit::qzRay& ray, int triangle) const;
  double openness(const tVector& point, const tVector& normal, double reach, int nbRays, tRandom& random) const;

  const qz::qzTriMesh& mMesh;
  const qzToolkit::qzVisitCounter& mHierarchy;
  const qzToolkit::qzCamera mCamera;
  const tShading mShading;
  std::size_t mUpAxis;
  double mFloor = 0.0, mSize = 0.0;        // lowest point and diagonal of the mesh
  double mNearest = 0.0, mFarthest = 0.0;  // from the camera, backwards out of the picture being negative
  tVector mCenter{};
};

}  // namespace qzQuery
