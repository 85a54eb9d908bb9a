#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>

namespace qz {

qzCancelInterfaceReadOnly::~qzCancelInterfaceReadOnly() = default;

}  // namespace qz
