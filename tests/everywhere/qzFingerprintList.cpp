#include "everywhere/qzFingerprintList.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace qzTest {

std::string hexadecimal(std::uint64_t hash) {
  std::string digits;
  for (int shift = 60; shift >= 0; shift -= 4) digits += "0123456789abcdef"[hash >> shift & 15];
  return digits;
}

FingerprintList FingerprintList::read(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error("cannot read " + path);
  FingerprintList list;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    std::string scene, part, hash, rest;
    std::uint64_t value = 0;
    words >> scene >> part >> hash;
    std::istringstream(hash) >> std::hex >> value;
    if (hash.size() != 16 || hexadecimal(value) != hash || words >> rest) {
      throw std::runtime_error(path + ", line " + std::to_string(number) + ": not a scene, a part and a hash");
    }
    if (!list.hashes.emplace(Key(scene, part), value).second) {
      throw std::runtime_error(path + ", line " + std::to_string(number) + ": that part was there before");
    }
  }
  return list;
}

void FingerprintList::write(const std::string& path) const {
  std::ofstream file(path);
  file << "# Fingerprints that every build of the library must reproduce: scene, part, hash.\n"
          "# Written by qzFingerprints --write, which is for changes that are meant to change results.\n";
  const auto column = [](const std::string& word, std::size_t width) {
    return word + std::string(width - std::min(width - 1, word.size()), ' ');
  };
  for (const auto& [key, hash] : hashes) {
    file << column(key.first, 14) << column(key.second, 28) << hexadecimal(hash) << '\n';
  }
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
}

}  // namespace qzTest
