#include <doctest/doctest.h>
#include <toolkit/qzThreads.h>

#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

using qzToolkit::qzThreads;

TEST_CASE("every number is in exactly one block, for any count and block size") {
  const qzThreads threads(3);
  for (std::size_t count : {0u, 1u, 7u, 64u, 1000u}) {
    for (std::size_t blockSize : {1u, 7u, 64u, 5000u}) {
      std::vector<std::atomic<int>> seen(count);
      std::atomic<bool> isBlockInside{true};
      threads.forEachBlock(count, blockSize, [&](std::size_t begin, std::size_t end) {
        if (!(begin % blockSize == 0 && begin < end && end <= count && end - begin <= blockSize)) isBlockInside = false;
        for (std::size_t i = begin; i < end; ++i) ++seen[i];
      });
      CHECK(isBlockInside);
      for (const std::atomic<int>& times : seen) CHECK(times == 1);
    }
  }
}

TEST_CASE("as many threads as asked for may run, and no more") {
  for (int nbThreads : {1, 2, 5}) {
    const qzThreads threads(nbThreads);
    CHECK(threads.getNbThreads() == nbThreads);
    std::atomic<int> running{0}, most{0};
    threads.forEachBlock(64, 1, [&](std::size_t, std::size_t) {
      const int now = ++running;
      for (int before = most; now > before && !most.compare_exchange_weak(before, now);) {
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      --running;
    });
    CHECK(most <= nbThreads);
    CHECK(most >= (nbThreads == 1 ? 1 : 2));
  }
  CHECK(qzThreads(0).getNbThreads() >= 1);
}

TEST_CASE("an exception in a block comes out") {
  const qzThreads threads(2);
  CHECK_THROWS_WITH_AS(threads.forEachBlock(100, 1,
                                            [](std::size_t begin, std::size_t) {
                                              if (begin == 50) throw std::runtime_error("fifty");
                                            }),
                       "fifty", std::runtime_error);
}
