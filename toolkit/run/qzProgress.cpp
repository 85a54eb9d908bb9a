#include <toolkit/run/qzProgress.h>

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace qzToolkit {

qzProgress::qzProgress(std::string label, std::size_t total, bool enabled)
    : mLabel(std::move(label)), mTotal(total), mShown(enabled && total > 0 && ::isatty(STDERR_FILENO) == 1) {}

qzProgress::~qzProgress() {
  if (mShown) std::fputs("\r\033[K", stderr);  // clears the line
}

void qzProgress::advance(std::size_t count) {
  const std::size_t done = mDone.fetch_add(count) + count;
  if (!mShown) return;
  const std::unique_lock<std::mutex> lock(mMutex, std::try_to_lock);
  if (!lock) return;  // another thread is writing: nothing is lost
  const auto now = std::chrono::steady_clock::now();
  if (now - mLastTime < std::chrono::milliseconds(100)) return;
  mLastTime = now;
  std::fprintf(stderr, "\r%s %3.0f %%", mLabel.c_str(),
               100.0 * static_cast<double>(done) / static_cast<double>(mTotal));
  std::fflush(stderr);
}

}  // namespace qzToolkit
