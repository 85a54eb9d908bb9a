// A two-level hierarchy: a tree over meshes, and for each mesh a hierarchy over its triangles.
#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstdio>
#include <vector>

class Scene {
 public:
  explicit Scene(const std::vector<qz::qzTriMesh*>& meshes) : mObjects(meshes.size()) {
    qzLinearGenericBVHBuilder builder;
    builder.setMaxPrimitivesPerLeaf(1);
    builder.build(qzBVHMeshContainer(meshes), mTree, nullptr, 20);
    for (std::size_t i = 0; i < meshes.size(); ++i) {
      mObjects[i].buildFromMesh(qzQBVH::eTrianglesEquations, *meshes[i], 4);
    }
  }

  struct Hit {
    unsigned int object, triangle;
    float distance;
  };

  // Finds the nearest hit up to a distance, which may be infinite; returns whether there is one.
  bool cast(const Wm4::Vector3<float>& origin, const Wm4::Vector3<float>& direction, float distance, Hit& hit) const {
    bool isHit = false;
    std::vector<unsigned int> open{0};
    while (!open.empty()) {
      const qzGNode& node = mTree.getNode(open.back());
      open.pop_back();
      float tMin = 0, tMax = distance;
      if (!node.getBBox().intersectRay(origin, direction, tMin, tMax)) continue;
      if (!node.isLeaf()) {
        open.push_back(node.getRightChildIdx());
        open.push_back(node.getLeftChildIdx());
        continue;
      }
      for (unsigned int i = 0; i < node.getNoPrimitives(); ++i) {  // several if meshes share a grid cell
        const unsigned int object = mTree.getPrimitive(node.getPrimStartIdx() + i);
        Wm4::Vector2<float> weights;
        unsigned int triangle;  // a hit shortens distance for the queries that follow
        if (mObjects[object].intersectRay(origin, direction, 0, distance, weights, triangle,
                                          qzQBVH::eIntersectBothFaces)) {
          hit = {object, triangle, distance};
          isHit = true;
        }
      }
    }
    return isHit;
  }

 private:
  qzGenericBVH mTree;
  std::vector<qzQBVH> mObjects;  // never resized: copies would release the same arrays
};

// A square of two triangles across the x axis.
qz::qzTriMesh squareAt(float x, float halfWidth) {
  const float h = halfWidth;
  return qz::qzTriMesh(qz::qzVertexBuffer({{x, -h, -h}, {x, h, -h}, {x, h, h}, {x, -h, h}}),
                       qz::qzIndexBuffer({0, 1, 2, 0, 2, 3}));
}

int main() {
  std::vector<qz::qzTriMesh> squares;  // a row of squares, larger with distance
  for (int i = 0; i < 100; ++i)
    squares.push_back(squareAt(static_cast<float>(10 + i), 0.1f * static_cast<float>(i + 1)));
  std::vector<qz::qzTriMesh*> meshes;
  for (qz::qzTriMesh& square : squares) meshes.push_back(&square);
  const Scene scene(meshes);

  for (float height : {0.0f, 2.05f, 7.77f, 11.0f}) {
    Scene::Hit hit;
    if (scene.cast({0, height, 0.01f}, {1, 0, 0}, 1000.0f, hit)) {
      std::printf("height %g: object %u, triangle %u, distance %g\n", height, hit.object, hit.triangle, hit.distance);
    } else {
      std::printf("height %g: nothing\n", height);
    }
  }
}
