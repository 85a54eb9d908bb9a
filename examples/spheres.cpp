// A hierarchy over spheres: anything with a bounding box can be a primitive. Which sphere does a ray hit first?
#include <qzCommonAddOns/qzCommonAddOns.h>

#include <cmath>
#include <cstdio>
#include <vector>

struct Sphere {
  Wm4::Vector3<float> center;
  float radius;
};

struct Ray {
  Wm4::Vector3<float> origin, direction;  // of unit length
};

// The primitives of a build: how many there are, and a box for each.
class SphereContainer : public qzLinearGenericBVHBuilder::tPrimitiveContainerInterface {
 public:
  explicit SphereContainer(const std::vector<Sphere>& spheres) {
    for (const Sphere& sphere : spheres) mBoxes.push_back(qzBBox(sphere.center).grow(sphere.radius));
  }
  const qzBBox* getBBox(unsigned int i) const override { return &mBoxes[i]; }
  unsigned int getQuantity() const override { return static_cast<unsigned int>(mBoxes.size()); }

 private:
  std::vector<qzBBox> mBoxes;
};

// Distance at which the ray enters the sphere, infinity for a miss.
float entryOf(const Ray& ray, const Sphere& sphere) {
  float along = 0, square = -sphere.radius * sphere.radius;
  for (int c = 0; c < 3; ++c) {
    const float offset = sphere.center[c] - ray.origin[c];
    along += offset * ray.direction[c];
    square += offset * offset;
  }
  const float root = along * along - square;
  const float entry = along - std::sqrt(root);
  return root >= 0 && entry >= 0 ? entry : INFINITY;
}

int main() {
  std::vector<Sphere> spheres;  // a thousand on a spiral
  for (int i = 0; i < 1000; ++i) {
    const float turn = 0.1f * static_cast<float>(i);
    spheres.push_back({{turn * std::cos(turn), turn * std::sin(turn), 0.05f * static_cast<float>(i)}, 0.75f});
  }
  qzGenericBVH tree;
  qzLinearGenericBVHBuilder().build(SphereContainer(spheres), tree, nullptr, 20);

  const Ray ray{{-200, -12, 22}, {1, 0, 0}};
  float nearest = INFINITY;
  unsigned int met = 0, nbTests = 0;
  std::vector<unsigned int> open{0};  // stack of nodes to visit, first the root
  while (!open.empty()) {
    const qzGNode& node = tree.getNode(open.back());
    open.pop_back();
    float tMin = 0, tMax = nearest;  // skip boxes behind the nearest hit so far
    if (!node.getBBox().intersectRay(ray.origin, ray.direction, tMin, tMax)) continue;
    if (!node.isLeaf()) {
      open.push_back(node.getLeftChildIdx());
      open.push_back(node.getRightChildIdx());
      continue;
    }
    for (unsigned int i = 0; i < node.getNoPrimitives(); ++i, ++nbTests) {
      const unsigned int number = tree.getPrimitive(node.getPrimStartIdx() + i);
      const float entry = entryOf(ray, spheres[number]);
      if (entry < nearest) {
        nearest = entry;
        met = number;
      }
    }
  }
  std::printf("sphere %u at distance %.3f, after tests of %u spheres out of %zu\n", met, nearest, nbTests,
              spheres.size());
}
