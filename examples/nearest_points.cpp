// How far from an octahedron are some points, where is it nearest, and which of its triangles lie in a box?

#include <qzMeshQueries/MeshIndex.h>

#include <cstdio>
#include <vector>

using namespace qzMeshQueries;

int main() {
  const float vertices[] = {1, 0, 0, -1, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 1, 0, 0, -1};
  const std::uint32_t triangles[] = {0, 2, 4, 2, 1, 4, 1, 3, 4, 3, 0, 4, 2, 0, 5, 1, 2, 5, 3, 1, 5, 0, 3, 5};
  const MeshIndex index({vertices, 6, triangles, 8});

  const float points[][3] = {{0, 0, 0}, {3, 0, 0}, {1, 1, 0}, {0.5f, 0.5f, 0.5f}, {-2, -2, -2}};
  Nearest nearest[5];
  index.nearests(points, 5, nearest);
  for (int i = 0; i < 5; ++i)
    std::printf("(%g, %g, %g): %.4f away at (%.4f, %.4f, %.4f) on triangle %u\n", points[i][0], points[i][1],
                points[i][2], nearest[i].distance, nearest[i].point[0], nearest[i].point[1], nearest[i].point[2],
                nearest[i].triangle);

  // A limit makes a search shorter. Nothing is within it here.
  if (!index.nearest(points[1], 1.5f)) std::printf("nothing within 1.5 of (3, 0, 0)\n");

  const float min[] = {0.5f, -1, -1}, max[] = {2, -0.1f, 1};
  std::vector<std::uint32_t> numbers;
  index.trianglesInBox(min, max, numbers);
  std::printf("in the box:");
  for (const std::uint32_t number : numbers) std::printf(" %u", number);
  std::printf("\n");
}
