#pragma once
// Points for questions of a MeshIndex, from a mesh and a seed. The same on every machine.

#include <array>
#include <cstdint>
#include <vector>

#include "support/qzBits.h"
#include "support/scenes/qzNearQuestions.h"
#include "support/scenes/qzQueryMeshes.h"

namespace qzTest {

/// As the batches of a MeshIndex take them.
class PointList {
 public:
  void add(const std::array<float, 3>& point) { mPoints.push_back(point); }
  std::size_t size() const { return mPoints.size(); }
  const std::array<float, 3>& operator[](std::size_t i) const { return mPoints[i]; }
  const float (*data() const)[3] { return reinterpret_cast<const float(*)[3]>(mPoints.data()); }

 private:
  std::vector<std::array<float, 3>> mPoints;
};

/// Draws points. The mesh must outlive it.
class QueryPoints {
 public:
  QueryPoints(const QueryMesh& mesh, std::uint32_t seed);

  using Point = std::array<float, 3>;
  /// In and around the box of the mesh.
  Point around(float size = 1.5f);
  /// At a vertex, on an edge or a face.
  Point onMesh();
  /// In line with such a point: one, two or three coordinates are the same as there, or nearly.
  Point inLine();
  /// With odd coordinates: NaN, infinities, zeros, denormals, some beyond 1e15.
  Point odd();
  /// One of those.
  Point any();
  /// So many of any().
  PointList many(std::size_t count);

  /// The largest side of the mesh's box.
  float size() const { return 2.0f * mSize; }

 private:
  const QueryMesh& mMesh;
  Random mRandom;
  float mCenter[3] = {}, mSize = 1.0f;
};

}  // namespace qzTest
