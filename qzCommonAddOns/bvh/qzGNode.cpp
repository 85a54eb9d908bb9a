#include <qzCommonAddOns/bvh/qzGNode.h>
#include <qzCommonAddOns/qzDetail/qzFloatMode.h>

float qzGNode::getSplitPlane() const {
  const qzDetail::tFloatMode mode;
  const unsigned int axis = getAxis();
  const int i = axis == qzBBox::eAxisX ? 0 : axis == qzBBox::eAxisY ? 1 : 2;
  const float min = mBBox.getMinPoint()[i], max = mBBox.getMaxPoint()[i];
  return (static_cast<float>(mRightAndCount >> 28) / 15.0f) * (max - min) + min;
}
