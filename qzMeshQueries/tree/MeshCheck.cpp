#include <qzCommonAddOns/qzDetail/base/qzPlatformAdapter.h>
#include <qzMeshQueries/kernel/RayTriangle.h>
#include <qzMeshQueries/tree/MeshCheck.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cmath>
#include <stdexcept>
#include <string>

namespace qzMeshQueries::detail {

namespace {

constexpr std::size_t kTrianglesPerPoll = 8192;

[[noreturn]] void refuse(std::size_t triangle, const std::string& why) {
  throw std::invalid_argument("triangle " + std::to_string(triangle) + ": " + why);
}

void checkTriangle(const Mesh& mesh, std::size_t triangle) {
  for (int corner = 0; corner < 3; ++corner) {
    const std::size_t vertex = mesh.triangles[3 * triangle + std::size_t(corner)];
    if (vertex >= mesh.vertexCount)
      refuse(triangle, "there is no vertex " + std::to_string(vertex) + " among " + std::to_string(mesh.vertexCount));
    for (std::size_t axis = 0; axis < 3; ++axis)
      if (!(std::fabs(mesh.vertices[3 * vertex + axis]) <= kLargestCoordinate))
        refuse(triangle, "a coordinate of vertex " + std::to_string(vertex) + " is not a number from -1e15 to 1e15");
  }
}

}  // namespace

void checkMesh(const Mesh& mesh, const BuildOptions& options) {
  // Numbers with firstTriangle added stay below kNone.
  const std::uint64_t nbNumbers = kNone - options.firstTriangle;
  for (std::size_t i = 0; i < mesh.triangleCount; ++i) {
    if (i % kTrianglesPerPoll == 0 && options.cancel != nullptr && qzDetail::isCanceled(*options.cancel))
      throw Cancelled();
    if (i >= nbNumbers)
      refuse(i, "with " + std::to_string(options.firstTriangle) + " added, its number is beyond 4294967294");
    checkTriangle(mesh, i);
  }
}

std::array<std::uint64_t, 2> digestOf(const Mesh& mesh) {
  const auto hash = [](const void* data, std::size_t bytes) { return XXH3_128bits(data, bytes); };
  const XXH128_hash_t vertices = hash(mesh.vertices, mesh.vertexCount * 3 * sizeof(float));
  const XXH128_hash_t triangles = hash(mesh.triangles, mesh.triangleCount * 3 * sizeof(std::uint32_t));
  const std::uint64_t parts[] = {vertices.low64,   vertices.high64,  triangles.low64,
                                 triangles.high64, mesh.vertexCount, mesh.triangleCount};
  const XXH128_hash_t all = hash(parts, sizeof(parts));
  return {all.low64, all.high64};
}

}  // namespace qzMeshQueries::detail
