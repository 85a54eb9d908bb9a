// Frustum culling: which objects are in a camera's view? Each has a hierarchy, queried with the six planes of the view.
#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstdio>
#include <vector>

// A tetrahedron around (x, y, z).
qz::qzTriMesh tetrahedronAt(float x, float y, float z) {
  return qz::qzTriMesh(
      qz::qzVertexBuffer({{x - 1, y - 1, z - 1}, {x + 1, y + 1, z - 1}, {x + 1, y - 1, z + 1}, {x - 1, y + 1, z + 1}}),
      qz::qzIndexBuffer({0, 1, 2, 0, 3, 1, 0, 2, 3, 1, 3, 2}));
}

int main() {
  const std::vector<qz::qzTriMesh> meshes{tetrahedronAt(0, 0, -10), tetrahedronAt(7, 0, -10), tetrahedronAt(6, 0, -5),
                                          tetrahedronAt(0, 0, 10), tetrahedronAt(0, -12, -40)};
  std::vector<qzQBVH> objects(meshes.size());  // never resized: copies would release the same arrays
  for (std::size_t i = 0; i < meshes.size(); ++i) objects[i].buildFromMesh(qzQBVH::eTrianglesVertices, meshes[i], 4);

  // The camera is at the origin, looks along -z and sees 90 degrees across and 90 up and down. A point is inside where
  // a * x + b * y + c * z + d > 0, so every (a, b, c) points into the frustum.
  const float nearest = 1, farthest = 100;
  const Wm4::Vector4<float> planes[6] = {{0, 0, -1, -nearest}, {0, 0, 1, farthest}, {1, 0, -1, 0},
                                         {-1, 0, -1, 0},       {0, 1, -1, 0},       {0, -1, -1, 0}};
  qzQBVH::tSOASinglePlaneEqn* frustum = qzQBVH::CreateSOAPlaneEquationSet(planes, 6);
  for (std::size_t i = 0; i < objects.size(); ++i) {
    std::printf("object %zu is %s\n", i, objects[i].intersectConvexHull(frustum, 6) ? "in view" : "out of view");
  }
  qzQBVH::DeleteSOAPlaneEquationSet(frustum);
}
