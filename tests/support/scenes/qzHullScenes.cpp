#include "support/scenes/qzHullScenes.h"

#include <cmath>
#include <sstream>

#include "support/qzObservers.h"
#include "support/qzVectors.h"

namespace qzTest {

namespace {

Point normalized(const Point& a) {
  return along(Point(0.0f, 0.0f, 0.0f), 1.0f / std::sqrt(dot(a, a)), a);
}

/// The half-space on the normal's side.
Plane planeThrough(const Point& p, const Point& normal) {
  return Plane(normal[0], normal[1], normal[2], -dot(normal, p));
}
Plane opposite(const Plane& plane) {
  return Plane(-plane[0], -plane[1], -plane[2], -plane[3]);
}

/// A plane through a corner, an edge or the face of a triangle.
Plane planeThroughCorners(const qz::qzTriMesh& mesh, Random& random) {
  const unsigned int triangle = random.below(nbTrianglesOf(mesh));
  const Point a = cornerOf(mesh, triangle, 0), b = cornerOf(mesh, triangle, 1), c = cornerOf(mesh, triangle, 2);
  Point normal;
  switch (random.below(4)) {
    case 0:
      normal = cross(minus(b, a), minus(c, a));
      break;
    case 1:
      normal = cross(minus(b, a), anyDirection(random));
      break;
    case 2:
      normal = anyDirection(random);
      break;
    default:
      normal = Point(0.0f, 0.0f, 0.0f);
      normal[static_cast<int>(random.below(3))] = 1.0f;
      break;
  }
  const Plane plane = planeThrough(a, normal);
  return random.below(2) == 0 ? plane : opposite(plane);
}

Planes throughCorners(const qz::qzTriMesh& mesh, unsigned int count, Random& random) {
  Planes planes;
  for (unsigned int i = 0; i < count; ++i) planes.push_back(planeThroughCorners(mesh, random));
  return planes;
}

void shuffle(Planes& planes, Random& random) {
  for (unsigned int i = static_cast<unsigned int>(planes.size()); i > 1; --i) {
    std::swap(planes[i - 1], planes[random.below(i)]);
  }
}

}  // namespace

void HullQBVH::build(const qz::qzTriMesh& mesh, unsigned int maxLeafSize) {
  const LogCapture quiet(false);
  buildFromMesh(eTrianglesVertices, mesh, maxLeafSize);
}

qzPlain::tQBVH HullQBVH::plain() const {
  qzPlain::tQBVH plain;
  plain.mNodes = nodeWords();
  plain.mVertices = vertexWords();
  plain.mFlags = mFlags;
  plain.mNoNodes = mNoNodes;
  plain.mNoQuadruplets = mNoQuadruplets;
  return plain;
}

bool meets(const qzQBVH& hierarchy, const Planes& planes) {
  return PlaneSet(planes).meets(hierarchy);
}

std::string describe(const Planes& planes) {
  std::ostringstream text;
  text << planes.size() << " planes" << std::hexfloat;
  for (const Plane& p : planes) text << "\n  " << p[0] << ' ' << p[1] << ' ' << p[2] << ' ' << p[3];
  return text.str();
}

Planes insideOf(const qzBBox& box) {
  Planes planes;
  for (int axis = 0; axis < 3; ++axis) {
    Plane low(0.0f, 0.0f, 0.0f, -box.getMinPoint()[axis]), high(0.0f, 0.0f, 0.0f, box.getMaxPoint()[axis]);
    low[axis] = 1.0f;
    high[axis] = -1.0f;
    planes.push_back(low);
    planes.push_back(high);
  }
  return planes;
}

Planes cubeAround(const Point& center, float half) {
  const Point diagonal(1.0f, 1.0f, 1.0f);
  return insideOf(qzBBox::Make(along(center, -half, diagonal), along(center, half, diagonal)));
}

Point anyPointOn(const qz::qzTriMesh& mesh, Random& random) {
  const unsigned int triangle = random.below(nbTrianglesOf(mesh));
  const Point a = cornerOf(mesh, triangle, 0), b = cornerOf(mesh, triangle, 1), c = cornerOf(mesh, triangle, 2);
  const float u = random.unit(), v = random.unit() * (1.0f - u);
  return along(along(a, u, minus(b, a)), v, minus(c, a));
}

Point anyDirection(Random& random) {
  for (;;) {
    const Point p = random.point(-1.0f, 1.0f);
    if (dot(p, p) > 0.01f && dot(p, p) < 1.0f) return normalized(p);
  }
}

Planes turnedCube(const Point& center, float half, Random& random) {
  const Point x = anyDirection(random), y = normalized(cross(x, anyDirection(random))), z = cross(x, y);
  Planes planes;
  for (const Point& axis : {x, y, z}) {
    planes.push_back(planeThrough(along(center, -half, axis), axis));
    planes.push_back(opposite(planeThrough(along(center, half, axis), axis)));
  }
  return planes;
}

Planes frustum(const Point& eye, const Point& target, float slope, Random& random) {
  const Point forward = normalized(minus(target, eye));
  const Point right = normalized(cross(forward, anyDirection(random))), up = cross(forward, right);
  Planes planes;
  for (const Point& side : {right, up}) {
    for (float sign : {1.0f, -1.0f}) {
      planes.push_back(planeThrough(eye, along(along(Point(0.0f, 0.0f, 0.0f), sign, side), slope, forward)));
    }
  }
  planes.push_back(planeThrough(along(eye, 0.01f, forward), forward));
  planes.push_back(opposite(planeThrough(along(eye, 10.0f, forward), forward)));
  return planes;
}

Planes aroundCircle(unsigned int count) {
  Planes planes;
  for (unsigned int i = 0; i < count; ++i) {
    const double angle = 2.0 * 3.14159265358979323846 * i / count;
    planes.emplace_back(static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0.0f, 1.0f);
  }
  return planes;
}

Planes aroundBall(const Point& center, float radius, unsigned int count, Random& random) {
  Planes planes;
  for (unsigned int i = 0; i < count; ++i) {
    const Point normal = anyDirection(random);
    planes.push_back(planeThrough(along(center, -radius, normal), normal));
  }
  return planes;
}

Planes ordinaryPlanes(const qz::qzTriMesh& mesh, Random& random) {
  // About as far from the surface as the region is large, so half of the regions intersect something.
  float size = random.unit();
  for (int i = 0; i < 2; ++i) size *= random.unit();
  const Point on = anyPointOn(mesh, random), away = anyDirection(random);
  const Point near = along(on, 7.0f * size * random.unit(), away);
  Planes planes;
  switch (random.below(6)) {
    case 0:
      planes = turnedCube(near, size, random);
      break;
    case 1:
      planes = cubeAround(near, size);
      break;
    case 2:
      planes = frustum(along(near, 3.0f, anyDirection(random)), near, 0.2f * size, random);
      break;
    case 3:
      planes = aroundBall(near, size, random.below(30) + 4, random);
      break;
    case 4: {
      const Point normal = anyDirection(random);  // a slab
      planes = {planeThrough(along(near, -size, normal), normal),
                opposite(planeThrough(along(near, size, normal), normal))};
      break;
    }
    default: {
      const Point anywhere = random.point(-1.5f, 1.5f);
      planes = turnedCube(anywhere, random.unit(), random);
      break;
    }
  }
  if (random.below(2) == 0) shuffle(planes, random);
  return planes;
}

Planes awkwardPlanes(const qz::qzTriMesh& mesh, Random& random) {
  static const float kScales[] = {1e-30f, 1e-3f, 7.0f, 1e20f, 0x1p-149f, -1.0f, 0.0f};
  Planes planes = ordinaryPlanes(mesh, random);
  const auto anyOfThem = [&]() -> Plane& { return planes[random.below(static_cast<std::uint32_t>(planes.size()))]; };
  for (unsigned int i = random.below(3) + 1; i > 0; --i) {
    if (planes.empty()) planes.push_back(planeThroughCorners(mesh, random));
    switch (random.below(11)) {
      case 0:
        planes.push_back(anyOfThem());
        break;
      case 1:
        planes.push_back(opposite(anyOfThem()));
        break;
      case 2:
        anyOfThem()[static_cast<int>(random.below(4))] = random.anyFloat();
        break;
      case 3: {
        Plane& plane = anyOfThem();
        const float scale = kScales[random.below(7)];
        for (int k = 0; k < 4; ++k) plane[k] *= scale;
        break;
      }
      case 4:
        planes = cubeAround(Point(0.0f, 0.0f, 0.0f), random.unit());
        break;
      case 5:
        planes = throughCorners(mesh, random.below(4), random);
        break;
      case 6:
        planes.push_back(planeThroughCorners(mesh, random));
        break;
      case 7: {
        // A box whose faces go through corners of triangles.
        const Point a = cornerOf(mesh, random.below(nbTrianglesOf(mesh)), 0);
        const Point b = cornerOf(mesh, random.below(nbTrianglesOf(mesh)), 1);
        planes = insideOf(qzBBox::RobustMake(a, b));
        break;
      }
      case 8: {
        const Point center = anyPointOn(mesh, random);
        const float radius = 0.1f * random.unit();
        planes = aroundBall(center, radius, random.below(8) == 0 ? 100 + random.below(300) : random.below(65), random);
        break;
      }
      case 10: {
        // The box of one triangle, a little larger or smaller at times.
        const unsigned int triangle = random.below(nbTrianglesOf(mesh));
        qzBBox box;
        for (int corner = 0; corner < 3; ++corner) box.selfExpand(cornerOf(mesh, triangle, corner));
        planes = insideOf(box);
        planes[random.below(6)][3] += random.between(-1e-6f, 1e-6f);
        break;
      }
      default:
        planes.push_back(Plane(0.0f, 0.0f, 0.0f, random.anyFloat()));
        break;
    }
  }
  return planes;
}

}  // namespace qzTest
