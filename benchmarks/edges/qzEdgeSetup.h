#pragma once
// Casts rays at the edges and vertices of one mesh with every contestant, and counts what comes back.

#include <memory>

#include <benchmarks/edges/qzVerdict.h>
#include <benchmarks/peers/qzEmbree.h>
#include <benchmarks/peers/qzIndex.h>
#include <benchmarks/peers/qzOurs.h>
#include <benchmarks/scenes/qzAims.h>

namespace qzBench {

/// The mesh moved by so many sizes of its box, each coordinate rounded to float: what an application has that works far
/// from the origin.
qzScene movedAway(const qzScene& scene, double sizes);

/// The mesh scaled so that its box is size long, and moved by offset on each axis; each coordinate is rounded once.
qzScene placed(const qzScene& scene, double size, double offset);

/// All hits along a ray in ascending order: by one question to MeshIndex, and otherwise as an application collects them.
/// Each query then starts one float behind the last hit, or at step behind it where that is farther.
void collectHits(const qzIndex& index, const qzRay& ray, float step, std::vector<qzAnswer>& hits);
void collectHits(const qzOurs& ours, const qzRay& ray, float step, std::vector<qzAnswer>& hits);
void collectHits(const qzEmbree& embree, const qzRay& ray, float step, std::vector<qzAnswer>& hits);

/// A mesh and the hierarchies that are measured on it.
struct qzEdgeSetup {
  qzScene mScene;
  qzNeighbours mNeighbours;
  qzIndex mIndex;
  qzOurs mOurs;
  qzEmbree mEmbree, mRobust;

  /// Only when recentred: the mesh with the centre of its box subtracted. Far from the origin that is exact; otherwise
  /// the constructor throws std::logic_error.
  std::unique_ptr<qzScene> mRecentredScene;
  std::unique_ptr<qzOurs> mRecentred;

  explicit qzEdgeSetup(qzScene scene, bool isRecentred = false);
};

/// Counts of all contestants over the same rays.
struct qzEdgeCounts {
  qzTally mIndex, mOurs, mEmbree, mRobust;
  qzTally mStepping;              ///< the library, the next query starting 1e-5 of the box's diagonal behind each hit
  qzTally mRecentred;             ///< the library, mesh and rays recentred
  long long mNbSlippedTwice = 0;  ///< rays that slip through the library's mesh in both directions
};

/// Aims nbRays random rays at the mesh, the same ones in every call with the same arguments. Those that miss all triangles
/// at their target are cast for the false hits only, and only withMissing.
qzEdgeCounts castAtEdges(const qzEdgeSetup& setup, qzTarget target, qzApproach approach, int nbRays,
                         bool withMissing = false);

}  // namespace qzBench
