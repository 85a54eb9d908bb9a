#include "support/qzHullScenes.h"

#include <cmath>
#include <cstring>
#include <sstream>

#include "support/qzObservers.h"

namespace qzTest {

namespace {

Point plus(const Point& a, float s, const Point& b) {
  return Point(a[0] + s * b[0], a[1] + s * b[1], a[2] + s * b[2]);
}
Point minus(const Point& a, const Point& b) {
  return plus(a, -1.0f, b);
}
float dot(const Point& a, const Point& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
Point cross(const Point& a, const Point& b) {
  return Point(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]);
}
Point normalized(const Point& a) {
  return plus(Point(0.0f, 0.0f, 0.0f), 1.0f / std::sqrt(dot(a, a)), a);
}

/// Inside is where the normal points to.
Plane planeThrough(const Point& p, const Point& normal) {
  return Plane(normal[0], normal[1], normal[2], -dot(normal, p));
}
Plane opposite(const Plane& plane) {
  return Plane(-plane[0], -plane[1], -plane[2], -plane[3]);
}

/// The words of an array of blocks.
template <class Block>
std::vector<std::uint32_t> wordsOf(const Block* blocks, std::size_t count) {
  std::vector<std::uint32_t> words(count * sizeof(Block) / sizeof(std::uint32_t));
  if (!words.empty()) std::memcpy(words.data(), blocks, count * sizeof(Block));
  return words;
}

/// Through corners, edges and faces of the mesh's triangles.
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

void HullQBVH::allocateEmpty(unsigned int noNodes, unsigned int noQuadruplets) {
  allocate(eTrianglesVertices, noNodes, noQuadruplets);
  for (unsigned int node = 0; node < noNodes; ++node) {
    for (int lane = 0; lane < 4; ++lane) setLane(node, lane, qzBBox(), kNoChild, 0);
  }
  const Point origin(0.0f, 0.0f, 0.0f);
  for (unsigned int quadruplet = 0; quadruplet < noQuadruplets; ++quadruplet) {
    for (int lane = 0; lane < 4; ++lane) setTriangle(quadruplet, lane, origin, origin, origin);
  }
}

void HullQBVH::setLane(unsigned int node, int lane, const qzBBox& box, unsigned int index, unsigned int quadruplets) {
  for (int axis = 0; axis < 3; ++axis) {
    mNodes[node].mMin[axis][lane] = box.getMinPoint()[axis];
    mNodes[node].mMax[axis][lane] = box.getMaxPoint()[axis];
  }
  mNodes[node].mChildIndex[lane] = index;
  mNodes[node].mChildQuadruplets[lane] = quadruplets;
  mIsNested = mIsSnug = false;  // whatever was known of the boxes
}

void HullQBVH::setTriangle(unsigned int quadruplet, int lane, const Point& v0, const Point& v1, const Point& v2) {
  const Point* vertices[3] = {&v0, &v1, &v2};
  mIsSnug = false;  // whatever was known of the triangles
  for (int v = 0; v < 3; ++v) {
    for (int axis = 0; axis < 3; ++axis) mTriangleVertices[quadruplet].mVertex[v][axis][lane] = (*vertices[v])[axis];
  }
}

qzPlain::tQBVH HullQBVH::plain() const {
  qzPlain::tQBVH plain;
  plain.mNodes = wordsOf(mNodes, mNoNodes);
  plain.mVertices = wordsOf(mTriangleVertices, mNoQuadruplets);
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
  return insideOf(qzBBox::Make(plus(center, -half, diagonal), plus(center, half, diagonal)));
}

Point anyPointOn(const qz::qzTriMesh& mesh, Random& random) {
  const unsigned int triangle = random.below(nbTrianglesOf(mesh));
  const Point a = cornerOf(mesh, triangle, 0), b = cornerOf(mesh, triangle, 1), c = cornerOf(mesh, triangle, 2);
  const float u = random.unit(), v = random.unit() * (1.0f - u);
  return plus(plus(a, u, minus(b, a)), v, minus(c, a));
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
    planes.push_back(planeThrough(plus(center, -half, axis), axis));
    planes.push_back(opposite(planeThrough(plus(center, half, axis), axis)));
  }
  return planes;
}

Planes frustum(const Point& eye, const Point& target, float slope, Random& random) {
  const Point forward = normalized(minus(target, eye));
  const Point right = normalized(cross(forward, anyDirection(random))), up = cross(forward, right);
  Planes planes;
  for (const Point& side : {right, up}) {
    for (float sign : {1.0f, -1.0f}) {
      planes.push_back(planeThrough(eye, plus(plus(Point(0.0f, 0.0f, 0.0f), sign, side), slope, forward)));
    }
  }
  planes.push_back(planeThrough(plus(eye, 0.01f, forward), forward));
  planes.push_back(opposite(planeThrough(plus(eye, 10.0f, forward), forward)));
  return planes;
}

Planes aroundBall(const Point& center, float radius, unsigned int count, Random& random) {
  Planes planes;
  for (unsigned int i = 0; i < count; ++i) {
    const Point normal = anyDirection(random);
    planes.push_back(planeThrough(plus(center, -radius, normal), normal));
  }
  return planes;
}

Planes ordinaryPlanes(const qz::qzTriMesh& mesh, Random& random) {
  // Near the surface at about the size of the region: half of these meet something.
  float size = random.unit();
  for (int i = 0; i < 2; ++i) size *= random.unit();
  const Point on = anyPointOn(mesh, random), away = anyDirection(random);
  const Point near = plus(on, 7.0f * size * random.unit(), away);
  Planes planes;
  switch (random.below(6)) {
    case 0:
      planes = turnedCube(near, size, random);
      break;
    case 1:
      planes = cubeAround(near, size);
      break;
    case 2:
      planes = frustum(plus(near, 3.0f, anyDirection(random)), near, 0.2f * size, random);
      break;
    case 3:
      planes = aroundBall(near, size, random.below(30) + 4, random);
      break;
    case 4: {
      const Point normal = anyDirection(random);  // a slab
      planes = {planeThrough(plus(near, -size, normal), normal),
                opposite(planeThrough(plus(near, size, normal), normal))};
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
