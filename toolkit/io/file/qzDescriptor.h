#pragma once
// qzDescriptor: an open file of the system, closed at the end. Standard streams stay open.

#include <unistd.h>

#include <utility>

namespace qzToolkit {

class qzDescriptor {
 public:
  /// Takes over the descriptor with this number; none when it is negative.
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
  /// The number, whose closing is up to the caller now.
  int release() { return std::exchange(mNumber, -1); }

 private:
  int mNumber;
};

}  // namespace qzToolkit
