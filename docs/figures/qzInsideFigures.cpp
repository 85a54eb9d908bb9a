#include <qzMeshQueries/kernel/EdgeAngle.h>

#include <array>
#include <cmath>
#include <vector>

#include "qzFigures.h"
#include "qzSvg.h"

using namespace qzMeshQueries;
using namespace qzMeshQueries::detail;

namespace {

using Place = std::array<float, 3>;

// A cup: a prism over an octagon without its upper end, leaning to the right. Seen in the plane y = 0.
struct Cup {
  std::vector<std::array<Place, 3>> triangles;
  std::vector<std::array<Place, 2>> boundary;

  Cup() {
    const auto place = [](double along, double across, double y) {
      // Turned by 30 degrees.
      return Place{float(0.87 * across + 0.5 * along), float(y), float(0.87 * along - 0.5 * across)};
    };
    const auto rim = [&](int k, double along) {
      // Vertices of the octagon are not on the plane of the figure.
      static const double kCorners[8][2] = {{0.5, 0.2},   {0.2, 0.5},   {-0.2, 0.5}, {-0.5, 0.2},
                                            {-0.5, -0.2}, {-0.2, -0.5}, {0.2, -0.5}, {0.5, -0.2}};
      return place(along, kCorners[k % 8][0], kCorners[k % 8][1]);
    };
    for (int k = 0; k < 8; ++k) {
      const Place a = rim(k, -0.6), b = rim(k + 1, -0.6), c = rim(k + 1, 0.6), d = rim(k, 0.6);
      triangles.push_back({a, b, c});
      triangles.push_back({a, c, d});
      triangles.push_back({place(-0.6, 0, 0), b, a});
      boundary.push_back({c, d});  // as the triangles use it
    }
  }
};

struct Parts {
  int crossings;
  double turns;
};

Parts partsAt(const Cup& cup, const Place& point) {
  RayFrame frame = {};
  makeRayFrame(windingRay(point.data()), frame);
  Parts parts = {0, 0};
  for (const auto& t : cup.triangles) {
    Crossing crossing = {};
    if (hitsTriangle(frame, Faces::both, t[0].data(), t[1].data(), t[2].data(), crossing))
      parts.crossings += crossing.isFront ? -1 : 1;
  }
  Turning sum;
  for (const auto& e : cup.boundary)
    add(sum, turnOf(frame, e[0].data(), e[1].data(), project(e[0].data(), point.data()),
                    project(e[1].data(), point.data())));
  parts.turns = double(sum.turns) + argument(sum.re, sum.im);
  return parts;
}

// White is 0, blue above, red below, in steps of an eighth.
std::string colourOf(double value) {
  static const char* const kBlue[] = {"#ffffff", "#e8f0f8", "#cfe0f0", "#b4cfe7", "#98bddd",
                                      "#7aa9d1", "#5b93c3", "#3f7bb0", "#1f5f9b"};
  static const char* const kRed[] = {"#ffffff", "#fbeae8", "#f6d3cf", "#f0bab4", "#e89f97",
                                     "#df8278", "#d46459", "#c7463a", "#b02a1f"};
  const int step = int(std::lround(8 * value));
  const auto shade = static_cast<std::size_t>(std::min(8, std::abs(step)));
  return std::string("fill=\"") + (step < 0 ? kRed : kBlue)[shade] + "\"";
}

}  // namespace

void drawWinding(const std::string& folder) {
  const Cup cup;
  Svg svg(860, 330);
  const int cells = 52;
  const double cell = 5, half = 1.15;
  for (int panel = 0; panel < 3; ++panel) {
    const Point corner{10 + 285.0 * panel, 40};
    static const char* const kTitles[] = {"crossings of a ray upwards", "less the turns of the boundary",
                                          "is the winding number"};
    svg.words({corner.x + cells * cell / 2, 26}, kTitles[panel], "middle");
    for (int row = 0; row < cells; ++row) {
      // Neighbours of one colour are one box.
      int first = 0;
      std::string colour;
      for (int column = 0; column <= cells; ++column) {
        std::string next;
        if (column < cells) {
          const Place point = {float((2 * (column + 0.5) / cells - 1) * half), 0,
                               float((1 - 2 * (row + 0.5) / cells) * half)};
          const Parts parts = partsAt(cup, point);
          next = colourOf(panel == 0 ? parts.crossings : panel == 1 ? -parts.turns : parts.crossings - parts.turns);
        }
        if (next == colour) continue;
        if (!colour.empty() && colour != colourOf(0))
          svg.box({corner.x + first * cell, corner.y + row * cell}, (column - first) * cell, cell, colour);
        first = column;
        colour = next;
      }
    }
    svg.box(corner, cells * cell, cells * cell, "fill=\"none\" stroke=\"#777\"");
    // The cup in the plane of the figure.
    const auto at = [&](double along, double across) {
      return Point{corner.x + cells * cell / 2 * (1 + (0.87 * across + 0.5 * along) / half),
                   corner.y + cells * cell / 2 * (1 - (0.87 * along - 0.5 * across) / half)};
    };
    const std::string wall = "stroke=\"#222\" stroke-width=\"3\"";
    svg.line(at(0.6, -0.5), at(-0.6, -0.5), wall);
    svg.line(at(-0.6, -0.5), at(-0.6, 0.5), wall);
    svg.line(at(-0.6, 0.5), at(0.6, 0.5), wall);
    for (const double across : {-0.5, 0.5}) svg.circle(at(0.6, across), 5, "fill=\"#e0a000\"");
  }
  svg.words({430, 322}, "-1 red, 0 white, 1 blue; the boundary of the cup is where the yellow dots are", "middle", 12,
            "fill=\"#777\"");
  svg.write(folder + "/winding.svg");
}
