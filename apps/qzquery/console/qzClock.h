#pragma once
// qzClock: measures how long something takes.

#include <chrono>

namespace qzQuery {

class qzClock {
 public:
  /// Since construction.
  double getSeconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count(); }

 private:
  std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
};

}  // namespace qzQuery
