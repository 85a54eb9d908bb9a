// A cost functor of your own for the surface-area builder, and a class that gives the builder its items.
#include <qzCommonAddOns/qzCommonAddOns.h>

#include <cstdio>
#include <numeric>
#include <random>
#include <vector>

// Items are tested four at a time, so one costs as much as four. A node costs as much as one such test.
class FourAtATime : public qzSAHFunctionoid {
 public:
  float f(const qzBBox& box, unsigned int count) const override {
    return box.halfArea() * static_cast<float>((count + 3) / 4 + 1);
  }
};

// The builder takes its items from protected members, which a derived class fills.
class BoxBuilder : public qzGenericBVHBuilder {
 public:
  explicit BoxBuilder(const std::vector<qzBBox>& boxes) {
    resizeItems(static_cast<int>(boxes.size()));
    mItemBBoxes = boxes;
    for (const qzBBox& box : boxes) mSceneBBox.selfUnion(box);
    std::iota(mItemIndices.begin(), mItemIndices.end(), 0u);
  }
  void setCost(const qzSAHFunctionoid& cost) { setSAH(&cost); }  // it must outlive the builds
};

void print(const char* name, const qzGenericBVH& tree) {
  unsigned int nbLeaves = 0, nbQuadruplets = 0, nbPrimitives = 0;
  for (unsigned int i = 0; i < tree.getNbNodes(); ++i) {
    if (!tree.getNode(i).isLeaf()) continue;
    ++nbLeaves;
    nbPrimitives += tree.getNode(i).getNoPrimitives();
    nbQuadruplets += (tree.getNode(i).getNoPrimitives() + 3) / 4;
  }
  std::printf("%s: %u leaves, lanes filled to %.0f %%\n", name, nbLeaves, 25.0 * nbPrimitives / nbQuadruplets);
}

int main() {
  std::mt19937 random(1);
  const auto coordinate = [&random] { return static_cast<float>(random() >> 20) / 64.0f; };  // 0 to 64
  std::vector<qzBBox> boxes;
  for (int i = 0; i < 10000; ++i) {
    const float x = coordinate(), y = coordinate(), z = coordinate();
    boxes.push_back(qzBBox::Make(x, y, z, x + 1, y + 1, z + 1));
  }

  qzGenericBVH tree;
  BoxBuilder(boxes).build(tree);
  print("default cost  ", tree);

  const FourAtATime cost;
  BoxBuilder builder(boxes);
  builder.setCost(cost);
  builder.build(tree);
  print("four at a time", tree);
}
