#pragma once
// Contestants that several measurements share.

#include <benchmarks/core/qzMeasure.h>
#include <benchmarks/peers/qzCgal.h>
#include <benchmarks/peers/qzEmbree.h>
#include <benchmarks/peers/qzOurs.h>
#include <benchmarks/scenes/qzRays.h>

namespace qzBench {

/// CGAL is not held against the largest scenes: it takes too long and shows nothing new.
constexpr int kMostTrianglesOfCgal = 2000000;

/// Share of rays that must get the same answer from a peer. The rest passes within a rounding of an edge.
constexpr double kRayAgreement = 0.999;

/// Builds and releases at once, so that no contestant finds its memory ready.
template <class Builder>
qzContestant buildContest(Builder& builder, const qzScene& scene) {
  return {builder.getName(), double(scene.getNbTriangles()), [&builder] {
            const double seconds = builder.build();
            builder.release();
            return seconds;
          }};
}

/// Traces rays into answers, which are compared with those of the library, if there are any.
template <class Tracer>
qzContestant rayContest(const Tracer& tracer, const qzScene& scene, const std::vector<qzRay>& rays,
                        std::vector<qzAnswer>& answers, const std::vector<qzAnswer>* expected) {
  answers.resize(rays.size());
  qzContestant contestant{tracer.getName(), double(rays.size()), [&] { return tracer.trace(rays, answers); }};
  if (expected != nullptr)
    contestant.mAgreement = [&scene, &answers, expected] { return agreement(scene, *expected, answers); };
  return contestant;
}

/// The three kinds of rays under the names of their measurements; bounces start from the linear hierarchy's hits.
struct qzRaySet {
  std::string mName;
  std::vector<qzRay> mRays;
};
std::vector<qzRaySet> makeRaySets(const qzScene& scene, const qzOurs& linear, int side);

}  // namespace qzBench
