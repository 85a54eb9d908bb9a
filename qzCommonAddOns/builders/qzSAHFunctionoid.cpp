#include <qzCommonAddOns/builders/qzSAHFunctionoid.h>

#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/build/qzSurfaceAreaCost.h>

qzSAHFunctionoid::~qzSAHFunctionoid() = default;

qzDefaultSAH::~qzDefaultSAH() = default;

float qzDefaultSAH::f(const qzBBox& box, unsigned int count) const {
  const qzDetail::tFloatMode mode;
  return mode.keep(qzDetail::surfaceAreaCost(box, count));
}
