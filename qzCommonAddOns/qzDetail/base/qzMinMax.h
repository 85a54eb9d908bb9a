#pragma once
// Minimum and maximum in the form that decides what boxes and builders do with NaN and signed zeros: atHand is the
// result unless other is strictly smaller (larger).

namespace qzDetail {

inline float minOf(float atHand, float other) {
  return other < atHand ? other : atHand;
}
inline float maxOf(float atHand, float other) {
  return other > atHand ? other : atHand;
}

}  // namespace qzDetail
