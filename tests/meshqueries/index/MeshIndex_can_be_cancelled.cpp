// Construction that is cancelled at every poll, and what it reports on its way.

#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

/// Says yes at poll number at, counted from 0, and ever after. May be asked by any thread.
class CancelAt : public qz::qzCancelInterfaceReadOnly {
 public:
  static constexpr long kNever = -1;
  explicit CancelAt(long at) : mAt(at) {}
  bool isCanceled() const override {
    const long number = mNbPolls++;
    return mAt != kNever && number >= mAt;
  }
  long nbPolls() const { return mNbPolls; }

 private:
  long mAt;
  mutable std::atomic<long> mNbPolls{0};
};

struct Outcome {
  bool isCancelled = false;
  std::vector<double> progress;
  bool isOnCallingThread = true;
};

Outcome build(const Mesh& mesh, BuildOptions options, const CancelAt& cancel) {
  Outcome outcome;
  const std::thread::id caller = std::this_thread::get_id();
  options.cancel = &cancel;
  options.progress = [&](double done) {
    outcome.progress.push_back(done);
    if (std::this_thread::get_id() != caller) outcome.isOnCallingThread = false;
  };
  try {
    const MeshIndex index(mesh, options);
    CHECK(index.triangleCount() == mesh.triangleCount);
  } catch (const Cancelled& cancelled) {
    outcome.isCancelled = true;
    CHECK(std::string(cancelled.what()) != "");
  }
  return outcome;
}

void expectProgress(const Outcome& outcome) {
  CHECK(outcome.isOnCallingThread);
  CHECK(std::is_sorted(outcome.progress.begin(), outcome.progress.end()));
  if (!outcome.progress.empty()) {
    CHECK(outcome.progress.front() >= 0.0);
    CHECK(outcome.progress.back() <= 1.0);
  }
  if (!outcome.isCancelled) {
    REQUIRE(!outcome.progress.empty());
    CHECK(outcome.progress.back() == 1.0);
  }
}

}  // namespace

TEST_CASE("a build that is cancelled at any poll throws Cancelled, and one that is not succeeds") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(100, 1101));  // 20,000 triangles
  for (const Quality quality : allQualities()) {
    for (const int threads : {1, 2}) {
      BuildOptions options;
      options.quality = quality;
      options.threads = threads;
      INFO(nameOf(quality), ", ", threads, " threads");
      const CancelAt never(CancelAt::kNever);
      const Outcome whole = build(mesh.view(), options, never);
      CHECK(!whole.isCancelled);
      expectProgress(whole);
      CHECK(never.nbPolls() >= 3);
      // On one thread every poll; on several some of them, as their number may vary.
      const long step = threads == 1 ? 1 + never.nbPolls() / 60 : 1 + never.nbPolls() / 15;
      for (long at = 0; at < never.nbPolls() - (threads == 1 ? 0 : step); at += step) {
        const CancelAt cancel(at);
        const Outcome outcome = build(mesh.view(), options, cancel);
        INFO("poll ", at, " of ", never.nbPolls());
        CHECK(outcome.isCancelled);
        expectProgress(outcome);
        // Threads that work at the same time may ask once more each.
        CHECK(cancel.nbPolls() >= at + 1);
        if (threads == 1) CHECK(cancel.nbPolls() <= at + 2);
      }
      const CancelAt late(2 * never.nbPolls() + 100);
      CHECK(!build(mesh.view(), options, late).isCancelled);
    }
  }
}

TEST_CASE("a small mesh is polled as well, and reports that it is done") {
  for (const QueryMesh& mesh : {cubeMesh(), QueryMesh{}}) {
    for (const Quality quality : allQualities()) {
      BuildOptions options;
      options.quality = quality;
      const CancelAt never(CancelAt::kNever);
      const Outcome whole = build(mesh.view(), options, never);
      CHECK(!whole.isCancelled);
      CHECK(never.nbPolls() > 0);
      expectProgress(whole);
      const CancelAt atOnce(0);
      CHECK(build(mesh.view(), options, atOnce).isCancelled);
    }
  }
}

TEST_CASE("polls are at most about 10,000 triangles apart") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(200, 1102));  // 80,000 triangles
  for (const Quality quality : allQualities()) {
    BuildOptions options;
    options.quality = quality;
    options.threads = 1;
    const CancelAt never(CancelAt::kNever);
    build(mesh.view(), options, never);
    INFO(nameOf(quality));
    CHECK(never.nbPolls() >= 10);
  }
}

TEST_CASE("what progress throws leaves the constructor") {
  const QueryMesh mesh = starMesh(3, 1103);
  for (const Quality quality : allQualities()) {
    BuildOptions options;
    options.quality = quality;
    options.progress = [](double done) {
      if (done == 1.0) throw std::runtime_error("enough");
    };
    CHECK_THROWS_WITH_AS(MeshIndex(mesh.view(), options), "enough", std::runtime_error);
  }
}

TEST_CASE("an assignment from a build that is cancelled leaves the index as it was") {
  const QueryMesh mesh = cubeMesh();
  MeshIndex index(mesh.view());
  const auto digest = index.meshDigest();
  const CancelAt atOnce(0);
  BuildOptions options;
  options.cancel = &atOnce;
  const QueryMesh other = icosphereMesh(2);
  CHECK_THROWS_AS(index = MeshIndex(other.view(), options), Cancelled);
  CHECK(index.meshDigest() == digest);
  CHECK(index.triangleCount() == 12);
}
