// Tells the inside of a mesh with a hole from the outside: winding numbers in a plane through an open octahedron.

#include <qzMeshQueries/MeshIndex.h>

#include <cmath>
#include <cstdio>
#include <vector>

using namespace qzMeshQueries;

int main() {
  const float vertices[] = {1, 0, 0, -1, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 1, 0, 0, -1};
  // Without {0, 2, 4} and {3, 0, 4}, on the upper right.
  const std::uint32_t triangles[] = {2, 1, 4, 1, 3, 4, 2, 0, 5, 1, 2, 5, 3, 1, 5, 0, 3, 5};
  const MeshIndex index({vertices, 6, triangles, 6});

  const int width = 41, height = 21;
  std::vector<float> points;
  for (int row = 0; row < height; ++row)
    for (int column = 0; column < width; ++column)
      points.insert(points.end(), {float(column - width / 2) / 16, 0, float(height / 2 - row) / 8});
  const auto list = reinterpret_cast<const float(*)[3]>(points.data());
  std::vector<double> windings(points.size() / 3);
  index.windingNumbers(list, windings.size(), windings.data());
  for (std::size_t i = 0; i < windings.size(); ++i) {
    const long tenths = std::lround(10 * windings[i]);
    std::putchar(tenths <= 0 ? '.' : tenths >= 10 ? '#' : static_cast<char>('0' + tenths));
    if ((i + 1) % width == 0) std::putchar('\n');
  }

  const float inside[3] = {-0.25f, 0, 0}, outside[3] = {-0.75f, 0, -0.75f};
  for (const float* point : {inside, outside})
    std::printf("%s, winding number %.2f, signed distance %.2f\n", index.contains(point) ? "inside" : "outside",
                index.windingNumber(point), index.signedDistance(point));
}
