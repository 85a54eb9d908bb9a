#pragma once
// Answers of a MeshIndex about what is near, beside those of the plain form. For programs that link the mesh queries.

#include <qzMeshQueries/MeshIndex.h>

#include <string>
#include <vector>

#include "plain/qzPlainNearQueries.h"
#include "support/scenes/qzNearQuestions.h"

namespace qzTest {

inline std::string describe(const qzMeshQueries::Nearest& nearest) {
  char text[80];
  std::snprintf(text, sizeof text, ", %a, %a, %a, ", double(nearest.distance), double(nearest.u), double(nearest.v));
  return "{" + describe(Place{nearest.point[0], nearest.point[1], nearest.point[2]}) + text +
         std::to_string(nearest.triangle) + "}";
}

struct NearAnswers {
  qzMeshQueries::Nearest nearest;
  std::vector<std::uint32_t> inBox, inSphere, inRegion;
};

/// The answers of a plain form or an index.
inline NearAnswers nearAnswersOf(const qzPlain::tNearQueries& plain, const NearQuestion& question) {
  return {plain.nearest(question.point.data(), question.distance),
          plain.trianglesInBox(question.min.data(), question.max.data()),
          plain.trianglesInSphere(question.point.data(), question.distance),
          plain.trianglesInRegion(question.planeData(), question.planes.size())};
}
inline NearAnswers nearAnswersOf(const qzMeshQueries::MeshIndex& index, const NearQuestion& question) {
  NearAnswers answers;
  answers.nearest = index.nearest(question.point.data(), question.distance);
  // What they hold is replaced.
  answers.inBox = answers.inSphere = answers.inRegion = {7, 7, 7};
  index.trianglesInBox(question.min.data(), question.max.data(), answers.inBox);
  index.trianglesInSphere(question.point.data(), question.distance, answers.inSphere);
  index.trianglesInRegion(question.planeData(), question.planes.size(), answers.inRegion);
  return answers;
}

/// Which of the questions has other answers; empty if none.
inline std::string difference(const NearAnswers& own, const NearAnswers& expected) {
  if (!sameBits(own.nearest, expected.nearest))
    return "nearest " + describe(own.nearest) + " for " + describe(expected.nearest);
  if (own.inBox != expected.inBox) return "trianglesInBox";
  if (own.inSphere != expected.inSphere) return "trianglesInSphere";
  if (own.inRegion != expected.inRegion) return "trianglesInRegion";
  return {};
}
inline std::string wrongAnswer(const qzMeshQueries::MeshIndex& index, const NearAnswers& expected,
                               const NearQuestion& question) {
  const std::string different = difference(nearAnswersOf(index, question), expected);
  return different.empty() ? different : different + " of " + describe(question);
}

/// Which answer of a batch is another; empty if none.
inline std::string wrongBatch(const qzMeshQueries::MeshIndex& index,
                              const std::vector<qzMeshQueries::Nearest>& expected, const std::vector<Place>& points,
                              float maxDistance = kInf, int threads = 0) {
  qzMeshQueries::Nearest mark;
  mark.point[0] = mark.point[1] = mark.point[2] = -5.0f;
  // One answer more than there are points, which must stay as it is.
  std::vector<qzMeshQueries::Nearest> nearest(points.size() + 1, mark);
  index.nearests(reinterpret_cast<const float(*)[3]>(points.data()), points.size(), nearest.data(), maxDistance,
                 threads);
  for (std::size_t i = 0; i < points.size(); ++i)
    if (!sameBits(nearest[i], expected[i]))
      return "nearests " + describe(nearest[i]) + " for " + describe(expected[i]) + ", number " + std::to_string(i) +
             " of " + std::to_string(points.size()) + ", " + describe(points[i]);
  return sameBits(nearest.back(), mark) ? "" : "nearests wrote behind its answers";
}

}  // namespace qzTest
