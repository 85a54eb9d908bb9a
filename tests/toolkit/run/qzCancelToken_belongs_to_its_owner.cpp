#include <doctest/doctest.h>
#include <toolkit/run/qzCancelToken.h>
#include <toolkit/run/qzThreads.h>

#include <atomic>
#include <future>

using namespace qzToolkit;

TEST_CASE("a token is not cancelled until it is, and keeps the first reason") {
  qzCancelToken token;
  CHECK_FALSE(token.isCanceled());
  CHECK(token.getReason() == qzCancelToken::kNoReason);
  token.check();
  token.cancel(15);
  token.cancel(2);
  token.cancel();
  CHECK(token.isCanceled());
  CHECK(token.getReason() == 15);
  CHECK_THROWS_AS(token.check(), qzInterrupted);
  qzCancelToken other;
  other.cancel();
  CHECK(other.getReason() == qzCancelToken::kRequested);
}

TEST_CASE("without a token nothing is cancelled") {
  throwIfCanceled(nullptr);
  qzThreads(2).forEachBlock(10, 1, nullptr, [](std::size_t, std::size_t) {});
}

TEST_CASE("of two jobs at once only the one whose token is cancelled stops") {
  qzCancelToken first, second;
  std::atomic<int> nbStarted{0};
  std::atomic<bool> isFirstOver{false};
  const auto job = [&](const qzCancelToken& token, std::size_t count, const auto& body) {
    const qzThreads threads(2);
    std::size_t nbDone = 0;
    std::atomic<std::size_t> done{0};
    try {
      threads.forEachBlock(count, 1, &token, [&](std::size_t, std::size_t) {
        if (done++ == 0) ++nbStarted;
        body();
      });
      nbDone = done;
    } catch (const qzInterrupted&) {
    }
    return nbDone;
  };
  constexpr std::size_t kEndless = std::size_t(1) << 40;
  std::future<std::size_t> a = std::async(std::launch::async, [&] { return job(first, kEndless, [] {}); });
  std::future<std::size_t> b = std::async(std::launch::async, [&] {
    return job(second, 100, [&] {
      while (!isFirstOver) std::this_thread::yield();  // so that it is under way when the other one is cancelled
    });
  });
  while (nbStarted < 2) std::this_thread::yield();
  first.cancel();
  CHECK(a.get() == 0);  // given up
  isFirstOver = true;
  CHECK(b.get() == 100);  // all done
  CHECK_FALSE(second.isCanceled());
}
