#pragma once
// Whether to stop.

namespace qz {

class qzCancelInterfaceReadOnly {
 public:
  virtual ~qzCancelInterfaceReadOnly();
  virtual bool canceled() const = 0;
};

}  // namespace qz
