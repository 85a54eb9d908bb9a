#pragma once
// Lists of boxes for builders: ordinary, degenerate, and ones whose arithmetic overflows, rounds or gives NaN.

#include <qzCommonAddOns/geometry/qzBBox.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

struct Scene {
  std::string name;
  std::vector<qzBBox> boxes;
};

/// A scene of every kind, of up to count boxes.
std::vector<Scene> scenesOfEveryKind(std::uint32_t count, std::uint32_t seed);

/// The boxes of a mesh's triangles.
std::vector<qzBBox> boxesOf(const qz::qzTriMesh& mesh);

/// Whether the boxes agree in every bit.
bool sameBoxes(const std::vector<qzBBox>& a, const std::vector<qzBBox>& b);

/// Proper boxes of edges up to size in the cube from -1 to 1.
std::vector<qzBBox> randomBoxes(std::uint32_t count, float size, std::uint32_t seed);

/// A box of no extent at every point.
std::vector<qzBBox> pointBoxes(const std::vector<Wm4::Vector3<float>>& points);

struct Cell {
  std::uint32_t x, y, z;
};

/// A box in the centre of every given cell of a grid of 2^bits cells of edge 1 that starts at the origin. A box in the
/// first and one in the last cell come before them, so that a build with this many bits per axis uses this very grid.
std::vector<qzBBox> boxesInCells(const std::vector<Cell>& cells, unsigned int bits);

}  // namespace qzTest
