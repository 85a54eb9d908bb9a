#pragma once
// Vertex numbers, three per triangle.

#include <vector>

namespace qz {

class qzIndexBuffer {
 public:
  const void* GetData() const { return Numbers.data(); }

  int IndexQuantity = 0;
  std::vector<int> Numbers;
};

}  // namespace qz
