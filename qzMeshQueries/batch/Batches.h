#pragma once
// Many questions on threads.

#include <qzMeshQueries/MeshTypes.h>
#include <qzMeshQueries/tree/Threads.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace qzMeshQueries::detail {

/// Questions that a thread takes at a time.
inline constexpr std::size_t kChunk = 2048;

/// The length of the rows that rays come in, such as those of a picture; 0 if there are none. A row ends where the step
/// to the next ray is at least four times the first step; the second row has to be as long as the first. It changes no
/// answer.
std::size_t findRowLength(const Ray* rays, std::size_t count);

/// Rays that a thread takes at a time: whole rows of tiles of four by four.
inline std::size_t chunkOf(std::size_t rowLength) {
  return rowLength == 0 ? kChunk : (kChunk + 4 * rowLength - 1) / (4 * rowLength) * (4 * rowLength);
}

/// Calls work(begin, end) for ranges that together are 0 to count - 1, on up to so many threads; 0: as many as the
/// machine has. Ranges begin at multiples of chunk.
template <class Work>
void forEachChunk(std::size_t count, std::size_t chunk, int threads, const Work& work) {
  if (count == 0) return;
  if (count <= chunk || nbThreadsOf(threads) == 1) return work(std::size_t(0), count);
  onThreads(threads, [&] {
    forEachRange((count + chunk - 1) / chunk,
                 [&](std::size_t begin, std::size_t end) { work(begin * chunk, std::min(count, end * chunk)); });
  });
}

/// The same for points. Ranges are large, as points are sorted within a range: the more there are, the closer are those
/// that follow each other. But there are enough ranges for all threads.
template <class Work>
void forEachPoints(std::size_t count, int threads, const Work& work) {
  constexpr std::size_t kMost = std::size_t(1) << 18;
  const std::size_t share = count / (4 * std::size_t(nbThreadsOf(threads)));
  const std::size_t part = std::min(std::max(share, kChunk), kMost);
  forEachChunk(count, part, threads, [&](std::size_t begin, std::size_t end) {
    for (std::size_t first = begin; first < end; first += kMost) work(first, std::min(end, first + kMost));
  });
}

/// Collects the lists that append(i, items) appends for i from 0 to count - 1.
template <class T, class Append>
Lists<T> collectLists(std::size_t count, int threads, const Append& append) {
  const std::size_t nbChunks = (count + kChunk - 1) / kChunk;
  std::vector<std::vector<T>> items(nbChunks);
  Lists<T> lists;
  lists.starts.resize(count + 1);
  forEachChunk(count, kChunk, threads, [&](std::size_t begin, std::size_t end) {
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
