#include <qzMeshQueries/tree/BuildWatch.h>

#include <qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h>

#include <algorithm>

namespace qzMeshQueries::detail {

void BuildWatch::done(double triangles) {
  double before = mDone.load(std::memory_order_relaxed);
  while (!mDone.compare_exchange_weak(before, before + triangles, std::memory_order_relaxed)) {
  }
  if (mOptions.cancel != nullptr) {
    const std::unique_lock<std::mutex> lock(mPolling, std::try_to_lock);
    if (lock.owns_lock() && !mIsCancelled && qzDetail::isCanceled(*mOptions.cancel)) mIsCancelled = true;
    if (mIsCancelled) throw Cancelled();
  }
  if (mOptions.progress && std::this_thread::get_id() == mCaller)
    mOptions.progress(std::min(1.0, (before + triangles) / mTotal));
}

}  // namespace qzMeshQueries::detail
