#pragma once
// Points, boxes and bounds for the 2D builder: ordinary, degenerate, and ones whose arithmetic overflows or gives NaN.

#include <Wm4/Vector2.h>
#include <qzCommonAddOns/geometry/qzBBox2D.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

struct Scene2D {
  std::string name;
  std::vector<Wm4::Vector2<float>> points;
  std::vector<qzBBox2D> boxes;  // as many as points
  qzBBox2D bounds;
};

/// A scene of every kind, of up to count primitives.
std::vector<Scene2D> scenesOfEveryKind(std::uint32_t count, std::uint32_t seed);

/// Points from (-1, -1) to (1, 1), each the centre of a box of edges up to size. The bounds are those of the points.
Scene2D randomScene(std::uint32_t count, float size, std::uint32_t seed);

/// Every point with the box of that point. The bounds are those of the points.
Scene2D pointScene(const std::vector<Wm4::Vector2<float>>& points);

struct Cell2D {
  std::uint32_t x, y;
};

/// A point in the centre of every given cell of a grid of 2^bits cells of edge 1 that starts at the origin. The bounds
/// are such that a build with this many bits per axis uses exactly this grid.
Scene2D sceneInCells(const std::vector<Cell2D>& cells, unsigned int bits);

}  // namespace qzTest
