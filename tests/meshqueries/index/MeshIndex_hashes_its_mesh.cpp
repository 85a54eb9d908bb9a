// The digest covers every bit of the mesh as it was given, and nothing else; counts and memory.

#include <doctest/doctest.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

using Digest = std::array<std::uint64_t, 2>;

Digest digestOf(const QueryMesh& mesh) {
  return MeshIndex(mesh.view()).meshDigest();
}

std::string textOf(const Digest& digest) {
  char text[40];
  std::snprintf(text, sizeof text, "%016llx %016llx", static_cast<unsigned long long>(digest[0]),
                static_cast<unsigned long long>(digest[1]));
  return text;
}

}  // namespace

TEST_CASE("options do not change the digest, the counts or whether the mesh is closed") {
  const QueryMesh mesh = starMesh(3, 1201);
  const MeshIndex first(mesh.view());
  for (const Quality quality : allQualities())
    for (const int threads : {1, 2, 0})
      for (const std::uint32_t number : {0u, 17u}) {
        BuildOptions options;
        options.quality = quality;
        options.threads = threads;
        options.firstTriangle = number;
        const MeshIndex index(mesh.view(), options);
        CHECK(index.meshDigest() == first.meshDigest());
        CHECK(index.triangleCount() == mesh.triangleCount());
        CHECK(index.vertexCount() == mesh.vertexCount());
        CHECK(index.isClosed());
      }
}

TEST_CASE("every bit of a vertex and of a triangle counts") {
  const QueryMesh mesh = cubeMesh();
  std::set<Digest> digests = {digestOf(mesh)};
  std::size_t nbMeshes = 1;
  for (std::size_t i = 0; i < mesh.vertices.size(); ++i) {
    // Bits that leave the coordinate small; -0 and 0 differ.
    for (const int bit : {0, 1, 7, 15, 22, 23, 31}) {
      QueryMesh changed = mesh;
      changed.vertices[i] = floatFromBits(bitsOf(mesh.vertices[i]) ^ (1u << bit));
      digests.insert(digestOf(changed));
      ++nbMeshes;
    }
  }
  for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
    for (const int bit : {0, 1, 2}) {
      QueryMesh changed = mesh;
      changed.triangles[i] ^= 1u << bit;
      digests.insert(digestOf(changed));
      ++nbMeshes;
    }
  }
  CHECK(digests.size() == nbMeshes);
}

TEST_CASE("unused vertices, the order of triangles and the first corner count") {
  const QueryMesh mesh = cubeMesh();
  const Digest digest = digestOf(mesh);
  QueryMesh more = mesh;
  more.addVertex(0.0f, 0.0f, 0.0f);
  QueryMesh evenMore = more;
  evenMore.addVertex(0.0f, 0.0f, 0.0f);
  QueryMesh negative = mesh;
  negative.addVertex(0.0f, -0.0f, 0.0f);
  QueryMesh swapped = mesh;
  std::swap_ranges(swapped.triangles.begin(), swapped.triangles.begin() + 3, swapped.triangles.begin() + 3);
  QueryMesh rotated = mesh;
  std::rotate(rotated.triangles.begin(), rotated.triangles.begin() + 1, rotated.triangles.begin() + 3);
  QueryMesh fewer = mesh;
  fewer.triangles.resize(33);
  const std::set<Digest> digests = {digest,
                                    digestOf(more),
                                    digestOf(evenMore),
                                    digestOf(negative),
                                    digestOf(swapped),
                                    digestOf(rotated),
                                    digestOf(fewer),
                                    digestOf(QueryMesh{})};
  CHECK(digests.size() == 8);
  CHECK(digestOf(mesh) == digest);
}

TEST_CASE("a vertex is not mistaken for a triangle") {
  // The same bytes, divided in another way.
  const std::uint32_t words[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  float zeros[12] = {};
  const Digest one = MeshIndex(Mesh{zeros, 3, words, 1}).meshDigest();
  const Digest other = MeshIndex(Mesh{zeros, 1, words, 3}).meshDigest();
  CHECK(one != other);
}

TEST_CASE("digests are the same in every run and build") {
  CHECK(textOf(MeshIndex().meshDigest()) == "edd8962f33e0b7f4 d6cd785f4bdd9d8b");
  CHECK(textOf(MeshIndex(cubeMesh().view()).meshDigest()) == "8a077c8489fcb241 d1c2051f53864091");
}

TEST_CASE("memory grows with the mesh, and stays within some tens of bytes per triangle") {
  const QueryMesh small = queryMeshOf("terrain", terrainMesh(20, 1202));
  const QueryMesh large = queryMeshOf("terrain", terrainMesh(100, 1203));
  for (const Quality quality : allQualities()) {
    BuildOptions options;
    options.quality = quality;
    const MeshIndex ofSmall(small.view(), options), ofLarge(large.view(), options);
    INFO(nameOf(quality), ": ", double(ofLarge.memoryUsed()) / double(ofLarge.triangleCount()), " bytes per triangle");
    CHECK(ofLarge.memoryUsed() > 15 * ofSmall.memoryUsed());
    CHECK(ofLarge.memoryUsed() > 12 * ofLarge.triangleCount());
    CHECK(ofLarge.memoryUsed() < 70 * ofLarge.triangleCount());
  }
}
