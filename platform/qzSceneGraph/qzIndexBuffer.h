#pragma once
// qz::qzIndexBuffer: vertex numbers of a mesh, three per triangle, copied at construction. Stand-in for the scene
// library's type.

#include <utility>
#include <vector>

namespace qz {

class qzIndexBuffer {
 public:
  /// Copies nbIndices numbers, none if nbIndices is 0 or negative. getNbIndices returns nbIndices as given.
  qzIndexBuffer(const int* indices, int nbIndices)
      : mIndices(indices, indices + (nbIndices > 0 ? nbIndices : 0)), mNbIndices(nbIndices) {}

  explicit qzIndexBuffer(std::vector<int> indices)
      : mIndices(std::move(indices)), mNbIndices(static_cast<int>(mIndices.size())) {}

  int getNbIndices() const { return mNbIndices; }
  const int* getIndices() const { return mIndices.data(); }

 private:
  std::vector<int> mIndices;
  int mNbIndices;
};

}  // namespace qz
