// On how many threads loops run. Their work sleeps, so that other threads have the time to take a part of it.

#include <doctest/doctest.h>

#include <qzMeshQueries/tree/Threads.h>
#include <tbb/info.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace qzMeshQueries::detail;

namespace {

std::set<std::thread::id> threadsOfLoop(int threads) {
  std::mutex mutex;
  std::set<std::thread::id> found;
  std::vector<std::atomic<int>> nbCalls(100);
  onThreads(threads, [&] {
    forEach(nbCalls.size(), [&](std::size_t i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      ++nbCalls[i];
      const std::lock_guard<std::mutex> lock(mutex);
      found.insert(std::this_thread::get_id());
    });
  });
  for (const std::atomic<int>& nb : nbCalls) CHECK(nb == 1);
  return found;
}

}  // namespace

TEST_CASE("one thread is the calling one") {
  for (int round = 0; round < 3; ++round) {
    CHECK(nbThreadsOf(1) == 1);
    CHECK(threadsOfLoop(1) == std::set<std::thread::id>{std::this_thread::get_id()});
  }
}

TEST_CASE("0 threads are as many as there may be, and no number is more") {
  const int most = nbThreadsOf(0);
  CHECK(most == tbb::info::default_concurrency());
  for (const int threads : {2, 3, 8, 1000}) {
    CHECK(nbThreadsOf(threads) <= most);
    CHECK(threadsOfLoop(threads).size() <= std::size_t(threads));
  }
  CHECK((threadsOfLoop(0).size() > 1) == (most > 1));
}

TEST_CASE("an exception of any thread leaves the loop") {
  for (const int threads : {1, 2, 0})
    onThreads(threads, [] {
      const auto work = [](std::size_t i) {
        if (i == 99) throw std::runtime_error("enough");
      };
      CHECK_THROWS_WITH_AS(forEach(100, work), "enough", std::runtime_error);
    });
}
