#pragma once
// qzChildProcess: work of others' code that may crash, leak, never end or ask for all memory, done in a process of its
// own. This process only sees the bytes that come out, and learns why when too few come.

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
    std::size_t mMemory;  ///< bytes, beyond what this process has asked for by now
  };

  /// The way out of the process.
  class tOutput {
   public:
    explicit tOutput(int descriptor) : mDescriptor(descriptor) {}
    void write(const void* bytes, std::size_t size) const;

   private:
    int mDescriptor;
  };

  /// What read throws; what() ends a sentence: "broke down (Segmentation fault)".
  class tFailure : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  /// Starts work in a copy of this process, of which only the calling thread goes on there. An exception of work ends
  /// the process. Its standard output and standard error lead nowhere.
  /// cancel  ends the waits of read in this process; work does not see it
  /// Failure: throws a tFailure when no process can be started.
  qzChildProcess(const tLimits& limits, const std::function<void(const tOutput&)>& work,
                 const tCancel* cancel = nullptr);
  /// Ends the process, whatever it is doing.
  ~qzChildProcess();
  qzChildProcess(const qzChildProcess&) = delete;
  qzChildProcess& operator=(const qzChildProcess&) = delete;

  /// Waits for the next size bytes that the work writes. Throws a tFailure when the process has ended without them.
  void read(void* bytes, std::size_t size);

 private:
  [[noreturn]] void fail();

  const tCancel* mCancel;
  pid_t mProcess = -1;
  int mInput = -1;
};

}  // namespace qzToolkit
