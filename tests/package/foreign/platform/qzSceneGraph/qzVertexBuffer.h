#pragma once
// Vertex positions, and a note of every one that is asked for.

#include <Wm4/Vector3.h>

#include <vector>

namespace qz {

class qzVertexBuffer {
 public:
  Wm4::Vector3<float> Position3(int i) const {
    Asked.push_back(i);
    return Wm4::Vector3<float>(Coordinates[3 * i], Coordinates[3 * i + 1], Coordinates[3 * i + 2]);
  }

  int VertexQuantity = 0;
  std::vector<float> Coordinates;
  mutable std::vector<int> Asked;
};

}  // namespace qz
