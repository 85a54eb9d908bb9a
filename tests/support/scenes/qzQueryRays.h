#pragma once
// Rays for questions of a MeshIndex, from a mesh and a seed. The same on every machine.

#include <qzMeshQueries/MeshTypes.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/qzBits.h"
#include "support/scenes/qzQueryMeshes.h"
#include "support/scenes/qzTestMeshes.h"

namespace qzTest {

/// Draws rays. The mesh must outlive it.
class QueryRays {
 public:
  QueryRays(const QueryMesh& mesh, std::uint32_t seed);

  /// Between two points in and around the mesh.
  qzMeshQueries::Ray chord();
  /// At a vertex, an edge or a face, from anywhere: along an axis, from another vertex, within the plane of a triangle,
  /// from 1e7 or 1e15 away, from the target itself. Directions of any length.
  qzMeshQueries::Ray aimed();
  /// Any floats: NaN, infinities, zeros and denormals.
  qzMeshQueries::Ray odd();
  /// One of those, and any limits: infinite, negative, equal, inverted, NaN.
  qzMeshQueries::Ray any();
  /// aimed(), without limits: from -infinity to infinity.
  qzMeshQueries::Ray line();

  qzMeshQueries::RayOptions anyOptions();
  std::uint32_t anyNumber(std::uint32_t count) { return mRandom.below(count); }

  /// Through the pixels of a picture, row by row.
  std::vector<qzMeshQueries::Ray> camera(int width, int height);
  /// The same, but with parallel rays along an axis.
  std::vector<qzMeshQueries::Ray> parallel(int width, int height);
  /// So many of any().
  std::vector<qzMeshQueries::Ray> many(std::size_t count);

 private:
  struct Point {
    float x[3];
  };
  Point around(float size);
  Point target();
  void limit(qzMeshQueries::Ray& ray);
  float pick(const float* values, std::uint32_t count) { return values[mRandom.below(count)]; }

  const QueryMesh& mMesh;
  Random mRandom;
  float mCenter[3] = {}, mSize = 1.0f;
};

/// All numbers, as they are written in C++.
std::string describe(const qzMeshQueries::Ray& ray);
std::string describe(const qzMeshQueries::RayOptions& options);
std::string describe(const qzMeshQueries::Hit& hit);

}  // namespace qzTest
