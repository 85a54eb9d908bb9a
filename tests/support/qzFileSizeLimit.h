#pragma once
// A limit on file sizes, to test writing to a full disk.

#include <sys/resource.h>

#include <csignal>

namespace qzTest {

/// During its lifetime writing beyond size bytes of a file fails, in this process and those that it starts.
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
