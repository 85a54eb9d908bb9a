#pragma once
// qzDescriptor: owns a file descriptor and closes it. Standard streams (0 to 2) stay open.

#include <unistd.h>

#include <utility>

namespace qzToolkit {

class qzDescriptor {
 public:
  /// Takes ownership of a descriptor; a negative number is none.
  explicit qzDescriptor(int number = -1) : mNumber(number) {}
  qzDescriptor(qzDescriptor&& o) noexcept : mNumber(o.release()) {}
  qzDescriptor& operator=(qzDescriptor&& o) noexcept {
    std::swap(mNumber, o.mNumber);
    return *this;
  }
  ~qzDescriptor() {
    if (mNumber > STDERR_FILENO) ::close(mNumber);
  }

  bool isOpen() const { return mNumber >= 0; }
  int get() const { return mNumber; }
  /// Gives up ownership: the caller closes the descriptor.
  int release() { return std::exchange(mNumber, -1); }

 private:
  int mNumber;
};

}  // namespace qzToolkit
