#include <tbb/parallel_for.h>
#include <toolkit/qzThreads.h>

#include <algorithm>

namespace qzToolkit {

qzThreads::qzThreads(int nbThreads)
    : mNbThreads(nbThreads > 0 ? nbThreads : tbb::this_task_arena::max_concurrency()),
      mLimit(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(mNbThreads)),
      mArena(mNbThreads) {}

void qzThreads::forEachBlock(std::size_t count, std::size_t blockSize,
                             const std::function<void(std::size_t, std::size_t)>& body) const {
  const std::size_t nbBlocks = count / blockSize + (count % blockSize != 0);
  mArena.execute([&] {
    tbb::parallel_for(std::size_t(0), nbBlocks,
                      [&](std::size_t block) { body(block * blockSize, std::min(count, (block + 1) * blockSize)); });
  });
}

}  // namespace qzToolkit
