#pragma once
// qz::qzVertexBuffer: vertex positions of a mesh, copied at construction. Stand-in for the scene library's type.

#include <Wm4/Vector3.h>

#include <utility>
#include <vector>

namespace qz {

class qzVertexBuffer {
 public:
  /// Copies nbVertices positions, none if nbVertices is 0 or negative. getNbVertices returns nbVertices as given.
  qzVertexBuffer(const Wm4::Vector3<float>* positions, int nbVertices)
      : mPositions(positions, positions + (nbVertices > 0 ? nbVertices : 0)), mNbVertices(nbVertices) {}

  explicit qzVertexBuffer(std::vector<Wm4::Vector3<float>> positions)
      : mPositions(std::move(positions)), mNbVertices(static_cast<int>(mPositions.size())) {}

  int getNbVertices() const { return mNbVertices; }

  /// Position of vertex i, unchecked.
  Wm4::Vector3<float> Position3(int i) const { return mPositions[static_cast<std::size_t>(i)]; }

 private:
  std::vector<Wm4::Vector3<float>> mPositions;
  int mNbVertices;
};

}  // namespace qz
