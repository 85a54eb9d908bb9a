#include <doctest/doctest.h>
#include <toolkit/run/qzThreads.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "toolkit/qzAllowedThreads.h"

using qzTest::AllowedThreads;
using qzToolkit::qzThreads;

namespace {

/// How many threads of a pool run at once, which should be nbExpected.
int mostAtOnce(const qzThreads& threads, int nbExpected) {
  std::atomic<int> running{0}, most{0};
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);  // a busy machine may take its time
  threads.forEachBlock(64, 1, nullptr, [&](std::size_t, std::size_t) {
    const int now = ++running;
    for (int before = most; now > before && !most.compare_exchange_weak(before, now);) {
    }
    while (most < nbExpected && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    --running;
  });
  return most;
}

}  // namespace

TEST_CASE("every number is in exactly one block, for any count and block size") {
  const AllowedThreads allowed(3);
  const qzThreads threads(3);
  for (std::size_t count : {0u, 1u, 7u, 64u, 1000u}) {
    for (std::size_t blockSize : {1u, 7u, 64u, 5000u}) {
      std::vector<std::atomic<int>> seen(count);
      std::atomic<bool> isBlockInside{true};
      threads.forEachBlock(count, blockSize, nullptr, [&](std::size_t begin, std::size_t end) {
        if (!(begin % blockSize == 0 && begin < end && end <= count && end - begin <= blockSize)) isBlockInside = false;
        for (std::size_t i = begin; i < end; ++i) ++seen[i];
      });
      CHECK(isBlockInside);
      for (const std::atomic<int>& times : seen) CHECK(times == 1);
    }
  }
}

TEST_CASE("as many threads run at once as the pool says, in two pools at the same time too") {
  const AllowedThreads allowed(8);
  for (const int nbThreads : {1, 2, 5}) {
    const qzThreads threads(nbThreads), others(3);
    CHECK(threads.getNbThreads() == nbThreads);
    CHECK(others.getNbThreads() == 3);
    std::future<int> most = std::async(std::launch::async, [&] { return mostAtOnce(threads, nbThreads); });
    CHECK(mostAtOnce(others, 3) == 3);
    CHECK(most.get() == nbThreads);
  }
}

TEST_CASE("a pool has no more threads than the process allows, and changes nothing for others") {
  const int nbProcessors = qzThreads(0).getNbThreads();
  CHECK(nbProcessors >= 1);
  CHECK(qzThreads(1).getNbThreads() == 1);
  CHECK(qzThreads(0).getNbThreads() == nbProcessors);
  CHECK(qzThreads(1000).getNbThreads() == nbProcessors);
  CHECK(qzThreads(-1).getNbThreads() == nbProcessors);
  const AllowedThreads allowed(nbProcessors + 3);
  CHECK(qzThreads(1000).getNbThreads() == nbProcessors + 3);
  CHECK(qzThreads(0).getNbThreads() == nbProcessors + 3);
}

TEST_CASE("algorithms of oneTBB use the threads of the pool that executes them") {
  const AllowedThreads allowed(8);
  for (const int nbThreads : {1, 3}) {
    int found = 0;
    qzThreads(nbThreads).execute([&] { found = tbb::this_task_arena::max_concurrency(); });
    CHECK(found == nbThreads);
  }
}

TEST_CASE("an exception in a block is rethrown") {
  const qzThreads threads(2);
  CHECK_THROWS_WITH_AS(threads.forEachBlock(100, 1, nullptr,
                                            [](std::size_t begin, std::size_t) {
                                              if (begin == 50) throw std::runtime_error("fifty");
                                            }),
                       "fifty", std::runtime_error);
}

