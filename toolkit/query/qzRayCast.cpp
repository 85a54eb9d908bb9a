#include <toolkit/query/qzRayCast.h>

#include <toolkit/base/qzError.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/base/qzVectorMath.h>
#include <toolkit/run/qzProgress.h>
#include <toolkit/run/qzThreads.h>

#include <limits>
#include <utility>

namespace qzToolkit {

qzHit castRay(const qzQBVH& hierarchy, const qzRay& ray, qzQBVH::tIntersectionPolicy policy) {
  float distance = ray.mTMax;
  Wm4::Vector2<float> weights;
  unsigned triangle;
  const bool isHit =
      hierarchy.intersectRay(ray.mOrigin, ray.mDirection, ray.mTMin, distance, weights, triangle, policy);
  return isHit ? qzHit(distance, triangle, weights) : qzHit();
}

qzHit castRaySymmetric(const qzQBVH& hierarchy, const qzRay& ray) {
  float distance = ray.mTMax;
  Wm4::Vector2<float> weights;
  unsigned triangle;
  const bool isHit = hierarchy.intersectRaySymmetric(ray.mOrigin, ray.mDirection, distance, weights, triangle);
  return isHit ? qzHit(distance, triangle, weights) : qzHit();
}

void qzRayAnswers::add(const std::vector<double>& values) {
  mTable->encode(values, mRows);
  ++mNbRows;
}

void qzRayAnswers::clear() {
  mRows.clear();
  mNbRows = mNbHits = 0;
}

std::vector<qzColumn> hitColumns(const tHitDetails& details) {
  std::vector<qzColumn> columns = {
      {"distance"}, {"triangle", qzColumn::eInteger}, {"weight0"}, {"weight1"}, {"weight2"}};
  if (details.mPoint) columns.insert(columns.end(), {{"x"}, {"y"}, {"z"}});
  if (details.mNormal) columns.insert(columns.end(), {{"nx"}, {"ny"}, {"nz"}});
  return columns;
}

void appendHit(std::vector<double>& row, const qz::qzTriMesh& mesh, const tHitDetails& details, const qzHit& hit) {
  row.insert(row.end(),
             {hit.mDistance, static_cast<double>(hit.mTriangle), hit.mWeights[0], hit.mWeights[1], hit.mWeights[2]});
  if (!details.mPoint && !details.mNormal) return;
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  tVector3d point = {kNone, kNone, kNone}, normal = point;
  if (hit.isHit()) {
    const auto corners = cornersOf(mesh, static_cast<std::size_t>(hit.mTriangle));
    const tVector3d a = toDouble(corners[0]), ab = difference(toDouble(corners[1]), a),
                    ac = difference(toDouble(corners[2]), a);
    point = along(along(a, hit.mWeights[1], ab), hit.mWeights[2], ac);
    normal = normalized(cross(ab, ac));
  }
  for (const auto& [isWanted, vector] : {std::pair(details.mPoint, point), std::pair(details.mNormal, normal)}) {
    for (std::size_t axis = 0; isWanted && axis < 3; ++axis) row.push_back(static_cast<float>(vector[axis]));
  }
}

qzRayQuestion askForHits(const qz::qzTriMesh& mesh, const tHitDetails& details, tBatchCaster cast) {
  const auto answer = [&mesh, details, cast = std::move(cast)](const std::vector<qzRay>& rays, std::size_t,
                                                               qzRayAnswers& answers) {
    std::vector<qzHit> hits(rays.size());
    cast(rays.data(), rays.size(), hits.data());
    std::vector<double> row;
    for (const qzHit& hit : hits) {
      row.clear();
      appendHit(row, mesh, details, hit);
      answers.add(row);
      answers.countHits(hit.isHit() ? 1 : 0);
    }
  };
  return {hitColumns(details), answer};
}

qzCastCounts castRays(qzRayReader& rays, qzTableWriter& table, const qzRayQuestion& question, const qzThreads& threads,
                      const tCancel* cancel, qzProgress* progress) {
  struct tBlock {
    qzRayBlock mBytes;
    std::vector<qzRay> mRays;
    qzRayAnswers mAnswers;
  };
  std::vector<tBlock> blocks(static_cast<std::size_t>(kCastBlocksPerThread * threads.getNbThreads()),
                             tBlock{{}, {}, qzRayAnswers(table)});
  qzCastCounts counts;

  const auto read = [&](std::size_t slot) { return rays.read(blocks[slot].mBytes); };
  const auto work = [&](std::size_t slot) {
    tBlock& block = blocks[slot];
    block.mRays.clear();
    block.mAnswers.clear();
    const std::size_t first = block.mBytes.mFirstRay;
    rays.decode(block.mBytes, [&](const qzRay& ray) {
      try {
        if (question.mCheck) question.mCheck(ray);
      } catch (const qzError& refused) {
        throw qzError(rays.getName() + ": ray " + std::to_string(first + block.mRays.size()), refused.what());
      }
      block.mRays.push_back(ray);
    });
    question.mAnswer(block.mRays, first, block.mAnswers);
  };
  const auto write = [&](std::size_t slot) {
    const tBlock& block = blocks[slot];
    table.write(block.mAnswers.getRows(), block.mAnswers.getNbRows());
    counts.mNbRays += block.mRays.size();
    counts.mNbHits += block.mAnswers.getNbHits();
    counts.mNbRows += block.mAnswers.getNbRows();
    if (progress != nullptr) progress->advance(block.mBytes.mBytes.size());
  };
  threads.streamBlocks(blocks.size(), cancel, read, work, write);
  return counts;
}

}  // namespace qzToolkit
