#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstdio>

int main() {
  const qz::qzTriMesh mesh(qz::qzVertexBuffer({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), qz::qzIndexBuffer({0, 1, 2}));
  qzQBVH hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, 4);

  float distance = 100.0f;  // in: farthest distance, out: distance of the hit
  Wm4::Vector2<float> weights;
  unsigned triangle;
  if (hierarchy.intersectRay({0.25f, 0.5f, 3}, {0, 0, -1}, 0, distance, weights, triangle, qzQBVH::eIntersectBothFaces))
    std::printf("triangle %u at distance %g, weights %g %g\n", triangle, distance, weights[0], weights[1]);
}
