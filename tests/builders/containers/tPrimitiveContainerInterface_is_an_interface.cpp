#include <doctest/doctest.h>
#include <qzCommonAddOns/builders/qzBVHMeshContainer.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <memory>
#include <type_traits>

#include "support/access/qzVirtualSlots.h"
#include "support/qzBits.h"
#include "support/scenes/qzTestMeshes.h"

using Interface = qzLinearGenericBVHBuilder::tPrimitiveContainerInterface;

namespace {

class OneBox : public Interface {
 public:
  explicit OneBox(bool& destroyed) : mDestroyed(&destroyed) {}
  OneBox(const OneBox&) = default;
  OneBox& operator=(const OneBox&) = default;
  ~OneBox() override { *mDestroyed = true; }
  const qzBBox* getBBox(unsigned int) const override { return &mBBox; }
  unsigned int getQuantity() const override { return 1; }
  qzBBox& box() { return mBBox; }

 private:
  bool* mDestroyed;
  qzBBox mBBox;
};

}  // namespace

TEST_CASE("the interface is abstract, without data members, with a virtual destructor") {
  CHECK(std::is_abstract_v<Interface>);
  CHECK(std::has_virtual_destructor_v<Interface>);
  CHECK(sizeof(Interface) == sizeof(void*));
}

TEST_CASE("getBBox returns a pointer, getQuantity an unsigned int") {
  CHECK(std::is_same_v<decltype(&Interface::getBBox), const qzBBox* (Interface::*)(unsigned int) const>);
  CHECK(std::is_same_v<decltype(&Interface::getQuantity), unsigned int (Interface::*)() const>);
}

#if defined(__GNUC__)
TEST_CASE("the virtual functions are in the order destructor, getBBox, getQuantity") {
  CHECK(qzTest::virtualSlotOf(&Interface::getBBox) == 1);
  CHECK(qzTest::virtualSlotOf(&Interface::getQuantity) == 2);
}
#endif

TEST_CASE("a container can be destroyed through the interface") {
  bool destroyed = false;
  std::unique_ptr<Interface> container = std::make_unique<OneBox>(destroyed);
  container.reset();
  CHECK(destroyed);
}

TEST_CASE("assigning interfaces returns the object and copies nothing") {
  bool destroyed = false;
  OneBox a(destroyed), b(destroyed);
  a.box() = qzBBox(Wm4::Vector3<float>(1.0f, 2.0f, 3.0f));
  Interface& target = b;
  CHECK(&(target = a) == &target);
  CHECK(qzTest::sameBits(b.box(), qzBBox()));
}

TEST_CASE("both containers implement the interface") {
  CHECK(std::is_convertible_v<qzBVHTriangleContainer*, Interface*>);
  CHECK(std::is_convertible_v<qzBVHMeshContainer*, Interface*>);
  qz::qzTriMesh mesh = qzTest::terrainMesh(2, 91);
  const qzBVHTriangleContainer triangles(mesh);
  const qzBVHMeshContainer meshes({&mesh});
  const Interface& asTriangles = triangles;
  const Interface& asMeshes = meshes;
  CHECK(asTriangles.getQuantity() == 8);
  CHECK(asTriangles.getBBox(7) == triangles.getBBox(7));
  CHECK(asMeshes.getQuantity() == 1);
  CHECK(asMeshes.getBBox(0) == meshes.getBBox(0));
}