TEST_CASE("a stream reads and writes in order, one block at a time, and processes every block once") {
  for (const int nbThreads : {1, 2, 5, 8}) {
    for (const std::size_t nbSlots : {1u, 2u, 7u, 32u}) {
      CAPTURE(nbThreads);
      CAPTURE(nbSlots);
      constexpr int kNbBlocks = 300;
      const AllowedThreads allowed(nbThreads);
      const qzThreads threads(nbThreads);
      std::vector<int> blocks(nbSlots, -1), written;
      std::atomic<int> nbReading{0}, nbWriting{0}, nbInside{0}, most{0}, nbWrong{0};
      int nbRead = 0;
      threads.streamBlocks(
          nbSlots, nullptr,
          [&](std::size_t slot) {
            nbWrong += ++nbReading != 1;
            nbWrong += slot >= nbSlots || blocks[slot] != -1;  // taken away before it is used again
            if (nbRead < kNbBlocks) {
              blocks[slot] = nbRead;
              most = std::max<int>(most, ++nbInside);
            }
            --nbReading;
            return nbRead++ < kNbBlocks;
          },
          [&](std::size_t slot) { blocks[slot] += 1000; },
          [&](std::size_t slot) {
            nbWrong += ++nbWriting != 1;
            written.push_back(blocks[slot]);
            blocks[slot] = -1;
            --nbInside;
            --nbWriting;
          });
      CHECK(nbWrong == 0);
      CHECK(nbRead == kNbBlocks + 1);
      CHECK(most <= static_cast<int>(nbSlots));
      REQUIRE(written.size() == kNbBlocks);
      for (int i = 0; i < kNbBlocks; ++i) CHECK(written[static_cast<std::size_t>(i)] == 1000 + i);
    }
  }
}

TEST_CASE("several blocks of a stream are processed at once") {
  const AllowedThreads allowed(2);
  const qzThreads threads(2);
  std::atomic<int> nbStarted{0};
  int nbRead = 0;
  threads.streamBlocks(
      2, nullptr, [&](std::size_t) { return nbRead++ < 2; },
      [&](std::size_t) {
        for (++nbStarted; nbStarted < 2;) std::this_thread::yield();  // each waits for the other
      },
      [](std::size_t) {});
  CHECK(nbStarted == 2);
}

TEST_CASE("a stream rethrows the first exception in reading order, after writing all earlier blocks") {
  for (const int nbThreads : {1, 2, 8}) {
    for (const char* stage : {"read", "work", "write"}) {
      CAPTURE(nbThreads);
      CAPTURE(stage);
      const AllowedThreads allowed(nbThreads);
      const qzThreads threads(nbThreads);
      constexpr std::size_t kNbSlots = 7;
      int blocks[kNbSlots], nbRead = 0, nbWritten = 0;
      const auto failIn = [&](const std::string& where, int block) {
        if (stage == where && block >= 50) throw std::runtime_error(std::to_string(block));
      };
      CHECK_THROWS_WITH_AS(threads.streamBlocks(
                               kNbSlots, nullptr,
                               [&](std::size_t slot) {
                                 failIn("read", nbRead);
                                 blocks[slot] = nbRead;
                                 return nbRead++ < 100;
                               },
                               [&](std::size_t slot) {
                                 if (blocks[slot] == 50) std::this_thread::sleep_for(std::chrono::milliseconds(5));
                                 failIn("work", blocks[slot]);
                               },
                               [&](std::size_t slot) {
                                 failIn("write", blocks[slot]);
                                 ++nbWritten;
                               }),
                           "50", std::runtime_error);
      CHECK(nbWritten == 50);
    }
  }
}

TEST_CASE("a block that could not be read is neither worked on nor written") {
  for (const int nbThreads : {1, 3}) {
    const qzThreads threads(nbThreads);
    int nbRead = 0, nbWritten = 0;
    std::atomic<int> nbWorkedOn{0};
    const auto read = [&](std::size_t) {
      if (nbRead == 5) throw std::runtime_error("five");
      ++nbRead;
      return true;
    };
    CHECK_THROWS_WITH_AS(threads.streamBlocks(
                             4, nullptr, read, [&](std::size_t) { ++nbWorkedOn; }, [&](std::size_t) { ++nbWritten; }),
                         "five", std::runtime_error);
    CHECK(nbWorkedOn == 5);
    CHECK(nbWritten == 5);
  }
}
