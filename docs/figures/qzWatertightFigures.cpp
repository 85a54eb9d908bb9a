#include <qzMeshQueries/kernel/RayTriangle.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "qzFigures.h"
#include "qzSvg.h"

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;

namespace {

const std::string kGrey = "fill=\"#777\"";
const std::string kRayLine = "stroke=\"#c0392b\" stroke-width=\"2\"";
const std::string kThinLine = "stroke=\"#777\" stroke-width=\"1\"";
const std::string kDashed = "stroke=\"#777\" stroke-width=\"1\" stroke-dasharray=\"5 4\"";
const std::string kTriangle = "fill=\"#cfe3f7\" stroke=\"#555\" stroke-width=\"1\"";
const std::string kCrossed = "fill=\"#5b9bd5\" stroke=\"#555\" stroke-width=\"1\"";

// Errors of the image of a vertex along x and y, in units of 2^-24 of the vertex's reach.
Point imageError(const Ray& ray, const float vertex[3]) {
  RayFrame frame = {};
  if (!makeRayFrame(ray, frame)) return {0, 0};
  const SeenVertex seen = see(frame, vertex);
  // Differences of such floats and their products with a rounded shear are exact to 2^-50.
  double d[3], reach = 0;
  for (int i = 0; i < 3; ++i) {
    d[i] = double(vertex[frame.axis[i]]) - double(ray.origin[frame.axis[i]]);
    reach = std::max(reach, std::fabs(d[i]));
  }
  const auto exact = [&](int i) {
    return d[i] - double(ray.direction[frame.axis[i]]) / double(ray.direction[frame.axis[2]]) * d[2];
  };
  const double unit = std::ldexp(reach, -24);
  return {(double(seen.x) - exact(0)) / unit, (double(seen.y) - exact(1)) / unit};
}

}  // namespace

