#pragma once
// Axes as component numbers.

#include <qzCommonAddOns/geometry/qzBBox.h>

namespace qzDetail {

/// Component number of an axis; every stray value is z.
inline int componentOf(unsigned int axis) {
  return axis == qzBBox::eAxisX ? 0 : axis == qzBBox::eAxisY ? 1 : 2;
}

}  // namespace qzDetail
