#pragma once
// Axes as component numbers.

namespace qzDetail {

constexpr unsigned int kAxisWordX = 0x00000000u, kAxisWordY = 0x40000000u;

/// Component number of an axis word (qzBBox::tAxis); any other value is z.
inline int componentOf(unsigned int axis) {
  return axis == kAxisWordX ? 0 : axis == kAxisWordY ? 1 : 2;
}

}  // namespace qzDetail
