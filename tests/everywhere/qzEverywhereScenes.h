#pragma once
// The input of the fingerprints: meshes, rays, convex regions and probes, from sizes and seeds.
// They are the same bits wherever this is compiled and run: integers, and sums, products and quotients of floats, which
// are rounded exactly; compiled without contraction; computed in the default mode of the processor, whatever mode the
// program is in. No function of the platform's mathematical library is called.

#include <Wm4/Vector3.h>
#include <Wm4/Vector4.h>
#include <qzSceneGraph/qzTriMesh.h>

#include <cstdint>
#include <string>
#include <vector>

namespace qzTest {

using Point = Wm4::Vector3<float>;

struct EverywhereScene {
  std::string name;
  qz::qzTriMesh mesh;
  Point min, max;  // of the coordinates that are not too large to cast rays at

  unsigned int nbTriangles() const;
  Point corner(unsigned int triangle, unsigned int number) const;
};

/// Names of the scenes that makeScene knows, ordinary ones first.
const std::vector<std::string>& sceneNames();
EverywhereScene makeScene(const std::string& name);
/// A scene of any mesh.
EverywhereScene sceneOf(const std::string& name, qz::qzTriMesh mesh);

struct EverywhereRay {
  Point origin, direction;
  float tMin, t;
};

/// Rays that are cast with one query.
struct RayBatch {
  enum Policy : unsigned int { eBoth, eFront, eBack, eSymmetric };
  std::string name;
  Policy policy;
  std::vector<EverywhereRay> rays;
};

/// What a query returned and left in its outputs, which held marks before.
struct RayAnswer {
  bool hit;
  float t, weights[2];
  unsigned int triangle;
};
constexpr std::uint32_t kWeightMark = 0x42280000u;  // bits of what both weights hold before a query

/// Through the pixels of a picture of the whole scene, in scattered order.
RayBatch cameraRays(const EverywhereScene& scene, std::size_t count);
/// From where camera rays hit, any way; chords where there was no hit.
RayBatch bounceRays(const EverywhereScene& scene, const RayBatch& camera, const std::vector<RayAnswer>& answers);
/// Between two points in and around the scene, some beyond them, some not from the beginning.
RayBatch chords(const EverywhereScene& scene, RayBatch::Policy policy, std::size_t count);
/// At corners and edges of triangles.
RayBatch edgeRays(const EverywhereScene& scene, std::size_t count);
/// Along an axis, level with a corner of a triangle.
RayBatch axisRays(const EverywhereScene& scene, std::size_t count);

/// Convex regions, each of one to eight planes, around triangles and elsewhere, of all sizes.
std::vector<std::vector<Wm4::Vector4<float>>> regions(const EverywhereScene& scene, std::size_t count);

/// Arguments for the members of boxes: corners of two boxes, a triangle, a direction and a number.
struct BoxProbe {
  Point corners[4], triangle[3], direction;
  float number;
};
std::vector<BoxProbe> boxProbes(const EverywhereScene& scene, std::size_t count);

}  // namespace qzTest
