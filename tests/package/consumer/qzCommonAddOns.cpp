// Uses something of every class family and exits with 0 when the answers are right.

#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstdio>

namespace {

int nbFailures = 0;

void check(bool holds, const char* what) {
  if (!holds) {
    std::printf("wrong: %s\n", what);
    ++nbFailures;
  }
}

}  // namespace

int main() {
  using Point = Wm4::Vector3<float>;

  // Two triangles side by side in the plane z = 1, from x = 0 to 1 and from 1 to 2, their normals along z.
  qz::qzTriMesh mesh(qz::qzVertexBuffer({Point(0.0f, 0.0f, 1.0f), Point(1.0f, 0.0f, 1.0f), Point(1.0f, 1.0f, 1.0f),
                                         Point(2.0f, 1.0f, 1.0f)}),
                     qz::qzIndexBuffer(std::vector<int>{0, 1, 2, 1, 3, 2}));

  check(qzBBox().isEmpty(), "the default box is empty");
  check(qzBBox::Make(0.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f).halfArea() == 3.0f, "half the area of the unit cube is 3");
  check(qzBBox(Point(1.0f, 2.0f, 3.0f)).convert().Axis[1][1] == 1.0f, "the second axis of a converted box is y");

  const qzBVHTriangleContainer triangles(mesh);
  check(triangles.getQuantity() == 2, "the mesh has two triangles");
  check(qzBVHMeshContainer({&mesh}).getBBox(0)->zMin() == 1.0f, "the mesh begins at z = 1");

  qzGenericBVH bvh;
  qzLinearGenericBVHBuilder builder;
  builder.setMaxPrimitivesPerLeaf(1);
  check(builder.build(triangles, bvh, nullptr, 10), "a build without a cancel interface completes");
  check(bvh.getNodes().size() == 3 && !bvh.getNode(0).isLeaf(), "two triangles make a root and two leaves");

  qzQBVH qbvh;
  qbvh.buildFromMesh(qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations, mesh, 4);
  float t = 100.0f;
  Wm4::Vector2<float> weights;
  unsigned int triangle = 0;
  const bool hit = qbvh.intersectRay(Point(1.25f, 0.75f, 3.0f), Point(0.0f, 0.0f, -1.0f), 0.0f, t, weights, triangle,
                                     qzQBVH::eIntersectBothFaces);
  check(hit && t == 2.0f && triangle == 1, "the ray down at (1.25, 0.75) meets triangle 1 after 2");

  if (nbFailures == 0) std::printf("all right\n");
  return nbFailures == 0 ? 0 : 1;
}
