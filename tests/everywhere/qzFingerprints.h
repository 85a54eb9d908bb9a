#pragma once
// The fingerprints of a scene: hashes of all results of the library on it, part by part.

#include "everywhere/qzEverywhereScenes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

struct Fingerprint {
  std::string part;
  std::uint64_t hash;
};

/// How many queries are run. A short run has the first few queries of each kind and gives the fingerprints of those; a
/// full run gives both these and those of all queries, which are taken over all answers.
struct FingerprintEffort {
  bool isShort = false;
  int nbThreads = 1;
};
/// Rays of each of seven kinds, and regions.
constexpr std::size_t kFewRays = 500, kAllRays = 20000, kFewRegions = 100, kAllRegions = 1000;

struct FingerprintResult {
  std::vector<Fingerprint> fingerprints;
  std::size_t nbRays = 0, nbHits = 0, nbRegions = 0;
};

FingerprintResult takeFingerprints(const EverywhereScene& scene, const FingerprintEffort& effort);

}  // namespace qzTest
