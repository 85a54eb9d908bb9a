#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "qzFigures.h"
#include "qzSvg.h"

namespace {

const std::string kOutline = "stroke=\"#555\" stroke-width=\"1\"";

// base with one bit of one of its two words inverted.
qzGNode nodeWithBit(const qzGNode& base, unsigned int word, unsigned int bit) {
  qzGNode node = base;
  std::uint32_t words[2];
  char* bytes = reinterpret_cast<char*>(&node) + sizeof(qzBBox);
  std::memcpy(words, bytes, sizeof words);
  words[word] ^= std::uint32_t(1) << bit;
  std::memcpy(bytes, words, sizeof words);
  return node;
}

struct Answer {
  std::string name, fill;
  std::function<float(const qzGNode&)> ask;
};

// Draws a word. A bit belongs to the accessor whose result it changes; neighbouring bits of one accessor are one field.
void drawWord(Svg& svg, Point corner, const qzGNode& base, unsigned int word, const std::vector<Answer>& answers) {
  const double width = 27;
  const auto answerOf = [&](unsigned int bit) {
    const qzGNode changed = nodeWithBit(base, word, bit);
    for (const Answer& answer : answers) {
      if (answer.ask(changed) != answer.ask(base)) return &answer;
    }
    return static_cast<const Answer*>(nullptr);
  };
  for (unsigned int high = 32; high > 0;) {
    const Answer* answer = answerOf(high - 1);
    unsigned int low = high - 1;
    while (low > 0 && answerOf(low - 1) == answer) --low;
    const double x = corner.x + (32 - high) * width, extent = (high - low) * width;
    svg.box({x, corner.y}, extent, 34, "fill=\"" + (answer != nullptr ? answer->fill : "#fff") + "\" " + kOutline);
    svg.words({x + extent / 2, corner.y + 22}, answer != nullptr ? answer->name : "not read", "middle");
    svg.words({x + 2, corner.y - 4}, std::to_string(high - 1), "start", 11, "fill=\"#777\"");
    if (low + 1 < high) svg.words({x + extent - 2, corner.y - 4}, std::to_string(low), "end", 11, "fill=\"#777\"");
    high = low;
  }
}

}  // namespace

void drawNode(const std::string& folder) {
  qzGNode inner, leaf;
  inner.setBBox(qzBBox::Make(0, 0, 0, 15, 15, 15));
  inner.setNode(qzBBox::eAxisX, 0, 0, 0);
  leaf.setLeaf(0, 0);
  const Answer axis{"axis", "#f4d8b0", [](const qzGNode& node) { return static_cast<float>(node.getAxis() >> 30); }};
  const Answer left{"left child", "#cfe3f7",
                    [](const qzGNode& node) { return static_cast<float>(node.getLeftChildIdx()); }};
  const Answer right{"right child", "#cfe3f7",
                     [](const qzGNode& node) { return static_cast<float>(node.getRightChildIdx()); }};
  const Answer split{"position k", "#f4d8b0", [](const qzGNode& node) { return node.getSplitPlane(); }};
  const Answer mark{"mark 11", "#f7c6c6", [](const qzGNode& node) { return node.isLeaf() ? 1.0f : 0.0f; }};
  const Answer start{"first primitive entry", "#d3ecd0",
                     [](const qzGNode& node) { return static_cast<float>(node.getPrimStartIdx()); }};
  const Answer count{"number of primitives", "#d3ecd0",
                     [](const qzGNode& node) { return static_cast<float>(node.getNoPrimitives()); }};

  Svg svg(1020, 400);
  svg.words({20, 26}, "qzGNode, " + std::to_string(sizeof(qzGNode)) + " bytes", "start", 16);
  svg.words({20, 62}, "bytes", "start");
  const double width = 864.0 / static_cast<double>(sizeof(qzGNode));
  const char* floats[] = {"min x", "min y", "min z", "max x", "max y", "max z"};
  for (std::size_t i = 0; i < sizeof(qzBBox) / sizeof(float); ++i) {
    const double x = 140 + static_cast<double>(i * sizeof(float)) * width;
    svg.box({x, 52}, sizeof(float) * width, 34, "fill=\"#eee\" " + kOutline);
    svg.words({x + 54, 74}, floats[i], "middle");
    svg.words({x + 2, 48}, std::to_string(i * sizeof(float)), "start", 11, "fill=\"#777\"");
  }
  const char* words[] = {"mAxisAndLeft", "mRightAndCount"};
  for (std::size_t i = 0; i < 2; ++i) {
    const std::size_t offset = sizeof(qzBBox) + i * sizeof(std::uint32_t);
    const double x = 140 + static_cast<double>(offset) * width;
    svg.box({x, 52}, sizeof(std::uint32_t) * width, 34, "fill=\"#fff8d8\" " + kOutline);
    svg.words({x + 54, 74}, words[i], "middle");
    svg.words({x + 2, 48}, std::to_string(offset), "start", 11, "fill=\"#777\"");
  }
  const auto row = [&](double y, const std::string& kind, const qzGNode& base, unsigned int word,
                       const std::vector<Answer>& answers) {
    svg.words({20, y + 14}, kind, "start", 13, "fill=\"#222\" font-weight=\"bold\"");
    svg.words({20, y + 30}, words[word], "start");
    drawWord(svg, {140, y}, base, word, answers);
  };
  row(130, "inner node", inner, 0, {axis, left});
  row(194, "inner node", inner, 1, {split, right});
  row(270, "leaf", leaf, 0, {mark, start});
  row(334, "leaf", leaf, 1, {count});
  svg.write(folder + "/node.svg");
}

