#pragma once
// qzMeshQueries::MeshIndex, with an interface like that of its peers.

#include <qzMeshQueries/MeshIndex.h>

#include <memory>
#include <string>
#include <vector>

#include <benchmarks/scenes/qzPlaces.h>
#include <benchmarks/scenes/qzRays.h>
#include <benchmarks/scenes/qzScene.h>

namespace qzBench {

/// Rays and hits of MeshIndex.
qzMeshQueries::Ray indexRay(const qzRay& ray);
std::vector<qzMeshQueries::Ray> indexRays(const std::vector<qzRay>& rays);
std::vector<qzAnswer> answersOf(const std::vector<qzMeshQueries::Hit>& hits);
/// The same for nearest points.
std::vector<qzNearest> answersOf(const std::vector<qzMeshQueries::Nearest>& nearest);

class qzIndex {
 public:
  using tRays = std::vector<qzMeshQueries::Ray>;
  using tHits = std::vector<qzMeshQueries::Hit>;

  explicit qzIndex(const qzScene& scene, qzMeshQueries::Quality quality = qzMeshQueries::Quality::good,
                   int threads = 1);

  std::string getName() const;  ///< "MeshIndex good"

  /// Builds the index from arrays in memory; returns the seconds.
  double build();
  void release() { mIndex.reset(); }
  const qzMeshQueries::MeshIndex& getIndex() const { return *mIndex; }

  /// Closest hits of the first hits.size() rays, one call each or as a batch on so many threads; return the seconds.
  double traceEach(const tRays& rays, tHits& hits) const;
  double traceBatch(const tRays& rays, tHits& hits, int threads = 1) const;
  /// The same for any hit; answers are 1 or 0.
  double occludeEach(const tRays& rays, std::vector<std::uint8_t>& answers) const;
  double occludeBatch(const tRays& rays, std::vector<std::uint8_t>& answers, int threads = 1) const;

  /// Whether the mesh contains each of the first answers.size() places, 1 or 0, one call each; returns the seconds.
  double findContained(const std::vector<qzPlace>& places, std::vector<std::uint32_t>& answers) const;
  /// Winding numbers of the first answers.size() places, one call each or as a batch; return the seconds.
  double findWindingsEach(const std::vector<qzPlace>& places, std::vector<double>& answers) const;
  double findWindings(const std::vector<qzPlace>& places, std::vector<double>& answers, int threads = 1) const;
  /// Nearest points of the first answers.size() places, one call each or as a batch; return the seconds.
  double findNearestEach(const std::vector<qzPlace>& places, std::vector<qzMeshQueries::Nearest>& answers) const;
  double findNearestBatch(const std::vector<qzPlace>& places, std::vector<qzMeshQueries::Nearest>& answers,
                          int threads = 1) const;
  /// How many triangles lie in each of the first counts.size() boxes, by lists of them; returns the seconds.
  double countInBoxes(const std::vector<qzAxisBox>& boxes, std::vector<unsigned>& counts) const;

 private:
  const qzScene& mScene;
  qzMeshQueries::BuildOptions mOptions;
  std::unique_ptr<qzMeshQueries::MeshIndex> mIndex;
};

}  // namespace qzBench
