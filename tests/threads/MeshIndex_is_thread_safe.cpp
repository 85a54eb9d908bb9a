// Threads that ask one index, alone and in batches on threads of their own, while others build indices over the same
// mesh. The preset sanitize-threads looks for races; here answers are compared with those of the plain form.

#include <qzMeshQueries/MeshIndex.h>
#include <tbb/global_control.h>

#include <doctest/doctest.h>

#include <atomic>
#include <string>
#include <thread>

#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

constexpr std::size_t kNbQuerying = 5, kNbBatching = 2, kNbBuilding = 2;

/// Says yes at a poll, whichever thread asks.
class CancelAtPollOfAnyThread : public qz::qzCancelInterfaceReadOnly {
 public:
  explicit CancelAtPollOfAnyThread(int poll) : mNbLeft(poll) {}
  bool isCanceled() const override { return mNbLeft-- <= 0; }

 private:
  mutable std::atomic<int> mNbLeft;
};

struct Shared {
  QueryMesh mesh = queryMeshOf("terrain", terrainMesh(70, 1601));  // several parts of a build
  MeshIndex index{mesh.view()};
  std::vector<Ray> rays;
  std::vector<RayAnswers> expected;

  Shared() {
    QueryRays source(mesh, 1602);
    rays = source.camera(40, 30);
    while (rays.size() < 2600) rays.push_back(source.any());  // more than a thread takes at a time
    const qzPlain::tRayQueries plain(mesh.view());
    for (const Ray& ray : rays) expected.push_back(answersOf(plain, ray));
  }
};

}  // namespace

TEST_CASE("threads that ask one index and build others get the answers of one thread") {
  // Four threads at once, whatever the machine has.
  const tbb::global_control parallelism(tbb::global_control::max_allowed_parallelism, 4);
  const Shared shared;
  std::atomic<std::size_t> nbWaiting{kNbQuerying + kNbBatching + kNbBuilding}, nbAsking{kNbQuerying + kNbBatching};
  const auto await = [&] {
    for (--nbWaiting; nbWaiting > 0;) std::this_thread::yield();
  };
  std::vector<std::string> wrong(kNbQuerying + kNbBatching + kNbBuilding);
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kNbQuerying; ++thread) {
    threads.emplace_back([&, thread] {
      await();
      for (std::size_t i = 0; i < shared.rays.size() && wrong[thread].empty(); ++i) {
        const std::size_t ray = (i + thread * shared.rays.size() / kNbQuerying) % shared.rays.size();
        wrong[thread] = wrongAnswer(shared.index, shared.expected[ray], shared.rays[ray]);
      }
      if (!shared.index.meshDigest()[0]) wrong[thread] = "no digest";
      if (shared.index.isClosed()) wrong[thread] = "closed";
      --nbAsking;
    });
  }
  for (std::size_t thread = kNbQuerying; thread < kNbQuerying + kNbBatching; ++thread) {
    threads.emplace_back([&, thread] {
      await();
      for (int round = 0; round < 3 && wrong[thread].empty(); ++round)
        wrong[thread] = wrongBatch(shared.index, shared.expected, shared.rays, {}, round);
      --nbAsking;
    });
  }
  for (std::size_t thread = kNbQuerying + kNbBatching; thread < wrong.size(); ++thread) {
    threads.emplace_back([&, thread] {
      await();
      int round = 0;
      do {
        BuildOptions options;
        options.quality = static_cast<Quality>((round + int(thread)) % 3);
        options.threads = round % 4;
        const MeshIndex index(shared.mesh.view(), options);
        const std::size_t ray = static_cast<std::size_t>(round) * 37 % shared.rays.size();
        wrong[thread] = wrongAnswer(index, shared.expected[ray], shared.rays[ray]);
        // Cancelled builds stop on all their threads.
        const CancelAtPollOfAnyThread cancel(round % 7);
        options.cancel = &cancel;
        try {
          const MeshIndex other(shared.mesh.view(), options);
          if (index.meshDigest() != other.meshDigest()) wrong[thread] = "digest";
        } catch (const Cancelled&) {
        }
        ++round;
      } while (nbAsking > 0 && wrong[thread].empty());
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& text : wrong) CHECK(text == "");
}
