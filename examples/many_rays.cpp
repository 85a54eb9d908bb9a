// Looks at an octahedron from above: one ray per character, all at once, on all threads.

#include <qzMeshQueries/MeshIndex.h>

#include <cstdio>
#include <vector>

using namespace qzMeshQueries;

int main() {
  const float vertices[] = {1, 0, 0, -1, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 1, 0, 0, -1};
  const std::uint32_t triangles[] = {0, 2, 4, 2, 1, 4, 1, 3, 4, 3, 0, 4, 2, 0, 5, 1, 2, 5, 3, 1, 5, 0, 3, 5};
  const MeshIndex index({vertices, 6, triangles, 8});
  std::printf("closed: %s\n", index.isClosed() ? "yes" : "no");

  const int width = 33, height = 17;
  std::vector<Ray> rays;
  for (int row = 0; row < height; ++row)
    for (int column = 0; column < width; ++column) {
      const float x = float(column - width / 2) / 16, y = float(height / 2 - row) / 8;
      rays.push_back({{x, y, 2}, 0, {0, 0, -1}});
    }
  std::vector<Hit> hits(rays.size());
  index.closestHits(rays.data(), rays.size(), hits.data());
  for (std::size_t i = 0; i < hits.size(); ++i) {
    std::putchar(hits[i] ? char('0' + hits[i].triangle) : '.');
    if ((i + 1) % width == 0) std::putchar('\n');
  }

  // Whatever a ray meets, corners and edges too, it goes in as often as out.
  std::vector<Crossings> crossings(rays.size());
  index.crossings(rays.data(), rays.size(), crossings.data());
  Crossings all;
  for (const Crossings& count : crossings) {
    all.front += count.front;
    all.back += count.back;
  }
  std::printf("in: %u, out: %u\n", all.front, all.back);
}
