#pragma once
// Casting rays, one by one and from files.

#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/base/qzRay.h>
#include <toolkit/io/table/qzRayFile.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace qzToolkit {

class qzProgress;
class qzThreads;

/// The nearest hit of one ray, as qzQBVH::intersectRay finds it.
qzHit castRay(const qzQBVH& hierarchy, const qzRay& ray, qzQBVH::tIntersectionPolicy policy);

/// The same with qzQBVH::intersectRaySymmetric; mTMin is ignored.
qzHit castRaySymmetric(const qzQBVH& hierarchy, const qzRay& ray);

/// Casts count rays; hits[i] is the nearest hit of rays[i]. From several threads at once.
using tBatchCaster = std::function<void(const qzRay* rays, std::size_t count, qzHit* hits)>;

/// Answers to a block of rays, as rows of a table.
class qzRayAnswers {
 public:
  explicit qzRayAnswers(const qzTableWriter& table) : mTable(&table) {}

  /// Appends a row.
  void add(const std::vector<double>& values);
  /// Counts rays of the block that hit.
  void countHits(std::size_t nbRays) { mNbHits += nbRays; }
  void clear();

  const std::string& getRows() const { return mRows; }
  std::size_t getNbRows() const { return mNbRows; }
  std::size_t getNbHits() const { return mNbHits; }

 private:
  const qzTableWriter* mTable;
  std::string mRows;
  std::size_t mNbRows = 0, mNbHits = 0;
};

/// What is asked of every ray of a file.
struct qzRayQuestion {
  /// Of the table of answers.
  std::vector<qzColumn> mColumns;
  /// Answers a block of rays, of which the first has this number in the file. From several threads at once.
  std::function<void(const std::vector<qzRay>& rays, std::size_t firstRay, qzRayAnswers& answers)> mAnswer;
  /// Called with each ray before; throws a qzError to refuse it. May be null.
  std::function<void(const qzRay& ray)> mCheck = nullptr;
  /// Whether every ray gets one row.
  bool mHasOneRowPerRay = true;
};

/// What a row of hits has besides distance, triangle and the weights of its vertices.
struct tHitDetails {
  bool mPoint = false;   ///< its coordinates
  bool mNormal = false;  ///< the triangle's unit normal, by the order of its vertices
};

/// The nearest hit: "distance,triangle,weight0,weight1,weight2", then "x,y,z" and "nx,ny,nz" where details ask for them.
/// Without a hit, the distance is infinite, the triangle -1, and the rest NaN. mesh must outlive the question.
qzRayQuestion askForHits(const qz::qzTriMesh& mesh, const tHitDetails& details, tBatchCaster cast);

/// Names and values of a hit in a row of such a table.
std::vector<qzColumn> hitColumns(const tHitDetails& details);
void appendHit(std::vector<double>& row, const qz::qzTriMesh& mesh, const tHitDetails& details, const qzHit& hit);

/// Blocks of rays in flight per thread.
constexpr int kCastBlocksPerThread = 4;

struct qzCastCounts {
  std::size_t mNbRays = 0, mNbHits = 0, mNbRows = 0;
};

/// Asks every ray of a file and writes the answers in the same order, block by block, so memory does not grow with the
/// file. The answers do not depend on the number of threads. Neither does an error, which is that of the first invalid
/// row or refused ray, nor what is written before it. The error of a refused ray begins with the name of the file and
/// the number of the ray, from 0. The caller commits the table, which has the question's columns, afterwards.
///
/// cancel    polled before each block
/// progress  counts bytes of the file with the rays; may be null
qzCastCounts castRays(qzRayReader& rays, qzTableWriter& table, const qzRayQuestion& question, const qzThreads& threads,
                      const tCancel* cancel = nullptr, qzProgress* progress = nullptr);

}  // namespace qzToolkit
