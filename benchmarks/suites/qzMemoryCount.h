#pragma once
// qzMemoryCount: counts the bytes that the whole process allocates. Its source replaces the malloc family and mmap, so
// only the program that counts links it.

namespace qzBench {

/// Counts while it lives; one at a time. A block counts with its usable size, a mapping with whole pages, touched or
/// not.
class qzMemoryCount {
 public:
  qzMemoryCount();
  ~qzMemoryCount();
  qzMemoryCount(const qzMemoryCount&) = delete;
  qzMemoryCount& operator=(const qzMemoryCount&) = delete;

  long long getBytes() const;      ///< allocated since the start and not yet freed
  long long getPeakBytes() const;  ///< maximum of getBytes so far
};

}  // namespace qzBench
