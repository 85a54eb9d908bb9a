#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "qzFigures.h"
#include "qzSvg.h"

namespace {

const std::vector<std::string> kColours{"#444", "#1f77b4", "#2ca02c", "#d98200", "#9467bd", "#17a2b8", "#b0457b"};

std::string stroke(unsigned int level, double width) {
  char text[64];
  std::snprintf(text, sizeof text, "fill=\"none\" stroke=\"%s\" stroke-width=\"%.1f\"",
                kColours[std::min<std::size_t>(level, kColours.size() - 1)].c_str(), width);
  return text;
}

// Maps the plane to the picture, y upwards.
struct Frame {
  Point corner;
  double scale, height;
  Point operator()(double x, double y) const { return {corner.x + x * scale, corner.y + height - y * scale}; }
};

struct Place {
  unsigned int node, level;
  double x;
};

// Places the nodes of a tree in a drawing: leaves in a row, each parent above the middle of its children.
double placeNodes(const qzGenericBVH& tree, unsigned int number, unsigned int level, double& nextLeaf,
                  std::vector<Place>& places) {
  const qzGNode& node = tree.getNode(number);
  double x;
  if (node.isLeaf()) {
    x = nextLeaf++;
  } else {
    const double left = placeNodes(tree, node.getLeftChildIdx(), level + 1, nextLeaf, places);
    x = (left + placeNodes(tree, node.getRightChildIdx(), level + 1, nextLeaf, places)) / 2;
  }
  places.push_back({number, level, x});
  return x;
}

}  // namespace

void drawIdea(const std::string& folder) {
  // Triangles in groups, flat on z = 0.
  std::mt19937 random(7);
  const auto upTo = [&random](float limit) { return static_cast<float>(random() >> 16) / 65536.0f * limit; };
  std::vector<Wm4::Vector3<float>> corners;
  for (const Point& group : {Point{14, 70}, Point{40, 22}, Point{66, 74}, Point{84, 34}, Point{30, 48}}) {
    for (int i = 0; i < 4; ++i) {
      const float x = static_cast<float>(group.x) + upTo(20) - 10, y = static_cast<float>(group.y) + upTo(20) - 10;
      corners.insert(corners.end(), {{x - 3, y - 2 + upTo(2), 0}, {x + 3, y - 2, 0}, {x - 2 + upTo(4), y + 3, 0}});
    }
  }
  std::vector<int> indices;
  for (std::size_t i = 0; i < corners.size(); ++i) indices.push_back(static_cast<int>(i));
  const qz::qzTriMesh mesh((qz::qzVertexBuffer(corners)), qz::qzIndexBuffer(indices));
  qzGenericBVH tree;
  qzLinearGenericBVHBuilder builder;
  builder.setMaxPrimitivesPerLeaf(2);
  builder.build(qzBVHTriangleContainer(mesh), tree, nullptr, 20);

  std::vector<Place> places;
  double nbLeaves = 0;
  placeNodes(tree, 0, 0, nbLeaves, places);

  // A ray from the left: nodes whose boxes it tests and hits.
  const Wm4::Vector3<float> origin(-2, 88, 0), direction(1, -0.62f, 0);
  std::set<unsigned int> asked, met;
  std::vector<unsigned int> open{0};
  while (!open.empty()) {
    const unsigned int number = open.back();
    open.pop_back();
    asked.insert(number);
    float tMin = 0, tMax = 1000;
    const qzGNode& node = tree.getNode(number);
    if (!node.getBBox().intersectRay(origin, direction, tMin, tMax)) continue;
    met.insert(number);
    if (!node.isLeaf()) open.insert(open.end(), {node.getLeftChildIdx(), node.getRightChildIdx()});
  }

  Svg svg(1040, 470);
  const Frame frame{{20, 40}, 4.1, 410};
  svg.words({20, 24}, "Bounding boxes of triangles, and a ray", "start", 15);
  for (std::size_t i = 0; i < corners.size(); i += 3) {
    std::vector<Point> triangle;
    for (std::size_t k = i; k < i + 3; ++k) triangle.push_back(frame(corners[k][0], corners[k][1]));
    svg.polygon(triangle, "fill=\"#c9d4e3\" stroke=\"#7b8ca3\" stroke-width=\"0.8\"");
  }
  for (const Place& place : places) {
    const qzBBox& box = tree.getNode(place.node).getBBox();
    svg.box(frame(box.xMin(), box.yMax()), box.extentX() * frame.scale, box.extentY() * frame.scale,
            stroke(place.level, met.count(place.node) != 0 ? 2.2 : 1.0));
  }
  svg.line(frame(origin[0], origin[1]), frame(origin[0] + 102, origin[1] - 0.62 * 102),
           "stroke=\"#d62728\" stroke-width=\"2\"");

  svg.words({470, 24}, "The same as a tree. Red: hit by the ray. Grey: never tested.", "start", 15);
  const auto at = [&](const Place& place) {
    return Point{485 + place.x * (530.0 / (nbLeaves - 1)), 60.0 + place.level * 62.0};
  };
  const auto placeOf = [&](unsigned int number) {
    return *std::find_if(places.begin(), places.end(), [number](const Place& place) { return place.node == number; });
  };
  for (const Place& place : places) {
    const qzGNode& node = tree.getNode(place.node);
    if (node.isLeaf()) continue;
    for (unsigned int child : {node.getLeftChildIdx(), node.getRightChildIdx()}) {
      svg.line(at(place), at(placeOf(child)),
               met.count(child) != 0     ? "stroke=\"#d62728\" stroke-width=\"2\""
               : asked.count(child) != 0 ? "stroke=\"#444\" stroke-width=\"1.2\""
                                         : "stroke=\"#ccc\" stroke-width=\"1.2\"");
    }
  }
  for (const Place& place : places) {
    const bool isMet = met.count(place.node) != 0, isAsked = asked.count(place.node) != 0;
    const std::string style = std::string("fill=\"") +
                              (isMet     ? "#d62728"
                               : isAsked ? "#fff"
                                         : "#eee") +
                              "\" stroke=\"" + (isAsked ? "#444" : "#ccc") + "\" stroke-width=\"1.2\"";
    const Point p = at(place);
    if (tree.getNode(place.node).isLeaf()) {
      svg.box({p.x - 9, p.y - 9}, 18, 18, style);
      svg.words({p.x, p.y + 5}, std::to_string(tree.getNode(place.node).getNoPrimitives()), "middle", 13,
                isMet     ? "fill=\"#fff\""
                : isAsked ? "fill=\"#222\""
                          : "fill=\"#999\"");
    } else {
      svg.circle(p, 8, style);
    }
  }
  svg.words({20, 466},
            std::to_string(corners.size() / 3) + " triangles, " + std::to_string(places.size()) +
                " nodes: " + std::to_string(asked.size()) + " boxes tested, " + std::to_string(met.size()) +
                " hit. Squares are leaves with their number of triangles.",
            "start", 13);
  svg.write(folder + "/idea.svg");
}

