#pragma once
// Points, boxes and regions for questions of a MeshIndex, from a mesh and a seed. The same on every machine.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "support/qzBits.h"
#include "support/scenes/qzQueryMeshes.h"
#include "support/scenes/qzTestMeshes.h"

namespace qzTest {

using Place = std::array<float, 3>;
using PlaneOf = std::array<float, 4>;

/// What is near a place, what is in a sphere, a box and a region.
struct NearQuestion {
  Place point = {};
  float distance = kInf;
  Place min = {}, max = {};
  std::vector<PlaneOf> planes;

  const float (*planeData() const)[4] { return reinterpret_cast<const float(*)[4]>(planes.data()); }
};

/// Draws questions. The mesh must outlive it.
class NearQuestions {
 public:
  NearQuestions(const QueryMesh& mesh, std::uint32_t seed);

  /// In and around the mesh: a vertex, a middle of an edge, a place on a face or beside one, the middle of everything,
  /// the same distance from two triangles, far away, and any floats.
  Place point();
  /// One of everything. Boxes and planes often touch a vertex, and hold nothing, something or all of the mesh.
  NearQuestion any();
  std::uint32_t below(std::uint32_t count) { return mRandom.below(count); }
  /// The points of a grid around the mesh, in order.
  std::vector<Place> grid(int side);

 private:
  Place around(float size);
  Place onMesh();
  float oddNumber();

  const QueryMesh& mMesh;
  Random mRandom;
  Place mCenter = {};
  float mSize = 1.0f;
};

std::string describe(const Place& point);
std::string describe(const NearQuestion& question);

}  // namespace qzTest
