#pragma once
// qzMeshQueries::MeshIndex: answers questions about a triangle mesh.
//
// Every answer depends on the mesh and the question alone: not on the quality of the build, the processor, the number
// of threads, or the batch that a question came in. An index over n triangles answers as n indices over one triangle
// each would, combined; ties are settled by triangle number.

#include <qzMeshQueries/MeshTypes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace qzMeshQueries {

/// A triangle mesh, copied into a bounding volume hierarchy. It can be moved, not copied; a moved-from index has no
/// triangles.
///
/// Rays are watertight. A ray crosses a triangle when the origin lies in the triangle's image under a shear that makes
/// the ray an axis; exact arithmetic decides, and an image through the origin is judged as if the origin were displaced
/// by an infinitely small (e, e * e). So a line crosses a closed mesh as often inwards as outwards, also at edges, at
/// vertices and along faces. Triangles without area, and triangles seen exactly edge-on, are never hit.
///
/// The depth of a hit is its t times the largest |component| of the direction. Before t is rounded to float, it is off
/// by at most 9 * 2^-24 * reach * (1 + slope), and it lies between the depths of the corners, up to 2^-50 of them.
/// reach is the largest |coordinate| of the corners relative to the origin, slope the steepness of the triangle's plane
/// over the plane across that component's axis. a + u * (b - a) + v * (c - a) lies within 15 * 2^-24 * reach of the
/// ray. (With a reach below 2^-100, roundings of 2^-149 count as well.) A t that overflows is infinite.
/// docs/watertight.md has the proofs.
///
/// A ray hits nothing if it has a NaN anywhere, an infinite or zero direction, a tMin larger than tMax, or an origin
/// with a coordinate that is not finite or larger than 1e15.
///
/// Threads: everything const may run on any number of threads at once.
class QZ_MESHQUERIES_API MeshIndex {
 public:
  /// No triangles: every question misses.
  MeshIndex();

  /// Copies the mesh and builds the hierarchy. Triangles without area are kept; unused vertices may hold anything.
  /// Failure: std::invalid_argument, naming the first such triangle, for a vertex number out of range, a coordinate of
  /// a used vertex that is NaN, infinite or larger than 1e15, or numbers beyond kNone with firstTriangle added;
  /// Cancelled; std::bad_alloc; std::length_error for meshes beyond about a billion triangles; std::runtime_error if
  /// the system refuses a thread; whatever progress and cancel throw.
  /// Cost: O(n log n) time, on as many threads as the options say.
  explicit MeshIndex(const Mesh& mesh, const BuildOptions& options = {});

  ~MeshIndex();

  /// Leaves the other one without triangles.
  MeshIndex(MeshIndex&&) noexcept;
  MeshIndex& operator=(MeshIndex&&) noexcept;

  /// The hit of smallest t; of equal t, that of the smallest triangle number. Without one, a default Hit.
  /// Cost: O(log n) for usual meshes; no allocation.
  Hit closestHit(const Ray& ray, const RayOptions& options = {}) const;

  /// Whether the ray hits a triangle. Faster than closestHit, as any hit ends the search.
  bool anyHit(const Ray& ray, const RayOptions& options = {}) const;

  /// Replaces hits by all hits of the ray, ordered by t, then by triangle number.
  void allHits(const Ray& ray, std::vector<Hit>& hits, const RayOptions& options = {}) const;

  /// The number of hits, by the side of the triangle.
  Crossings crossings(const Ray& ray, const RayOptions& options = {}) const;

  /// The point of the mesh nearest to a point; at equal distance, that of the smallest triangle number. Triangles
  /// without area count as the segments or points that they are. maxDistance is inclusive. The answer has the triangle
  /// kNone, an infinite distance and NaN in point, u and v if no triangle is so near, maxDistance is NaN or negative,
  /// or a coordinate of the point is not finite or larger than 1e15.
  ///
  /// Before the distance is rounded to float, it is off by at most 2^-47 * reach / s, where reach is the largest
  /// |coordinate| of the triangle's corners relative to the point and s the sine of its angle at a, and by at most
  /// 2^-23 * reach for any sliver. docs/near.md has the proof. Corners of triangles are met exactly.
  /// Cost: O(log n) for usual meshes and points close to them; no allocation.
  Nearest nearest(const float point[3], float maxDistance = std::numeric_limits<float>::infinity()) const;

