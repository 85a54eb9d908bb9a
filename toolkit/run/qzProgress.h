#pragma once
// qzProgress: how a long operation reports its progress. The caller implements it and owns the object; the toolkit
// itself shows nothing.

#include <cstddef>

namespace qzToolkit {

class qzProgress {
 public:
  virtual ~qzProgress() = default;

  /// count more units of work are done; the operation says what its units are. Called from any thread, several at once.
  virtual void advance(std::size_t count) = 0;
};

}  // namespace qzToolkit
