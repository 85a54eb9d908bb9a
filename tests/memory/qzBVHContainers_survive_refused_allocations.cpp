// The primitive containers when an allocation fails.

#include <qzCommonAddOns/builders/qzBVHMeshContainer.h>
#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>

#include <doctest/doctest.h>

#include "support/qzBits.h"
#include "support/qzRefusals.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

template <class Container>
bool sameBoxes(const Container& a, const Container& b) {
  if (a.getQuantity() != b.getQuantity()) return false;
  for (unsigned int i = 0; i < a.getQuantity(); ++i) {
    if (!sameBits(*a.getBBox(i), *b.getBBox(i))) return false;
  }
  return true;
}

// Construction, copies and assignments, each allocation refused.
template <class Container, class Input, class SmallerInput>
void checkContainer(const Input& input, const SmallerInput& smallerInput) {
  const Container expected(input);
  REQUIRE(expected.getQuantity() > 1);
  const std::uint64_t nbOfConstruction = refuseEachInTurn([&](const Refusal& refusal) {
    const bool isRefused = refusal.strikes([&] { const Container container(input); });
    CHECK(sameBoxes(Container(input), expected));
    return isRefused;
  });
  const std::uint64_t nbOfCopy = refuseEachInTurn([&](const Refusal& refusal) {
    const bool isRefused = refusal.strikes([&] { static_cast<void>(Container(expected)); });
    CHECK(sameBoxes(Container(expected), Container(input)));
    return isRefused;
  });
  const std::uint64_t nbOfAssignment = refuseEachInTurn([&](const Refusal& refusal) {
    Container target(smallerInput);
    const bool isRefused = refusal.strikes([&] { target = expected; });
    CHECK(target.getQuantity() == (isRefused ? 1 : expected.getQuantity()));
    target = expected;
    CHECK(sameBoxes(target, expected));
    return isRefused;
  });
  CHECK(nbOfConstruction == 1);
  CHECK(nbOfCopy == 1);
  CHECK(nbOfAssignment == 1);
}

}  // namespace

TEST_CASE("a triangle container without memory throws, and the next one has the right boxes") {
  checkContainer<qzBVHTriangleContainer>(terrainMesh(5, 11), soupMesh(1, 12));
}

TEST_CASE("a mesh container without memory throws, and the next one has the right boxes") {
  qz::qzTriMesh first = soupMesh(4, 13), second = soupMesh(4, 14);
  checkContainer<qzBVHMeshContainer>(std::vector<qz::qzTriMesh*>{&first, &second},
                                     std::vector<qz::qzTriMesh*>{&second});
}
