// Asks every question about rays and exits with 0 when the answers are right.

#include <qzMeshQueries/MeshIndex.h>

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <vector>

namespace {

int nbFailures = 0;

void check(bool holds, const char* what) {
  if (!holds) {
    std::printf("wrong: %s\n", what);
    ++nbFailures;
  }
}

struct Yes : qz::qzCancelInterfaceReadOnly {
  bool isCanceled() const override { return true; }
};

}  // namespace

int main() {
  using namespace qzMeshQueries;

  // A tetrahedron whose normals point outwards.
  const float vertices[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
  const std::uint32_t triangles[] = {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
  const Mesh mesh{vertices, 4, triangles, 4};
  const MeshIndex index(mesh);
  check(index.isClosed() && index.triangleCount() == 4 && index.vertexCount() == 4, "it is a closed tetrahedron");
  check(index.meshDigest() != MeshIndex().meshDigest(), "its digest is not that of no mesh");

  // Down through the slanted face at z = 0.5 and out at z = 0.
  const Ray down{{0.25f, 0.25f, 2}, 0, {0, 0, -1}};
  const Hit hit = index.closestHit(down);
  check(hit && hit.triangle == 3 && hit.t == 1.5f, "the ray down meets triangle 3 after 1.5");
  check(index.anyHit(down), "it hits something");
  std::vector<Hit> hits;
  index.allHits(down, hits);
  check(hits.size() == 2 && hits[1].triangle == 0 && hits[1].t == 2, "it leaves through triangle 0 after 2");
  const Crossings count = index.crossings(down);
  check(count.front == 1 && count.back == 1, "it crosses one front and one back");

  // Many at once, on two threads.
  const std::vector<Ray> rays(10000, down);
  std::vector<Hit> closest(rays.size());
  index.closestHits(rays.data(), rays.size(), closest.data(), {}, 2);
  check(closest.back().triangle == 3 && closest.back().t == 1.5f, "the last of many rays hits as the one did");
  const Lists<Hit> all = index.allHits(rays.data(), rays.size(), {}, 2);
  check(all.starts.back() == 2 * rays.size() && all.items.size() == all.starts.back(), "each of many has two hits");

  // What is thrown arrives by its type.
  BuildOptions options;
  const Yes yes;
  options.cancel = &yes;
  bool isCancelled = false, isRefused = false;
  try {
    MeshIndex(mesh, options);
  } catch (const Cancelled&) {
    isCancelled = true;
  }
  try {
    MeshIndex(Mesh{vertices, 3, triangles, 4});
  } catch (const std::invalid_argument&) {
    isRefused = true;
  }
  check(isCancelled, "a cancelled construction throws Cancelled");
  check(isRefused, "a vertex number out of range is refused");

  if (nbFailures == 0) std::printf("all right\n");
  return nbFailures == 0 ? 0 : 1;
}
