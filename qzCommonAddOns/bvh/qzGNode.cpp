#include <qzCommonAddOns/bvh/qzGNode.h>

#include <qzCommonAddOns/qzDetail/base/qzAxis.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>

float qzGNode::getSplitPlane() const {
  const qzDetail::tFloatMode mode;
  const int i = qzDetail::componentOf(getAxis());
  const float min = mBBox.getMinPoint()[i], max = mBBox.getMaxPoint()[i];
  return mode.keep((static_cast<float>(mRightAndCount >> 28) / 15.0f) * (max - min) + min);
}