void drawImageErrors(const std::string& folder) {
  Svg svg(480, 480);
  const double scale = 32, middle = 240;
  const auto place = [&](Point error) { return Point{middle + scale * error.x, middle - scale * error.y}; };
  svg.box(place({-6, 6}), 12 * scale, 12 * scale, "fill=\"#f6f9fc\" stroke=\"#c0392b\" stroke-width=\"2\"");
  svg.line(place({-6, 0}), place({6, 0}), kThinLine);
  svg.line(place({0, -6}), place({0, 6}), kThinLine);
  for (int tick = -6; tick <= 6; tick += 2) {
    svg.words({place({double(tick), 0}).x, place({0, -6}).y + 18}, std::to_string(tick), "middle", 12, kGrey);
    svg.words({place({-6, 0}).x - 8, place({0, double(tick)}).y + 4}, std::to_string(tick), "end", 12, kGrey);
  }
  svg.words({middle, 26}, "errors of X and Y in units of uR, and the bound of 6", "middle");

  // Counted in cells of a quarter by a quarter.
  const int cells = 48;
  std::vector<std::array<int, cells>> counts(cells);
  std::mt19937 bits(24);
  const auto between = [&](float low, float high) { return low + (high - low) * (float(bits() >> 8) * 0x1p-24f); };
  for (int i = 0; i < 200000; ++i) {
    Ray ray = {{between(-1, 1), between(-1, 1), between(-1, 1)}, 0, {between(-1, 1), between(-1, 1), 1}};
    const float vertex[3] = {between(-1, 1), between(-1, 1), between(-1, 1)};
    const Point error = imageError(ray, vertex);
    const int column = int(std::floor(4 * error.x)) + cells / 2, row = int(std::floor(4 * error.y)) + cells / 2;
    ++counts.at(static_cast<std::size_t>(row)).at(static_cast<std::size_t>(column));
  }
  for (int row = 0; row < cells; ++row)
    for (int column = 0; column < cells; ++column) {
      const int count = counts[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
      if (count == 0) continue;
      const Point corner = place({(column - cells / 2) / 4.0, (row + 1 - cells / 2) / 4.0});
      // One vertex is pale, four times as many are a shade darker.
      const std::string fill = count < 4     ? "#cfe0f0"
                               : count < 16  ? "#a5c4e2"
                               : count < 64  ? "#6f9fcb"
                               : count < 256 ? "#3f76ab"
                                             : "#1f4e79";
      svg.box(corner, scale / 4, scale / 4, "fill=\"" + fill + "\"");
    }
  svg.write(folder + "/image-errors.svg");
}

namespace {

// Draws triangles of the plane z = 0 as a ray along the z axis sees them: dark those that the kernel says are crossed.
void drawFan(Svg& svg, Point middle, double scale, const std::vector<std::vector<Point>>& triangles) {
  const auto place = [&](Point p) { return Point{middle.x + scale * p.x, middle.y - scale * p.y}; };
  RayFrame frame = {};
  makeRayFrame({{0, 0, 1}, 0, {0, 0, 1}}, frame);
  for (const std::vector<Point>& triangle : triangles) {
    float at[3][3];
    std::vector<Point> drawn;
    for (std::size_t i = 0; i < 3; ++i) {
      at[i][0] = static_cast<float>(triangle[i].x);
      at[i][1] = static_cast<float>(triangle[i].y);
      at[i][2] = 0;
      drawn.push_back(place(triangle[i]));
    }
    Crossing crossing = {};
    svg.polygon(drawn, crossesLine(frame, at[0], at[1], at[2], crossing) ? kCrossed : kTriangle);
  }
  // The displaced origin, with an e that can be seen.
  const double e = 0.35;
  const Point displaced = place({e, e * e});
  svg.line(place({0, 0}), displaced, kRayLine);
  svg.circle(place({0, 0}), 5, "fill=\"#c0392b\"");
  svg.circle(displaced, 4, "fill=\"#fff\" stroke=\"#c0392b\" stroke-width=\"2\"");
  svg.words({displaced.x + 10, displaced.y - 8}, "D = (e, e²)", "start", 13, "fill=\"#222\" font-weight=\"bold\"");
}

}  // namespace

void drawCrossing(const std::string& folder) {
  Svg svg(860, 330);
  const Point a{-1, -0.5}, b{1, 0.5}, c{-0.6, 1}, d{0.8, -0.9};
  svg.words({215, 24}, "the ray passes through a common edge", "middle");
  drawFan(svg, {215, 170}, 120, {{a, b, c}, {b, a, d}});

  const Point around[] = {{1, -0.35}, {0.75, 0.75}, {-0.2, 1}, {-1, 0.45}, {-0.8, -0.7}, {0.2, -1}};
  std::vector<std::vector<Point>> fan;
  for (std::size_t i = 0; i < 6; ++i) fan.push_back({{0, 0}, around[i], around[(i + 1) % 6]});
  svg.words({640, 24}, "and through a common vertex", "middle");
  drawFan(svg, {640, 175}, 120, fan);
  svg.write(folder + "/crossing.svg");
}

void drawDepthError(const std::string& folder) {
  // Seen from the side: the image to the right, depth upwards. The error of the image is drawn large.
  Svg svg(760, 360);
  const Point hit{360, 200};
  const double slope = 0.55, error = 90;
  const auto plane = [&](double x) { return hit.y - slope * (x - hit.x); };
  svg.box({hit.x - error, 40}, 2 * error, 280, "fill=\"#fdecea\"");
  svg.line({hit.x, 30}, {hit.x, 330}, kRayLine);
  svg.words({hit.x + 6, 44}, "ray", "start", 13, "fill=\"#c0392b\"");
  svg.line({90, plane(90)}, {640, plane(640)}, "stroke=\"#1f4e79\" stroke-width=\"3\"");
  svg.words({632, plane(640) - 12}, "triangle", "end", 13, "fill=\"#1f4e79\"");

  const Point q{hit.x + error * 0.7, plane(hit.x + error * 0.7)};
  svg.line({hit.x - 120, q.y}, {q.x, q.y}, kDashed);
  svg.line({hit.x - 120, hit.y}, hit, kDashed);
  svg.circle(hit, 5, "fill=\"#c0392b\"");
  svg.circle(q, 5, "fill=\"#1f4e79\"");
  svg.words({q.x + 10, q.y + 16}, "Q", "start", 14);
  svg.words({hit.x - 126, (q.y + hit.y) / 2 + 4}, "up to 8.5 uR slope", "end");
  svg.line({hit.x - 112, q.y + 1}, {hit.x - 112, hit.y - 1}, "stroke=\"#222\" stroke-width=\"2\"");

  svg.line({hit.x, 336}, {hit.x + error, 336}, "stroke=\"#222\" stroke-width=\"2\"");
  svg.words({hit.x + error + 8, 340}, "8.5 uR: error of the image", "start");
  svg.write(folder + "/depth-error.svg");
}

void drawMargin(const std::string& folder) {
  // One axis of the box upwards, depth to the right. Errors are drawn large.
  Svg svg(800, 380);
  const Point corner{300, 150};
  const double width = 260, height = 120, margin = 46, beside = 20, s = 0.45;
  const double lo = corner.y + height, hi = corner.y;  // pixels grow downwards
  svg.box({60, hi - margin}, 680, height + 2 * margin, "fill=\"#fdf6e3\"");
  svg.box({60, hi}, 680, height, "fill=\"#eef4fa\"");
  svg.box(corner, width, height, "fill=\"#cfe3f7\" stroke=\"#1f4e79\" stroke-width=\"2\"");
  svg.words({corner.x + 8, lo - 10}, "box", "start", 13, "fill=\"#1f4e79\"");

  // The hit is beside the upper right corner, where the ray leaves the box.
  const Point p{corner.x + width - 30, hi - beside};
  const auto ray = [&](double x) { return p.y - s * (x - p.x); };
  const auto depthAt = [&](double y) { return p.x - (y - p.y) / s; };
  svg.line({70, ray(70)}, {700, ray(700)}, kRayLine);
  svg.words({704, ray(700) + 4}, "ray", "start", 13, "fill=\"#c0392b\"");
  svg.circle(p, 5, "fill=\"#c0392b\"");
  svg.words({p.x - 6, p.y - 8}, "P", "end", 14);

  svg.words({736, hi + 14}, "hi", "end", 12, kGrey);
  svg.words({736, lo - 4}, "lo", "end", 12, kGrey);
  svg.words({736, hi - margin + 14}, "hi + margin", "end", 12, kGrey);
  svg.words({736, lo + margin - 4}, "lo - margin", "end", 12, kGrey);
  svg.line({p.x + 22, hi}, {p.x + 22, p.y}, "stroke=\"#222\" stroke-width=\"2\"");
  svg.words({depthAt(hi - margin) + 8, hi - 6}, "up to 7.1 uR", "start");

  const auto mark = [&](double y, const std::string& text, double at) {
    svg.line({depthAt(y), y}, {depthAt(y), at - 14}, kDashed);
    svg.words({depthAt(y), at}, text, "middle");
  };
  mark(lo + margin, "near", 366);
  mark(hi - margin, "far", 366);
  mark(hi, "depth at hi", 366);
  svg.line({p.x, p.y}, {p.x, 330}, kDashed);
  svg.words({p.x, 344}, "hit", "middle");
  svg.write(folder + "/margin.svg");
}