namespace {

// Short texts for the numbers of a figure.
std::string shortNumber(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3g", static_cast<double>(value) + 0.0);
  return std::isinf(value) ? (value < 0 ? "-inf" : "+inf") : text;
}

std::string shortNumber(unsigned int value) {
  return value == 0xFFFFFFFFu ? "0xFFFFFFFF" : std::to_string(value);
}

// Draws structures of four-lane rows: every cell at the row and lane of its address.
class Rows {
 public:
  Rows(Svg& svg, Point corner, const void* start, std::size_t size, const std::string& title)
      : mSvg(svg), mCorner(corner), mStart(static_cast<const char*>(start)) {
    mSvg.words({corner.x, corner.y - 26}, title + ", " + std::to_string(size) + " bytes", "start", 15);
    for (int lane = 0; lane < 4; ++lane) {
      mSvg.words({corner.x + kLabel + (lane + 0.5) * kWidth, corner.y - 6}, "lane " + std::to_string(lane), "middle",
                 11, "fill=\"#777\"");
    }
  }

  template <class Value>
  void row(const std::string& label, const Value (&lanes)[4], const std::string& fill) {
    for (const Value& value : lanes) {
      const std::size_t offset = static_cast<std::size_t>(reinterpret_cast<const char*>(&value) - mStart);
      const double x = mCorner.x + kLabel + static_cast<double>(offset % 16 / 4) * kWidth;
      const double y = mCorner.y + static_cast<double>(offset / 16) * kHeight;
      if (&value == lanes) {
        mSvg.words({mCorner.x, y + 16}, std::to_string(offset / 16), "start", 11, "fill=\"#777\"");
        mSvg.words({mCorner.x + 20, y + 16}, label, "start", 12);
      }
      mSvg.box({x, y}, kWidth, kHeight, "fill=\"" + fill + "\" " + kOutline);
      mSvg.words({x + kWidth / 2, y + 16}, shortNumber(value), "middle", 12);
    }
  }

 private:
  static constexpr double kLabel = 140, kWidth = 84, kHeight = 23;
  Svg& mSvg;
  Point mCorner;
  const char* mStart;
};

// A hierarchy that draws its rows.
class OpenHierarchy : public qzQBVH {
 public:
  void drawNode(Svg& svg, Point corner, unsigned int number) const {
    const tSOANode& node = mNodes[number];
    Rows rows(svg, corner, &node, sizeof node, "tSOANode");
    const char* axes[] = {"x", "y", "z"};
    for (int axis = 0; axis < 3; ++axis) rows.row(std::string("min ") + axes[axis], node.mMin[axis], "#cfe3f7");
    for (int axis = 0; axis < 3; ++axis) rows.row(std::string("max ") + axes[axis], node.mMax[axis], "#cfe3f7");
    rows.row("mChildIndex", node.mChildIndex, "#fff8d8");
    rows.row("mChildQuadruplets", node.mChildQuadruplets, "#fff8d8");
  }

