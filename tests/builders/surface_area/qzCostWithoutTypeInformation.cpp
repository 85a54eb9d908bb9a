// Compiled with -fno-rtti.

#include "builders/surface_area/qzCostWithoutTypeInformation.h"

namespace qzTest {

namespace {

class Cost : public qzSAHFunctionoid {
 public:
  float f(const qzBBox& box, unsigned int count) const override { return qzDefaultSAH().f(box, count); }
  ~Cost() override = default;
};

class DerivedCost : public qzDefaultSAH {
 public:
  float f(const qzBBox&, unsigned int count) const override { return static_cast<float>(count); }
};

}  // namespace

std::unique_ptr<qzSAHFunctionoid> makeCostWithoutTypeInformation() {
  return std::make_unique<Cost>();
}

std::unique_ptr<qzSAHFunctionoid> makeDerivedCostWithoutTypeInformation() {
  return std::make_unique<DerivedCost>();
}

std::unique_ptr<qzSAHFunctionoid> makeDefaultCostWithoutTypeInformation() {
  return std::make_unique<qzDefaultSAH>();
}

}  // namespace qzTest
