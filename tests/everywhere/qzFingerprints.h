#pragma once
// The fingerprints of a scene: hashes of all results of a library on it, part by part. There are two of these, and a
// program for each: qzCommonAddOns and qzMeshQueries.

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
/// Rays of each kind, and regions.
extern const std::size_t kFewRays, kAllRays, kFewRegions, kAllRegions;

struct FingerprintResult {
  std::vector<Fingerprint> fingerprints;
  std::size_t nbRays = 0, nbHits = 0, nbRegions = 0;
};

FingerprintResult takeFingerprints(const EverywhereScene& scene, const FingerprintEffort& effort);

}  // namespace qzTest
