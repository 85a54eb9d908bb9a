#pragma once
// The questions that a MeshIndex answers, and the answers.

#include <qzSceneGraph/qzCancelInterfaceReadOnly.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <vector>

#if defined(QZ_MESHQUERIES_STATIC)
/// Precedes the name of an exported class. Empty for a static library; the CMake target defines QZ_MESHQUERIES_STATIC
/// for its users.
#define QZ_MESHQUERIES_API
#elif defined(_WIN32)
#if defined(QZ_MESHQUERIES_BUILD)
#define QZ_MESHQUERIES_API __declspec(dllexport)
#else
#define QZ_MESHQUERIES_API __declspec(dllimport)
#endif
#else
#define QZ_MESHQUERIES_API __attribute__((visibility("default")))
#endif

namespace qzMeshQueries {

/// The number that stands for no triangle.
inline constexpr std::uint32_t kNone = 0xFFFFFFFFu;

/// A view of a triangle mesh in the caller's memory. It is read during construction only.
struct Mesh {
  const float* vertices = nullptr;           ///< x y z of each vertex
  std::size_t vertexCount = 0;               ///< of vertices, not of floats
  const std::uint32_t* triangles = nullptr;  ///< three vertex numbers of each triangle
  std::size_t triangleCount = 0;             ///< of triangles, not of numbers
};

/// How much time a build takes for how much speed of the queries. Answers are the same.
enum class Quality {
  fast,  ///< Morton order
  good,  ///< surface area heuristic
  best   ///< the same, improved afterwards by reinsertion of subtrees
};

/// Options of a construction. None of them changes an answer, firstTriangle aside.
struct BuildOptions {
  Quality quality = Quality::good;  ///< of the hierarchy
  int threads = 0;                  ///< 0: as many as the machine has
  std::uint32_t firstTriangle = 0;  ///< added to every triangle number in an answer
  /// Polled at least every 10,000 triangles or so; may be null. Any thread of the build may poll, but never two at
  /// once. An exception from it leaves the construction.
  const qz::qzCancelInterfaceReadOnly* cancel = nullptr;
  /// Receives 0 to 1, ascending, on the calling thread. An exception from it leaves the construction.
  std::function<void(double)> progress;
};

/// Thrown by a construction whose cancel interface returned true.
struct QZ_MESHQUERIES_API Cancelled : std::exception {
  /// A message in English.
  const char* what() const noexcept override;
};

/// Which sides of a triangle a ray sees. A ray meets the front of (a, b, c) when direction . ((b - a) x (c - a)) < 0.
enum class Faces { both, front, back };

/// The points origin + t * direction for t from tMin to tMax, both inclusive. Two rows of 16 bytes.
struct Ray {
  float origin[3];                                      ///< each coordinate from -1e15 to 1e15
  float tMin = 0;                                       ///< -infinity is allowed
  float direction[3];                                   ///< of any length other than 0; t counts in multiples of it
  float tMax = std::numeric_limits<float>::infinity();  ///< below tMin: nothing is hit
};

/// What a question about a ray leaves out.
struct RayOptions {
  Faces faces = Faces::both;   ///< the sides that are hit
  std::uint32_t skip = kNone;  ///< the number of a triangle that is never reported, firstTriangle included
};

/// Where a ray meets a triangle: at origin + t * direction, and at a + u * (b - a) + v * (c - a).
struct Hit {
  float t = std::numeric_limits<float>::infinity();  ///< in multiples of the direction
  float u = 0;                                       ///< weight of b
  float v = 0;                                       ///< weight of c
  std::uint32_t triangle = kNone;                    ///< its number, firstTriangle included; kNone without a hit

  /// Whether there is a hit.
  explicit operator bool() const { return triangle != kNone; }
};
static_assert(sizeof(Hit) == 16, "arrays of hits are passed on as they are");

/// How often a ray meets the front and the back of triangles.
struct Crossings {
  std::uint32_t front = 0;  ///< where it goes in, if normals point outwards
  std::uint32_t back = 0;   ///< where it comes out
};

/// The point of a mesh that is nearest to a place: a + u * (b - a) + v * (c - a) of one of its triangles.
struct Nearest {
  float point[3];                                           ///< where it is; NaN if there is none
  float distance = std::numeric_limits<float>::infinity();  ///< from the place
  float u = 0;                                              ///< weight of b; NaN if there is none
  float v = 0;                                              ///< weight of c; NaN if there is none
  std::uint32_t triangle = kNone;  ///< its number, firstTriangle included; kNone without a point

  /// Whether there is a point.
  explicit operator bool() const { return triangle != kNone; }
};

/// The answers of a batch in which each question is answered by a list: that of question i is items[starts[i]] to
/// items[starts[i + 1] - 1], and empty if both starts are the same.
template <class T>
struct Lists {
  std::vector<std::size_t> starts;  ///< one more than there are questions
  std::vector<T> items;             ///< all answers, one after the other
};

}  // namespace qzMeshQueries
