#pragma once
// Contestants and rays that several measurements share.

#include <deque>
#include <string>
#include <vector>

#include <benchmarks/core/qzMeasure.h>
#include <benchmarks/peers/qzCgal.h>
#include <benchmarks/peers/qzEmbree.h>
#include <benchmarks/peers/qzOurs.h>
#include <benchmarks/scenes/qzRays.h>

namespace qzBench {

/// Embree in both builder qualities, each four-wide and with the processor's best instructions; not yet built.
std::deque<qzEmbree> makeEmbrees(const qzScene& scene);

/// Embree's names of the instruction sets that it is measured with beside MeshIndex: AVX2, and AVX-512 where the
/// processor has it.
std::vector<std::string> wideInstructionSets();

/// CGAL, or none for the largest scenes; not yet built.
std::deque<qzCgal> makeCgals(const qzScene& scene);

/// Least share of rays with the same answer from a peer. The others pass an edge within rounding error.
constexpr double kRayAgreement = 0.999;

/// Builds, and releases at once, so that no contestant reuses memory of its previous run.
template <class Builder>
qzContestant buildContest(Builder& builder, const qzScene& scene) {
  return {builder.getName(), double(scene.getNbTriangles()), [&builder] {
            const double seconds = builder.build();
            builder.release();
            return seconds;
          }};
}

/// Traces rays into answers, which are compared with the expected ones unless these are null.
template <class Tracer>
qzContestant rayContest(const Tracer& tracer, const qzScene& scene, const std::vector<qzRay>& rays,
                        std::vector<qzAnswer>& answers, const std::vector<qzAnswer>* expected) {
  answers.resize(rays.size());
  qzContestant contestant{tracer.getName(), double(rays.size()), [&] { return tracer.trace(rays, answers); }};
  if (expected != nullptr)
    contestant.mAgreement = [&scene, &answers, expected] { return agreement(scene, *expected, answers); };
  return contestant;
}

/// The three kinds of rays, with the names of their measurements. Bounces start at the hits of the linear hierarchy.
struct qzRaySet {
  std::string mName;
  std::vector<qzRay> mRays;
};
std::vector<qzRaySet> makeRaySets(const qzScene& scene, const qzOurs& linear, int side);

}  // namespace qzBench
