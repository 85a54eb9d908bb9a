#include <qzMeshQueries/kernel/RayTriangle.h>
#include <qzMeshQueries/tree/BuildWatch.h>
#include <qzMeshQueries/tree/MeshCheck.h>
#include <qzMeshQueries/tree/Threads.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace qzMeshQueries::detail {

namespace {

constexpr std::size_t kNoTriangle = std::numeric_limits<std::size_t>::max();

// Numbers with firstTriangle added stay below kNone.
std::uint64_t nbNumbers(const BuildOptions& options) {
  return kNone - options.firstTriangle;
}

bool isUsable(float coordinate) {
  return std::fabs(coordinate) <= kLargestCoordinate;
}

bool isUsable(const float* vertices, std::size_t vertex) {
  const float* const position = vertices + 3 * vertex;
  return isUsable(position[0]) && isUsable(position[1]) && isUsable(position[2]);
}

// The first triangle from begin to end that is not usable, or kNoTriangle.
std::size_t firstFault(const Mesh& mesh, std::size_t begin, std::size_t end) {
  for (std::size_t i = begin; i < end; ++i) {
    const std::size_t a = mesh.triangles[3 * i], b = mesh.triangles[3 * i + 1], c = mesh.triangles[3 * i + 2];
    if (std::max({a, b, c}) >= mesh.vertexCount || !isUsable(mesh.vertices, a) || !isUsable(mesh.vertices, b) ||
        !isUsable(mesh.vertices, c))
      return i;
  }
  return kNoTriangle;
}

[[noreturn]] void refuse(std::size_t triangle, const std::string& why) {
  throw std::invalid_argument("triangle " + std::to_string(triangle) + ": " + why);
}

[[noreturn]] void refuseVertex(std::size_t triangle, std::size_t vertex) {
  refuse(triangle, "a coordinate of vertex " + std::to_string(vertex) + " is not a number from -1e15 to 1e15");
}

[[noreturn]] void refuse(const Mesh& mesh, std::size_t triangle) {
  for (std::size_t corner = 0; corner < 3; ++corner) {
    const std::size_t vertex = mesh.triangles[3 * triangle + corner];
    if (vertex >= mesh.vertexCount)
      refuse(triangle, "there is no vertex " + std::to_string(vertex) + " among " + std::to_string(mesh.vertexCount));
    if (!isUsable(mesh.vertices, vertex)) refuseVertex(triangle, vertex);
  }
  throw std::logic_error("a triangle was refused without a reason");
}

}  // namespace

void checkMesh(const Mesh& mesh, const BuildOptions& options) {
  const auto n = std::size_t(std::min(std::uint64_t(mesh.triangleCount), nbNumbers(options)));
  BuildOptions silent = options;
  silent.progress = nullptr;
  BuildWatch watch(silent, 1);
  watch.done(0);
  std::atomic<std::size_t> fault{kNoTriangle};
  if (n > 0)
    onThreads(options.threads, [&] {
      forEach((n + kTrianglesPerPoll - 1) / kTrianglesPerPoll, [&](std::size_t chunk) {
        const std::size_t begin = chunk * kTrianglesPerPoll, end = std::min(begin + kTrianglesPerPoll, n);
        std::size_t first = fault;
        if (begin < first) {
          const std::size_t own = firstFault(mesh, begin, end);
          while (own < first && !fault.compare_exchange_weak(first, own)) {
          }
        }
        watch.done(double(end - begin));
      });
    });
  if (fault != kNoTriangle) refuse(mesh, fault);
  if (n < mesh.triangleCount)
    refuse(n, "with " + std::to_string(options.firstTriangle) + " added, its number is beyond 4294967294");
}

void checkVertices(const WideTree& tree, const float* vertices) {
  const bool areUsable = std::all_of(tree.vertexNumbers.begin(), tree.vertexNumbers.end(),
                                     [&](std::uint32_t vertex) { return isUsable(vertices, vertex); });
  if (areUsable) return;
  std::size_t triangle = kNoTriangle, fault = 0;
  forEachBlock(tree, [&](const Block& block) {
    const std::uint32_t* const numbers = &tree.vertexNumbers[block.head->firstVertex];
    for (int i = 0; i < block.triangleCount(); ++i)
      for (int which = 2; which >= 0; --which) {
        const std::uint32_t vertex = numbers[block.corners(which)[i]];
        if (block.numbers()[i] > triangle || isUsable(vertices, vertex)) continue;
        triangle = block.numbers()[i];
        fault = vertex;
      }
  });
  refuseVertex(triangle, fault);
}

namespace {

Digest hashOf(const void* data, std::size_t bytes) {
  const XXH128_hash_t hash = XXH3_128bits(data, bytes);
  return {hash.low64, hash.high64};
}

}  // namespace

Digest digestOfVertices(const float* vertices, std::size_t count) {
  return hashOf(vertices, count * 3 * sizeof(float));
}

Digest digestOfTriangles(const std::uint32_t* triangles, std::size_t count) {
  return hashOf(triangles, count * 3 * sizeof(std::uint32_t));
}

Digest digestOf(const Digest& vertices, const Digest& triangles, std::size_t vertexCount, std::size_t triangleCount) {
  const std::uint64_t parts[] = {vertices[0], vertices[1], triangles[0], triangles[1], vertexCount, triangleCount};
  return hashOf(parts, sizeof(parts));
}

}  // namespace qzMeshQueries::detail
