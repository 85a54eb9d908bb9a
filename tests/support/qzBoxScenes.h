#pragma once
// Lists of boxes for builders: ordinary ones, degenerate ones and ones that break arithmetic.

#include <qzCommonAddOns/geometry/qzBBox.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

struct Scene {
  std::string name;
  std::vector<qzBBox> boxes;
};

/// Scenes of up to count boxes, one of every kind.
std::vector<Scene> scenesOfEveryKind(std::uint32_t count, std::uint32_t seed);

/// Proper boxes of edges up to size in the cube from -1 to 1.
std::vector<qzBBox> randomBoxes(std::uint32_t count, float size, std::uint32_t seed);

/// Boxes of one point each.
std::vector<qzBBox> pointBoxes(const std::vector<Wm4::Vector3<float>>& points);

struct Cell {
  std::uint32_t x, y, z;
};

/// A box in the middle of every given cell of a grid of 2^bits cells of edge 1, which starts at the origin. A box in
/// the first and one in the last cell come before them, so that a build of these bits makes exactly this grid.
std::vector<qzBBox> boxesInCells(const std::vector<Cell>& cells, unsigned int bits);

}  // namespace qzTest
