#include <apps/qzquery/console/qzProgressLine.h>

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace qzQuery {

namespace {

constexpr std::chrono::milliseconds kTimeBetweenUpdates(100);

}  // namespace

qzProgressLine::qzProgressLine(std::string label, std::size_t total, bool enabled)
    : mLabel(std::move(label)), mTotal(total), mIsShown(enabled && total > 0 && ::isatty(STDERR_FILENO) == 1) {}

qzProgressLine::~qzProgressLine() {
  if (mIsShown) std::fputs("\r\033[K", stderr);  // clears the line
}

void qzProgressLine::advance(std::size_t count) {
  const std::size_t done = mDone.fetch_add(count) + count;
  if (!mIsShown) return;
  const std::unique_lock<std::mutex> lock(mMutex, std::try_to_lock);
  if (!lock) return;  // another thread is writing; the next update shows the sum
  const auto now = std::chrono::steady_clock::now();
  if (now - mLastTime < kTimeBetweenUpdates) return;
  mLastTime = now;
  std::fprintf(stderr, "\r%s %3.0f %%", mLabel.c_str(),
               100.0 * static_cast<double>(done) / static_cast<double>(mTotal));
  std::fflush(stderr);
}

}  // namespace qzQuery
