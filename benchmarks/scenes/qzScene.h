#pragma once
// Scenes: real meshes from files, and procedural meshes of a size and a seed, the same on every machine.

#include <Wm4/Vector3.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <set>
#include <string>
#include <vector>

namespace qzBench {

struct qzScene {
  std::string mName;
  qz::qzTriMesh mMesh;                          ///< for the library
  std::vector<Wm4::Vector3<float>> mPositions;  ///< the same vertices for the peers, and one more as padding
  Wm4::Vector3<float> mMin, mMax, mCentre;      ///< of the bounding box
  float mRadius;                                ///< of that box's circumscribed sphere

  int getNbVertices() const { return mMesh.getVertexBuffer()->getNbVertices(); }
  int getNbTriangles() const { return mMesh.getIndexBuffer()->getNbIndices() / 3; }
  const int* getIndices() const { return mMesh.getIndexBuffer()->getIndices(); }
  Wm4::Vector3<float> getVertex(int triangle, int corner) const {
    return mPositions[static_cast<std::size_t>(getIndices()[3 * triangle + corner])];
  }
};

/// The scene of a name. Files are read from folder:
///   motorbike                          a motorbike for wind-tunnel simulation, thin parts and long triangles
///   dragon, dragon2, dragon3, dragon4  a scan in four sizes, 871 thousand to 11 thousand triangles
///   terrain10k, 100k, 1M, 10M          a fractal landscape, a grid of shared vertices
///   soup10k, 100k, 1M, 10M             unconnected random triangles that fill a cube
///   buildings, buildings10k            a city of boxes, 400 thousand and 10 thousand triangles
/// Throws std::invalid_argument for any other name, and what the mesh reader throws.
qzScene makeScene(const std::string& name, const std::string& folder);
/// A scene of any mesh with at least one triangle, whose triangles use all vertices.
qzScene makeScene(const std::string& name, qz::qzTriMesh mesh);
std::set<std::string> sceneNames();

}  // namespace qzBench
