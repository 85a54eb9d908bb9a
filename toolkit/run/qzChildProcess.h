#pragma once
// qzChildProcess: runs code that may crash, leak, loop for ever or exhaust memory in a forked process. This process
// sees only the bytes that the child writes, and the reason if it ends early.

#include <sys/types.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

namespace qzToolkit {

class qzChildProcess {
 public:
  struct tLimits {
    unsigned mSeconds;    ///< of processor time
    std::size_t mMemory;  ///< bytes beyond what this process has allocated by now
  };

  /// Writes to the parent.
  class tOutput {
   public:
    explicit tOutput(int descriptor) : mDescriptor(descriptor) {}
    void write(const void* bytes, std::size_t size) const;

   private:
    int mDescriptor;
  };

  /// Thrown by read. what() completes a sentence: "failed (Segmentation fault)".
  class tFailure : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  /// Forks and runs work in the child, where only the calling thread exists. An exception thrown by work ends the
  /// child, whose standard output and error are /dev/null.
  /// cancel  ends the waits of read in this process; work does not see it
  /// Failure: throws a tFailure when no process can be started.
  qzChildProcess(const tLimits& limits, const std::function<void(const tOutput&)>& work,
                 const tCancel* cancel = nullptr);
  /// Kills the child if it is still running.
  ~qzChildProcess();
  qzChildProcess(const qzChildProcess&) = delete;
  qzChildProcess& operator=(const qzChildProcess&) = delete;

  /// Waits for the next size bytes that work writes. Throws a tFailure if the child ends before it has written them.
  void read(void* bytes, std::size_t size);

 private:
  [[noreturn]] void fail();

  const tCancel* mCancel;
  pid_t mProcess = -1;
  int mInput = -1;
};

}  // namespace qzToolkit
