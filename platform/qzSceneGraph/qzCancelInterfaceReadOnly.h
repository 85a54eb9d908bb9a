#pragma once
// qz::qzCancelInterfaceReadOnly: asks whether the caller wants a long operation abandoned. Stand-in for the scene
// library's type.

namespace qz {

class qzCancelInterfaceReadOnly {
 public:
  virtual ~qzCancelInterfaceReadOnly();

  /// True when the work should stop; once true it must stay true until the operation has returned.
  virtual bool isCanceled() const = 0;
};

}  // namespace qz
