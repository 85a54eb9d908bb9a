#pragma once
// Progress and cancellation of a build that runs on several threads.

#include <qzMeshQueries/MeshTypes.h>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <thread>

namespace qzMeshQueries::detail {

/// Triangles that a task works on between two polls.
inline constexpr std::size_t kTrianglesPerPoll = 8192;

/// Made on the calling thread; done may then be called on any thread.
class BuildWatch {
 public:
  /// total   the sum of all that will be passed to done, in triangles
  BuildWatch(const BuildOptions& options, double total)
      : mOptions(options), mTotal(total), mCaller(std::this_thread::get_id()) {}

  /// Counts triangles as worked on. Polls the cancel interface, unless another thread is polling it, and throws
  /// Cancelled once it has returned true on any thread. On the calling thread it also reports the progress.
  void done(double triangles);

 private:
  const BuildOptions& mOptions;
  const double mTotal;
  const std::thread::id mCaller;
  std::atomic<double> mDone{0};
  std::atomic<bool> mIsCancelled{false};
  std::mutex mPolling;
};

}  // namespace qzMeshQueries::detail
