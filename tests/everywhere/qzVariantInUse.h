#pragma once
// Which variant of the ray traversal the library chose on this processor.

namespace qzTest {

/// "AVX" or "baseline", observed from the caller: instructions in the AVX encoding clear the upper halves of the
/// registers that they write, those of the baseline leave them alone. A library that is compiled for AVX throughout
/// counts as "AVX".
const char* variantInUse();

}  // namespace qzTest
