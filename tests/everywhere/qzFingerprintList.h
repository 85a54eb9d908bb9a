#pragma once
// qzFingerprintList: the recorded fingerprints, a text of lines "scene part hash".

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace qzTest {

class FingerprintList {
 public:
  using Key = std::pair<std::string, std::string>;  // scene, part

  /// Throws a std::runtime_error that names the file, and the line if it is one.
  static FingerprintList read(const std::string& path);
  void write(const std::string& path) const;

  std::map<Key, std::uint64_t> hashes;
};

/// The sixteen digits of a hash.
std::string hexadecimal(std::uint64_t hash);

}  // namespace qzTest
