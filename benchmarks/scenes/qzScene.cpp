#include <benchmarks/scenes/qzScene.h>

#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/io/mesh/qzMeshFile.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>
#include <unordered_map>

#include <benchmarks/core/qzRandom.h>
#include <benchmarks/scenes/qzCity.h>

namespace qzBench {

namespace {

struct tBitsHash {
  std::size_t operator()(const std::array<std::uint32_t, 3>& bits) const {
    std::uint64_t hash = 0;
    for (std::uint32_t word : bits) hash = (hash ^ word) * 0x9E3779B97F4A7C15ull;
    return static_cast<std::size_t>(hash ^ (hash >> 32));
  }
};

/// Merges vertices of equal coordinates, because some file formats repeat a vertex for every triangle.
qz::qzTriMesh withSharedVertices(const qz::qzTriMesh& mesh) {
  std::vector<tVector> positions;
  std::vector<int> indices;
  std::unordered_map<std::array<std::uint32_t, 3>, int, tBitsHash> numbers;
  const qz::qzIndexBuffer& source = *mesh.getIndexBuffer();
  for (int i = 0; i < source.getNbIndices(); ++i) {
    const tVector position = mesh.getVertexBuffer()->Position3(source.getIndices()[i]);
    std::array<std::uint32_t, 3> bits;
    std::memcpy(bits.data(), &position, sizeof bits);
    const auto [entry, isNew] = numbers.try_emplace(bits, static_cast<int>(positions.size()));
    if (isNew) positions.push_back(position);
    indices.push_back(entry->second);
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(positions)), qz::qzIndexBuffer(std::move(indices)));
}

/// Value noise: random heights on the integer grid, interpolated smoothly.
float noise(float x, float y, std::uint32_t seed) {
  const int column = static_cast<int>(x), row = static_cast<int>(y);
  const auto height = [seed](int i, int j) {
    std::uint32_t hash = seed ^ (std::uint32_t(i) * 0x9E3779B1u) ^ (std::uint32_t(j) * 0x85EBCA77u);
    hash = (hash ^ (hash >> 15)) * 0x2C1B3C6Du;
    hash = (hash ^ (hash >> 12)) * 0x297A2D39u;
    return float((hash ^ (hash >> 15)) >> 8) * (1.0f / 16777216.0f);
  };
  float u = x - float(column), v = y - float(row);
  u = u * u * (3.0f - 2.0f * u);
  v = v * v * (3.0f - 2.0f * v);
  const float near = height(column, row) * (1.0f - u) + height(column + 1, row) * u;
  const float far = height(column, row + 1) * (1.0f - u) + height(column + 1, row + 1) * u;
  return near * (1.0f - v) + far * v;
}

/// A fractal height field over the unit square of x and z, y up.
qz::qzTriMesh terrain(int nbTriangles) {
  const int cells = static_cast<int>(std::sqrt(nbTriangles / 2.0));
  std::vector<tVector> positions;
  for (int row = 0; row <= cells; ++row)
    for (int column = 0; column <= cells; ++column) {
      const float x = float(column) / float(cells), z = float(row) / float(cells);
      float y = 0.0f, amplitude = 0.2f, frequency = 4.0f;
      for (std::uint32_t octave = 0; octave < 12; ++octave, amplitude *= 0.5f, frequency *= 2.0f)
        y += amplitude * noise(x * frequency, z * frequency, octave);
      positions.push_back(tVector(x, y, z));
    }
  std::vector<int> indices;
  for (int row = 0; row < cells; ++row)
    for (int column = 0; column < cells; ++column) {
      const int a = row * (cells + 1) + column, b = a + 1, c = a + cells + 1, d = c + 1;
      indices.insert(indices.end(), {a, c, b, b, c, d});
    }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(positions)), qz::qzIndexBuffer(std::move(indices)));
}

/// Random triangles in the unit cube, about as large as their distance from each other.
qz::qzTriMesh soup(int nbTriangles) {
  qzRandom random(20);
  const float size = 1.0f / std::cbrt(float(nbTriangles));
  std::vector<tVector> positions;
  std::vector<int> indices;
  for (int i = 0; i < nbTriangles; ++i) {
    const tVector centre = random.inUnitCube();
    for (int corner = 0; corner < 3; ++corner) {
      const tVector offset = random.inUnitCube();
      indices.push_back(static_cast<int>(positions.size()));
      positions.push_back(tVector(centre[0] + size * (offset[0] - 0.5f), centre[1] + size * (offset[1] - 0.5f),
                                  centre[2] + size * (offset[2] - 0.5f)));
    }
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(positions)), qz::qzIndexBuffer(std::move(indices)));
}

const std::map<std::string, std::string> kFiles = {{"motorbike", "motorBike.obj.gz"},
                                                   {"dragon", "dragon_vrip.ply.gz"},
                                                   {"dragon2", "dragon_vrip_res2.ply.gz"},
                                                   {"dragon3", "dragon_vrip_res3.ply.gz"},
                                                   {"dragon4", "dragon_vrip_res4.ply.gz"}};
const std::map<std::string, int> kCities = {{"buildings", 400000}, {"buildings10k", 10000}};
const std::pair<const char*, int> kSizes[] = {{"10k", 10000}, {"100k", 100000}, {"1M", 1000000}, {"10M", 10000000}};

qz::qzTriMesh makeMesh(const std::string& name, const std::string& folder) {
  const auto file = kFiles.find(name);
  if (file != kFiles.end()) return withSharedVertices(qzToolkit::loadMesh(folder + "/" + file->second));
  const auto ownCity = kCities.find(name);
  if (ownCity != kCities.end()) return city(ownCity->second, 5);
  for (const auto& [suffix, size] : kSizes) {
    if (name == std::string("terrain") + suffix) return terrain(size);
    if (name == std::string("soup") + suffix) return soup(size);
  }
  throw std::invalid_argument("there is no scene called '" + name + "'");
}

}  // namespace

std::set<std::string> sceneNames() {
  std::set<std::string> names;
  for (const auto& [name, file] : kFiles) names.insert(name);
  for (const auto& [name, size] : kCities) names.insert(name);
  for (const auto& [suffix, size] : kSizes)
    names.insert({std::string("terrain") + suffix, std::string("soup") + suffix});
  return names;
}

qzScene makeScene(const std::string& name, const std::string& folder) {
  return makeScene(name, makeMesh(name, folder));
}

qzScene makeScene(const std::string& name, qz::qzTriMesh mesh) {
  qzScene scene{name, std::move(mesh), {}, {}, {}, {}, 0.0f};
  for (int i = 0; i < scene.getNbVertices(); ++i)
    scene.mPositions.push_back(scene.mMesh.getVertexBuffer()->Position3(i));
  const qzBBox box = qzToolkit::boxOf(scene.mMesh);
  scene.mMin = box.getMinPoint();
  scene.mMax = box.getMaxPoint();
  tVector half;
  for (int axis = 0; axis < 3; ++axis) {
    scene.mCentre[axis] = (scene.mMin[axis] + scene.mMax[axis]) * 0.5f;
    half[axis] = (scene.mMax[axis] - scene.mMin[axis]) * 0.5f;
  }
  scene.mRadius = std::sqrt(dot(half, half));
  scene.mPositions.push_back(scene.mCentre);  // padding: Embree loads 16 bytes per vertex
  return scene;
}

}  // namespace qzBench
