#pragma once
// As many threads as a test asks for, also on a machine with fewer processors.

#include <tbb/global_control.h>

#include <cstddef>

namespace qzTest {

/// While it lives, pools of this process that are made may run nbThreads.
class AllowedThreads {
 public:
  explicit AllowedThreads(int nbThreads)
      : mControl(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(nbThreads)) {}

 private:
  tbb::global_control mControl;
};

}  // namespace qzTest
