#pragma once
// qzFingerprint: hash by which two runs tell whether their results are the same to the bit.

#include <cstddef>
#include <string>
#include <vector>

namespace qzBench {

/// FNV-1a over 32-bit words: depends on their order, and is the same on every little-endian machine.
class qzFingerprint {
 public:
  void add(const void* bytes, std::size_t size);  ///< size must be a multiple of 4
  std::string getText() const;                    ///< 8 hexadecimal digits

 private:
  unsigned long long mState = 14695981039346656037ull;
};

/// Hash of the items of a list, which must not have padding.
template <class Item>
std::string fingerprintOf(const std::vector<Item>& items) {
  static_assert(sizeof(Item) % 4 == 0, "whole words only");
  qzFingerprint fingerprint;
  fingerprint.add(items.data(), items.size() * sizeof(Item));
  return fingerprint.getText();
}

}  // namespace qzBench
