// The arithmetic of the plain form, against values worked by hand.

#include "support/access/qzBothBuilders.h"
#include "support/qzBits.h"

#include <doctest/doctest.h>

using namespace qzTest;
using qzPlain::cellOf;
using qzPlain::mortonCode;

TEST_CASE("Morton codes interleave x at bit 0, y at bit 1 and z at bit 2 of every three") {
  CHECK(mortonCode(0, 0, 0) == 0);
  CHECK(mortonCode(1, 0, 0) == 1);
  CHECK(mortonCode(0, 1, 0) == 2);
  CHECK(mortonCode(0, 0, 1) == 4);
  CHECK(mortonCode(2, 1, 3) == 46);
  CHECK(mortonCode(0x3FF, 0, 0) == 0x09249249u);
  CHECK(mortonCode(0, 0x3FF, 0) == 0x12492492u);
  CHECK(mortonCode(0, 0, 0x3FF) == 0x24924924u);
  CHECK(mortonCode(0x1FFFFF, 0, 0) == 0x1249249249249249u);
  CHECK(mortonCode(0x1FFFFF, 0x1FFFFF, 0x1FFFFF) == 0x7FFFFFFFFFFFFFFFu);
  CHECK(mortonCode(0, 0, 0x100000) == 0x4000000000000000u);
}

TEST_CASE("cells are truncated to 64 bits, then to the low 32, then limited to the last cell") {
  CHECK(cellOf(0.0f, 0.0f, 1.0f, 4) == 0);
  CHECK(cellOf(3.99f, 0.0f, 1.0f, 4) == 3);
  CHECK(cellOf(3.0f, 1.0f, 2.0f, 4) == 4);
  CHECK(cellOf(16.0f, 0.0f, 1.0f, 4) == 15);
  CHECK(cellOf(-0.99f, 0.0f, 1.0f, 4) == 0);
  CHECK(cellOf(-1.0f, 0.0f, 1.0f, 4) == 15);
  CHECK(cellOf(5.0f, 0.0f, 1.0f, 0) == 0);
  CHECK(cellOf(0x1p32f, 0.0f, 1.0f, 20) == 0);
  CHECK(cellOf(0x1p32f + 512.0f, 0.0f, 1.0f, 20) == 512);
  CHECK(cellOf(-0x1p32f + 256.0f, 0.0f, 1.0f, 20) == 256);
  CHECK(cellOf(0x1p40f, 0.0f, 1.0f, 20) == 0);
  CHECK(cellOf(0x1p31f, 0.0f, 1.0f, 20) == (1u << 20) - 1);
  CHECK(cellOf(0x1p63f, 0.0f, 1.0f, 20) == 0);
  CHECK(cellOf(-0x1p63f, 0.0f, 1.0f, 20) == 0);
  CHECK(cellOf(kMaxFloat, 0.0f, 1.0f, 20) == 0);
  CHECK(cellOf(kInf, 0.0f, 1.0f, 20) == 0);
  CHECK(cellOf(-kInf, 0.0f, 1.0f, 20) == 0);
  CHECK(cellOf(kNaN, 0.0f, 1.0f, 20) == 0);
  CHECK(cellOf(0.0f, 0.0f, kInf, 20) == 0);
}

TEST_CASE("centres outside the grid wrap in the builder as worked by hand") {
  // One ordinary box sets the grid: origin 0, one cell per unit. Inverted boxes around it (min above, max below) do not
  // extend the scene's box, but their centres can be anywhere.
  const auto centredAt = [](float center) {
    const float far = 0x1p36f;
    const float min = center > 0.0f ? 2.0f * center + far : far, max = center > 0.0f ? -far : 2.0f * center - far;
    return qzBBox::Make(min, min, min, max, max, max);
  };
  // Chosen so that (min + max) / 2 is exact.
  const float kCenters[] = {0x1p40f, -0x1p40f, 0x1p36f, -0x1p37f};
  std::vector<qzBBox> boxes = {qzBBox::Make(0.0f, 0.0f, 0.0f, 1048576.0f, 1048576.0f, 1048576.0f)};
  for (const float center : kCenters) boxes.push_back(centredAt(center));
  boxes.push_back(qzBBox::Make(0x1p33f + 2048.0f, 5.0f, 5.0f, 0.0f, 5.0f, 5.0f));  // x: 2^32 + 1024, so cell 1024
  boxes.push_back(qzBBox::Make(0.0f, 5.0f, 5.0f, -3.0f, 5.0f, 5.0f));              // x: -1.5, so the last cell
  BothBuilders both(1);
  CHECK(both.build(boxes, 20));
  // Code 0 for the four that lie at multiples of 2^32, then cells (1024, 5, 5), (last, 5, 5) and the middle of the
  // grid.
  CHECK(both.tree().getPrimitives() == std::vector<unsigned int>{1, 2, 3, 4, 5, 6, 0});
  bool found = false;
  for (const qzGNode& node : both.nodes())
    found |= node.isLeaf() && node.getPrimStartIdx() == 0 && node.getNoPrimitives() == 4;
  CHECK(found);
}
