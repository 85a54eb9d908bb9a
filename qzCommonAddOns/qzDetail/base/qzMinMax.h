#pragma once
// Minimum and maximum in the form that decides NaN and signed zeros in boxes and builders: the value at hand stays
// unless the other is strictly smaller (larger).

namespace qzDetail {

inline float minOf(float atHand, float other) {
  return other < atHand ? other : atHand;
}
inline float maxOf(float atHand, float other) {
  return other > atHand ? other : atHand;
}

}  // namespace qzDetail
