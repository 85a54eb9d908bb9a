#pragma once
// qz::qzCancelInterfaceReadOnly: tells a long operation whether to stop. Stand-in for the scene library's type.

namespace qz {

class qzCancelInterfaceReadOnly {
 public:
  virtual ~qzCancelInterfaceReadOnly();

  /// Whether to stop. Once true it must stay true until the operation has returned.
  virtual bool isCanceled() const = 0;
};

}  // namespace qz
