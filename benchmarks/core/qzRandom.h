#pragma once
// Random numbers that are the same on every machine: raw words of std::mt19937, whose sequence the standard fixes, and
// none of the standard's distributions, whose results it does not fix.

#include <random>

#include <benchmarks/core/qzVectors.h>

namespace qzBench {

class qzRandom {
 public:
  explicit qzRandom(unsigned seed) : mWords(seed) {}

  /// Uniform in [0, 1).
  float unit() { return float(static_cast<unsigned>(mWords()) >> 8) * (1.0f / 16777216.0f); }
  unsigned below(unsigned count) {
    return static_cast<unsigned>((mWords() * static_cast<unsigned long long>(count)) >> 32);
  }

  tVector inUnitCube() {
    const float x = unit(), y = unit(), z = unit();
    return tVector(x, y, z);
  }

  /// Uniform on the sphere of radius 1.
  tVector onUnitSphere() {
    for (;;) {
      const tVector p = inUnitCube();
      const tVector centred(2.0f * p[0] - 1.0f, 2.0f * p[1] - 1.0f, 2.0f * p[2] - 1.0f);
      const float square = dot(centred, centred);
      if (square > 0.01f && square <= 1.0f) return normalised(centred);
    }
  }

 private:
  std::mt19937 mWords;
};

}  // namespace qzBench
