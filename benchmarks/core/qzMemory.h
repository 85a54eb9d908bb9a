#pragma once
// Counts the bytes that this process asks for, whoever asks: qzMemory.cpp stands in for the malloc family and for mmap.

namespace qzBench {

/// Counts while it lives; one at a time. Blocks count with the size that the allocator gave them, mappings with whole
/// pages, touched or not.
class qzMemoryCount {
 public:
  qzMemoryCount();
  ~qzMemoryCount();
  qzMemoryCount(const qzMemoryCount&) = delete;
  qzMemoryCount& operator=(const qzMemoryCount&) = delete;

  long long getBytes() const;      ///< held now beyond what was held at the start
  long long getPeakBytes() const;  ///< the most so far
};

}  // namespace qzBench
