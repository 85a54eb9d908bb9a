#include <toolkit/base/qzMeshGeometry.h>

namespace qzToolkit {

std::size_t countTriangles(const qz::qzTriMesh& mesh) {
  const int nbIndices = mesh.getIndexBuffer()->getNbIndices();
  return nbIndices > 0 ? static_cast<std::size_t>(nbIndices) / 3 : 0;
}

std::array<Wm4::Vector3<float>, 3> cornersOf(const qz::qzTriMesh& mesh, std::size_t triangle) {
  const int* const indices = mesh.getIndexBuffer()->getIndices() + 3 * triangle;
  const qz::qzVertexBuffer& vertices = *mesh.getVertexBuffer();
  return {vertices.Position3(indices[0]), vertices.Position3(indices[1]), vertices.Position3(indices[2])};
}

qzBBox boxOf(const qz::qzTriMesh& mesh) {
  qzBBox box;
  forEachCorner(mesh, [&](const Wm4::Vector3<float>& corner) { box.selfExpand(corner); });
  return box;
}

}  // namespace qzToolkit