  void drawVertices(Svg& svg, Point corner, unsigned int quadruplet) const {
    const tSOATriangleVertices& vertices = mTriangleVertices[quadruplet];
    Rows rows(svg, corner, &vertices, sizeof vertices, "tSOATriangleVertices");
    const char* names[3][3] = {{"V0.x", "V0.y", "V0.z"}, {"V1.x", "V1.y", "V1.z"}, {"V2.x", "V2.y", "V2.z"}};
    const char* fills[] = {"#d3ecd0", "#e6f4e4", "#d3ecd0"};
    for (int vertex = 0; vertex < 3; ++vertex) {
      for (int axis = 0; axis < 3; ++axis) rows.row(names[vertex][axis], vertices.mVertex[vertex][axis], fills[vertex]);
    }
  }

  void drawIndices(Svg& svg, Point corner, unsigned int quadruplet) const {
    const tSOATriangleIndices& indices = mTriangleIndices[quadruplet];
    Rows rows(svg, corner, &indices, sizeof indices, "tSOATriangleIndices");
    rows.row("triangle", indices.mTriangle, "#fff8d8");
  }

  void drawEquations(Svg& svg, Point corner, unsigned int quadruplet) const {
    const tSOATriangleEquations& equations = mTriangleEquations[quadruplet];
    Rows rows(svg, corner, &equations, sizeof equations, "tSOATriangleEquations");
    const char* names[3][4] = {{"n.x", "n.y", "n.z", "d"}, {"U.x", "U.y", "U.z", "U.w"}, {"W.x", "W.y", "W.z", "W.w"}};
    for (int c = 0; c < 4; ++c) rows.row(names[0][c], equations.mPlane[c], "#f4d8b0");
    for (int c = 0; c < 4; ++c) rows.row(names[1][c], equations.mU[c], "#fbeedb");
    for (int c = 0; c < 4; ++c) rows.row(names[2][c], equations.mW[c], "#f4d8b0");
  }

  /// The quadruplet with this triangle in lane 0.
  unsigned int quadrupletFrom(unsigned int triangle) const {
    unsigned int quadruplet = 0;
    while (mTriangleIndices[quadruplet].mTriangle[0] != triangle) ++quadruplet;
    return quadruplet;
  }
};

// Right-angled triangles on z = 0, one at each corner given.
qz::qzTriMesh trianglesAt(const std::vector<Point>& corners) {
  std::vector<Wm4::Vector3<float>> vertices;
  std::vector<int> indices;
  for (const Point& corner : corners) {
    const float x = static_cast<float>(corner.x), y = static_cast<float>(corner.y);
    vertices.insert(vertices.end(), {{x, y, 0}, {x + 1, y, 0}, {x, y + 2, 0}});
    for (int k = 0; k < 3; ++k) indices.push_back(static_cast<int>(indices.size()));
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(vertices), qz::qzIndexBuffer(indices));
}

}  // namespace

void drawRows(const std::string& folder) {
  // Sixteen triangles close together, which become several nodes, and three far above them, which become one leaf.
  std::vector<Point> corners{{0, 60}, {2, 60}, {0, 63}};
  for (int i = 0; i < 16; ++i) corners.push_back({2.0 * (i % 4), 3.0 * (i / 4)});
  const qz::qzTriMesh mesh = trianglesAt(corners);
  OpenHierarchy hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations, mesh, 4);

  Svg node(520, 260);
  hierarchy.drawNode(node, {20, 56}, 0);
  node.write(folder + "/four-wide.svg");

  Svg quadruplet(1040, 370);
  const unsigned int far = hierarchy.quadrupletFrom(0);
  hierarchy.drawVertices(quadruplet, {20, 56}, far);
  hierarchy.drawIndices(quadruplet, {20, 322}, far);
  hierarchy.drawEquations(quadruplet, {540, 56}, far);
  quadruplet.write(folder + "/quadruplet.svg");
}
