#pragma once
// A cost functor from a caller that is compiled without run-time type information.

#include <qzCommonAddOns/builders/qzSAHFunctionoid.h>

#include <memory>

namespace qzTest {

/// The cost of qzDefaultSAH, by a class of its own.
std::unique_ptr<qzSAHFunctionoid> makeCostWithoutTypeInformation();

/// A class derived from qzDefaultSAH that returns another cost: the item count alone.
std::unique_ptr<qzSAHFunctionoid> makeDerivedCostWithoutTypeInformation();

/// A qzDefaultSAH, made by that code.
std::unique_ptr<qzSAHFunctionoid> makeDefaultCostWithoutTypeInformation();

}  // namespace qzTest
