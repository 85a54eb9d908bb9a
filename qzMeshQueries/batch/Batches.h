#pragma once
// Many questions on threads.

#include <qzMeshQueries/MeshTypes.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace qzMeshQueries::detail {

/// Questions that a thread takes at a time.
inline constexpr std::size_t kChunk = 2048;

/// Calls work(begin, end) for parts of 0..count, on so many threads; 0: as many as the machine has.
template <class Work>
void forEachChunk(std::size_t count, int threads, const Work& work) {
  if (count == 0) return;
  if (threads == 1 || count <= kChunk) return work(std::size_t(0), count);
  tbb::task_arena arena(threads > 0 ? threads : tbb::task_arena::automatic);
  arena.execute([&] {
    tbb::parallel_for(tbb::blocked_range<std::size_t>(0, (count + kChunk - 1) / kChunk, 1), [&](const auto& chunks) {
      work(chunks.begin() * kChunk, std::min(count, chunks.end() * kChunk));
    });
  });
}

/// The lists that append(i, items) makes for i in 0..count.
template <class T, class Append>
Lists<T> collectLists(std::size_t count, int threads, const Append& append) {
  const std::size_t nbChunks = (count + kChunk - 1) / kChunk;
  std::vector<std::vector<T>> items(nbChunks);
  Lists<T> lists;
  lists.starts.resize(count + 1);
  forEachChunk(count, threads, [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      std::vector<T>& own = items[i / kChunk];
      const std::size_t before = own.size();
      append(i, own);
      lists.starts[i + 1] = own.size() - before;
    }
  });
  for (std::size_t i = 0; i < count; ++i) lists.starts[i + 1] += lists.starts[i];
  lists.items.reserve(lists.starts[count]);
  for (std::vector<T>& own : items) {
    lists.items.insert(lists.items.end(), own.begin(), own.end());
    std::vector<T>().swap(own);
  }
  return lists;
}

}  // namespace qzMeshQueries::detail
