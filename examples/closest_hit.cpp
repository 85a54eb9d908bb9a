#include <qzMeshQueries/MeshIndex.h>

#include <cstdio>

int main() {
  const float vertices[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  const std::uint32_t triangles[] = {0, 1, 2};
  const qzMeshQueries::MeshIndex index({vertices, 3, triangles, 1});

  const qzMeshQueries::Hit hit = index.closestHit({{0.25f, 0.5f, 3}, 0, {0, 0, -1}});
  if (hit) std::printf("triangle %u at distance %g, weights %g %g\n", hit.triangle, hit.t, hit.u, hit.v);
}
