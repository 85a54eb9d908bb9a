#pragma once
// The instruction sets that walks are compiled for, the same in every source. Comes before Highway's headers.

// One set of four lanes, one of eight and one of sixteen are enough. On other processors one lane has to do.
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3_DL | HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128)
