// Which houses of a map overlap an area? A 2D hierarchy over their bounding boxes.
#include <qzCommonAddOns/qzCommonAddOns.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

// The builder takes its primitives from protected members, which a derived class fills.
class HouseBuilder : public qzLinearGenericBVH2DBuilder {
 public:
  explicit HouseBuilder(std::vector<qzBBox2D> houses) {
    mBBoxes = std::move(houses);
    mNbPrimitives = static_cast<unsigned int>(mBBoxes.size());
    mIndices.resize(mNbPrimitives);  // before every build: the tree takes the array over
    for (const qzBBox2D& house : mBBoxes) {
      mPoints.push_back(house.getCenter());  // decides the place in the tree
      mBounds.selfExpand(mPoints.back());
    }
  }
  const std::vector<qzBBox2D>& houses() const { return mBBoxes; }
};

int main() {
  std::mt19937 random(1);
  const auto upTo = [&random](unsigned int limit) { return static_cast<float>(random() % limit); };
  std::vector<qzBBox2D> houses;  // a town of 20 x 20 kilometres, in metres
  for (int i = 0; i < 50000; ++i) {
    const float x = upTo(20000), y = upTo(20000);
    houses.push_back(qzBBox2D::Make(x, y, x + 8 + upTo(20), y + 8 + upTo(20)));
  }
  HouseBuilder builder(std::move(houses));
  qzGenericBVH2D tree;
  builder.build(tree, 16);

  const qzBBox2D area = qzBBox2D::Make(10000, 10000, 10100, 10100);  // a point works as well: qzBBox2D(p)
  std::vector<unsigned int> found, open{0};
  unsigned int nbNodes = 0;
  while (!open.empty()) {
    const qzGNode2D& node = tree.getNode(open.back());
    open.pop_back();
    ++nbNodes;
    if (!node.getBBox().overlaps(area)) continue;
    if (!node.isLeaf()) {
      open.push_back(node.getLeftChildIdx());
      open.push_back(node.getRightChildIdx());
      continue;
    }
    for (unsigned int i = 0; i < node.getNoPrimitives(); ++i) {
      const unsigned int house = tree.getPrimitive(node.getPrimStartIdx() + i);
      if (builder.houses()[house].overlaps(area)) found.push_back(house);
    }
  }
  std::sort(found.begin(), found.end());
  std::printf("%zu houses, %u of %zu nodes visited:", found.size(), nbNodes, tree.getNodes().size());
  for (unsigned int house : found) std::printf(" %u", house);
  std::printf("\n");
}
