#pragma once
// A disk that is soon full.

#include <sys/resource.h>

#include <csignal>

namespace qzTest {

/// While it lives, a file that grows beyond size cannot be written, as on a full disk; by this process and those that
/// it starts.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) : mPreviousHandler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &mPrevious);
    const rlimit limit = {size, mPrevious.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &mPrevious);
    std::signal(SIGXFSZ, mPreviousHandler);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit mPrevious;
  void (*mPreviousHandler)(int);
};

}  // namespace qzTest
