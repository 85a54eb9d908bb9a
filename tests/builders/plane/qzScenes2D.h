#pragma once
// Points, boxes and bounds for the 2D builder: ordinary ones, degenerate ones and ones that break arithmetic.

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

/// Scenes of up to count primitives, one of every kind.
std::vector<Scene2D> scenesOfEveryKind(std::uint32_t count, std::uint32_t seed);

/// Points between (-1, -1) and (1, 1), each in the middle of a box of edges up to size, within the bounds of the
/// points.
Scene2D randomScene(std::uint32_t count, float size, std::uint32_t seed);

/// One point each as point and box, within the bounds of the points.
Scene2D pointScene(const std::vector<Wm4::Vector2<float>>& points);

struct Cell2D {
  std::uint32_t x, y;
};

/// A point in the middle of every given cell of a grid of 2^bits cells of edge 1, which starts at the origin and which
/// a build of these bits makes of the bounds.
Scene2D sceneInCells(const std::vector<Cell2D>& cells, unsigned int bits);

}  // namespace qzTest
