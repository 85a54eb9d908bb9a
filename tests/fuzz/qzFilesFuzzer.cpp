// Mesh and ray files of any bytes: either a mesh within its limits, or one line with the error.

#include <toolkit/base/qzError.h>
#include <toolkit/io/mesh/qzMeshFile.h>
#include <toolkit/io/table/qzRayFile.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "fuzz/qzFuzzCheck.h"
#include "fuzz/qzFuzzInput.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

namespace {

using qzFuzz::fail;

constexpr std::size_t kMaxTriangles = 5000;

void expectMesh(const std::string& path) {
  const qz::qzTriMesh mesh = qzToolkit::loadMesh(path, nullptr, kMaxTriangles);
  const qz::qzVertexBuffer& vertices = *mesh.getVertexBuffer();
  const qz::qzIndexBuffer& indices = *mesh.getIndexBuffer();
  const int nbIndices = indices.getNbIndices();
  if (nbIndices < 3 || nbIndices % 3 != 0 || nbIndices > static_cast<int>(3 * kMaxTriangles)) {
    fail(std::to_string(nbIndices) + " indices");
  }
  for (int i = 0; i < nbIndices; ++i) {
    const int index = indices.getIndices()[i];
    if (index < 0 || index >= vertices.getNbVertices()) fail("index " + std::to_string(index) + " out of range");
  }
  for (int i = 0; i < vertices.getNbVertices(); ++i) {
    const qzFuzz::Point vertex = vertices.Position3(i);
    for (int axis = 0; axis < 3; ++axis) {
      if (!std::isfinite(vertex[axis])) fail("vertex " + std::to_string(i) + " is not finite");
    }
  }
}

/// What reading rays in blocks of this size ends with: how many there are and all their bits, or what is wrong.
std::string outcomeOfRays(const std::string& path, std::size_t blockSize) {
  try {
    const std::vector<qzToolkit::qzRay> rays = qzTest::readRays(path, blockSize);
    std::string bits = std::to_string(rays.size());
    for (const qzToolkit::qzRay& ray : rays) {
      const float values[] = {ray.mOrigin[0],    ray.mOrigin[1],    ray.mOrigin[2], ray.mDirection[0],
                              ray.mDirection[1], ray.mDirection[2], ray.mTMin,      ray.mTMax};
      bits.append(reinterpret_cast<const char*>(values), sizeof values);
    }
    return bits;
  } catch (const qzToolkit::qzError& error) {
    return error.what();
  }
}

/// One block or many, the rays and what is wrong with them are the same.
void expectRays(const std::string& path) {
  const std::string whole = outcomeOfRays(path, qzToolkit::qzRayReader::kBlockSize);
  for (const std::size_t blockSize : {1, 7, 64}) {
    if (outcomeOfRays(path, blockSize) != whole) fail("other rays in blocks of " + std::to_string(blockSize));
  }
  qzTest::readRays(path);
}

/// Runs read, which may succeed or throw one line about the file.
void expectOneLineAtMost(const std::string& path, const std::function<void()>& read) {
  try {
    read();
  } catch (const qzToolkit::qzError& error) {
    const std::string line = error.what();
    if (line.compare(0, path.size(), path) != 0 || line.size() < path.size() + 3) fail("no good error: " + line);
    if (line.find('\n') != std::string::npos) fail("more than one line: " + line);
  } catch (const std::exception& error) {
    fail(std::string("not an error about the file: ") + error.what());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qzFuzz::ignoreChildren();
  static const qzTest::TemporaryFolder kFolder;
  // The first byte says what the rest is. "packed" are the bytes of a file that gets packed, ".gz" those of a packed
  // one.
  static const char* const kKinds[] = {"obj", "ply", "stl",  "off", "dae", "obj.gz", "obj packed", "ply packed",
                                       "csv", "npy", "gltf", "glb", "3ds", "x3d",    "fbx",        "stl packed"};
  qzFuzz::Input input(data, size);
  const std::string kind = kKinds[input.byte() % 16], extension = kind.substr(0, kind.find(' '));
  const bool isPacked = extension != kind;
  const std::string bytes = input.rest();
  const std::string path =
      kFolder.write("fuzz." + extension + (isPacked ? ".gz" : ""), isPacked ? qzTest::gzip(bytes) : bytes);
  expectOneLineAtMost(path, [&] {
    if (kind == "csv" || kind == "npy") {
      expectRays(path);
    } else {
      expectMesh(path);
    }
  });
  return 0;
}
