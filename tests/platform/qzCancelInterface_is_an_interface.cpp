#include <doctest/doctest.h>
#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>

#include <memory>
#include <type_traits>

#include "support/access/qzVirtualSlots.h"

namespace {

class Switch : public qz::qzCancelInterfaceReadOnly {
 public:
  explicit Switch(bool& destroyed) : mDestroyed(destroyed) {}
  ~Switch() override { mDestroyed = true; }
  bool isCanceled() const override { return false; }

 private:
  bool& mDestroyed;
};

}  // namespace

TEST_CASE("a cancel interface can be destroyed through its base") {
  bool destroyed = false;
  std::unique_ptr<qz::qzCancelInterfaceReadOnly> cancel = std::make_unique<Switch>(destroyed);
  cancel.reset();
  CHECK(destroyed);
}

TEST_CASE("qzCancelInterfaceReadOnly is abstract, with a virtual destructor") {
  CHECK(std::is_abstract_v<qz::qzCancelInterfaceReadOnly>);
  CHECK(std::has_virtual_destructor_v<qz::qzCancelInterfaceReadOnly>);
}

#if defined(__GNUC__)
TEST_CASE("isCanceled is the first virtual function after the destructor") {
  CHECK(qzTest::virtualSlotOf(&qz::qzCancelInterfaceReadOnly::isCanceled) == 1);
}
#endif