namespace {

class HouseBuilder : public qzLinearGenericBVH2DBuilder {
 public:
  explicit HouseBuilder(const std::vector<qzBBox2D>& houses) {
    mBBoxes = houses;
    mNbPrimitives = static_cast<unsigned int>(houses.size());
    mIndices.resize(houses.size());
    for (const qzBBox2D& house : houses) {
      mPoints.push_back(house.getCenter());
      mBounds.selfExpand(mPoints.back());
    }
  }
};

}  // namespace

void drawPlane(const std::string& folder) {
  std::mt19937 random(3);
  const auto upTo = [&random](unsigned int limit) { return static_cast<float>(random() % limit); };
  std::vector<qzBBox2D> houses;
  for (int i = 0; i < 400; ++i) {  // dense in the middle, sparse outside
    const float x = (upTo(1000) + upTo(1000)) / 2, y = (upTo(600) + upTo(600)) / 2;
    houses.push_back(qzBBox2D::Make(x, y, x + 6 + upTo(8), y + 6 + upTo(8)));
  }
  HouseBuilder builder(houses);
  builder.setMaxPrimitivesPerLeaf(8);
  qzGenericBVH2D tree;
  builder.build(tree, 16);

  const qzBBox2D area = qzBBox2D::Make(600, 330, 680, 390);
  Svg svg(960, 625);
  const Frame frame{{-35, -5}, 1.0, 610};
  struct Visit {
    unsigned int node, level;
    bool isAsked;
  };
  std::vector<Visit> nodes{{0, 0, true}};
  for (std::size_t i = 0; i < nodes.size(); ++i) {  // the loop appends
    const Visit next = nodes[i];
    const qzGNode2D& node = tree.getNode(next.node);
    const bool isMet = next.isAsked && node.getBBox().overlaps(area);
    if (node.isLeaf()) continue;
    nodes.push_back({node.getLeftChildIdx(), next.level + 1, isMet});
    nodes.push_back({node.getRightChildIdx(), next.level + 1, isMet});
  }
  std::stable_partition(nodes.begin(), nodes.end(), [](const Visit& node) { return !node.isAsked; });  // drawn first
  unsigned int nbAsked = 0;
  for (const Visit& next : nodes) {
    const qzBBox2D& box = tree.getNode(next.node).getBBox();
    const bool isMet = next.isAsked && box.overlaps(area);
    if (next.isAsked) ++nbAsked;
    svg.box(
        frame(box.xMin(), box.yMax()), box.extentX(), box.extentY(),
        next.isAsked ? stroke(next.level, isMet ? 2.0 : 1.0) : "fill=\"none\" stroke=\"#d5d5d5\" stroke-width=\"0.7\"");
  }
  unsigned int nbFound = 0;
  for (const qzBBox2D& house : houses) {
    const bool isFound = house.overlaps(area);
    if (isFound) ++nbFound;
    svg.box(frame(house.xMin(), house.yMax()), house.extentX(), house.extentY(),
            isFound ? "fill=\"#d62728\"" : "fill=\"#b9c3cf\"");
  }
  svg.box(frame(area.xMin(), area.yMax()), area.extentX(), area.extentY(),
          "fill=\"#d62728\" fill-opacity=\"0.12\" stroke=\"#d62728\" stroke-width=\"1.5\"");
  svg.words({15, 614},
            std::to_string(houses.size()) + " houses, " + std::to_string(nodes.size()) +
                " nodes: the search for the red " + "area tests the " + std::to_string(nbAsked) +
                " coloured boxes and finds " + std::to_string(nbFound) + " houses",
            "start", 14);
  svg.write(folder + "/plane.svg");
}
