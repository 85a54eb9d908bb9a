#pragma once
// The plain form of the box and triangle test: axis by axis, as in the table of the published algorithm.

#include <Wm4/Vector3.h>
#include <qzCommonAddOns/geometry/qzBBox.h>

namespace qzPlain {

/// Number of the first axis that separates: 1 to 9 an edge across a box axis, 10 to 12 the box axes, 13 the triangle's
/// plane; 0 when none does, so that box and triangle overlap.
int firstSeparatingAxis(const qzBBox& box, const Wm4::Vector3<float>& t0, const Wm4::Vector3<float>& t1,
                        const Wm4::Vector3<float>& t2);

}  // namespace qzPlain