  /// How often the mesh winds around a point: the sum of the signed solid angles of all triangles as seen from there,
  /// over 4 pi. 1 inside a closed mesh whose normals (b - a) x (c - a) point outwards, 0 outside; meshes in one another
  /// add up. A whole number, exactly, everywhere if the mesh is closed. Of others, with holes, of loose triangles, with
  /// some turned over, the generalised winding number: between whole numbers, and within 1e-6 of the sum for all points
  /// farther than 1e-4 of the mesh's size from it. On the mesh it jumps; there, a point counts as displaced by an
  /// infinitely small (e, e * e) in x and y, up to the rounding of distances in z. 0 if a coordinate of the point is
  /// not finite or larger than 1e15.
  /// Cost: that of crossings() for a closed mesh. Otherwise O(b) more for a boundary of b edges. The first question
  /// finds the boundary, as isClosed() does. No other allocation.
  /// Failure: std::bad_alloc, of the first question.
  /// Source: Jacobson, Kavan and Sorkine-Hornung 2013; docs/inside.md.
  double windingNumber(const float point[3]) const;

  /// Whether |windingNumber(point)| is larger than 0.5.
  bool contains(const float point[3]) const;

  /// The distance that nearest(point) reports, negative where contains(point). Infinite where nothing is nearest, so
  /// without triangles as well. On the mesh it is 0, of either sign.
  float signedDistance(const float point[3]) const;

  /// Replaces numbers by those of all triangles that have a point in the closed box from min to max, ascending. A box
  /// that is inverted on some axis, or has a NaN, holds nothing; infinite ones are fine.
  /// Cost: O(log n) and the size of the answer, for usual meshes.
  void trianglesInBox(const float min[3], const float max[3], std::vector<std::uint32_t>& numbers) const;

  /// The same for all triangles whose distance, as nearest() reports it, is at most radius. Nothing for a radius that
  /// is NaN or negative, or a center for which nothing is nearest.
  void trianglesInSphere(const float center[3], float radius, std::vector<std::uint32_t>& numbers) const;

  /// The same for all triangles that have a part strictly inside all planes: x * plane[0] + y * plane[1] + z * plane[2]
  /// + plane[3] > 0. A triangle is clipped by one plane after the other in single precision, so the order of planes
  /// matters by roundings. Without planes: all triangles. A plane with a NaN has nothing inside.
  /// Source: Sutherland and Hodgman 1974.
  void trianglesInRegion(const float (*planes)[4], std::size_t count, std::vector<std::uint32_t>& numbers) const;

  /// The same for many rays at once. threads is the most threads to use; 0: as many as the machine has. Answers are
  /// those of single calls, one element for each ray; isHit receives 0 or 1. Arrays of no elements may be null.
  /// Failure: std::bad_alloc; std::runtime_error if the system refuses a thread. What out received until then is
  /// unspecified.
  void closestHits(const Ray* rays, std::size_t count, Hit* hits, const RayOptions& options = {},
                   int threads = 0) const;
  void anyHits(const Ray* rays, std::size_t count, std::uint8_t* isHit, const RayOptions& options = {},
               int threads = 0) const;
  Lists<Hit> allHits(const Ray* rays, std::size_t count, const RayOptions& options = {}, int threads = 0) const;
  void crossings(const Ray* rays, std::size_t count, Crossings* out, const RayOptions& options = {},
                 int threads = 0) const;

  /// The same for nearest points.
  void nearests(const float (*points)[3], std::size_t count, Nearest* out,
                float maxDistance = std::numeric_limits<float>::infinity(), int threads = 0) const;
  /// The same for winding numbers and signed distances.
  void windingNumbers(const float (*points)[3], std::size_t count, double* out, int threads = 0) const;
  void signedDistances(const float (*points)[3], std::size_t count, float* out, int threads = 0) const;

  /// Moves the vertices: x y z of each, as many as construction was given. Afterwards every answer is that of a new
  /// index over the moved mesh.
  /// Failure: std::invalid_argument as from construction, and nothing has changed.
  /// Cost: O(n), about a twentieth of a build; but see costRatio(). Nothing else may use the index meanwhile.
  void refit(const float* vertices);

  /// How much longer a ray is expected to take than in the tree as it was built, by the areas of its boxes: 1 before a
  /// refit. Movements that tear neighbours apart make it larger. Building anew pays if more rays are cast than a build
  /// takes time.
  /// Cost: O(n).
  double costRatio() const;

  /// The counts that construction was given, unused vertices included.
  std::size_t triangleCount() const;
  std::size_t vertexCount() const;

  /// Bytes of memory that the index occupies.
  std::size_t memoryUsed() const;

  /// Whether every edge is used as often in one direction as in the other. Vertices at the same place are one vertex (0
  /// and -0 are the same place), and an edge from a place to itself does not count. True without triangles.
  /// Cost: O(n) time and memory for the first question that needs the boundary, none afterwards. The boundary is kept,
  /// as part of memoryUsed(): 12 to 17 bytes for each of its edges.
  /// Failure: std::bad_alloc, of the first question.
  bool isClosed() const;

  /// A hash of all vertices and triangles as they were given, and of nothing else.
  std::array<std::uint64_t, 2> meshDigest() const;

 private:
  struct Content;
  std::unique_ptr<Content> mContent;
};

}  // namespace qzMeshQueries
