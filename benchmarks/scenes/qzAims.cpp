#include <benchmarks/scenes/qzAims.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace qzBench {

namespace {

using tPoint = std::array<double, 3>;

tPoint pointOf(const tVector& v) {
  return {double(v[0]), double(v[1]), double(v[2])};
}

double dot(const tPoint& a, const tPoint& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

tPoint normalised(const tPoint& a) {
  const double length = std::sqrt(dot(a, a));
  return {a[0] / length, a[1] / length, a[2] / length};
}

/// The unit normal, or zeros for a triangle without area.
tPoint normalOf(const qzScene& scene, int triangle) {
  const tPoint a = pointOf(scene.getVertex(triangle, 0)), b = pointOf(scene.getVertex(triangle, 1)),
               c = pointOf(scene.getVertex(triangle, 2));
  const tPoint p = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, q = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
  const tPoint normal = {p[1] * q[2] - p[2] * q[1], p[2] * q[0] - p[0] * q[2], p[0] * q[1] - p[1] * q[0]};
  return dot(normal, normal) > 0.0 ? normalised(normal) : tPoint{0.0, 0.0, 0.0};
}

/// A unit vector at the angle of the sine to the surface, from either side.
tVector grazing(const tPoint& normal, double sine, qzRandom& random) {
  if (random.below(2) == 0) sine = -sine;
  const tPoint any = pointOf(random.onUnitSphere());
  const double height = dot(any, normal);
  const tPoint tangent =
      normalised({any[0] - height * normal[0], any[1] - height * normal[1], any[2] - height * normal[2]});
  const double cosine = std::sqrt(1.0 - sine * sine);
  tVector direction;
  for (int axis = 0; axis < 3; ++axis) {
    const std::size_t a = static_cast<std::size_t>(axis);
    direction[axis] = static_cast<float>(cosine * tangent[a] + sine * normal[a]);
  }
  return direction;
}

}  // namespace

qzNeighbours::qzNeighbours(const qzScene& scene) {
  const int nbVertices = scene.getNbVertices(), nbIndices = 3 * scene.getNbTriangles();
  const int* indices = scene.getIndices();
  mFirst.assign(static_cast<std::size_t>(nbVertices) + 1, 0);
  for (int i = 0; i < nbIndices; ++i) ++mFirst[static_cast<std::size_t>(indices[i]) + 1];
  for (std::size_t v = 1; v < mFirst.size(); ++v) mFirst[v] += mFirst[v - 1];
  std::vector<int> next(mFirst.begin(), mFirst.end() - 1);
  mTriangles.resize(static_cast<std::size_t>(nbIndices));
  for (int i = 0; i < nbIndices; ++i)
    mTriangles[static_cast<std::size_t>(next[static_cast<std::size_t>(indices[i])]++)] = i / 3;

  // Sides of triangles, sorted: those of one edge stand together.
  struct tSide {
    int mLow, mHigh, mTriangle;
  };
  std::vector<tSide> sides;
  for (int i = 0; i < nbIndices; ++i) {
    const int a = indices[i], b = indices[i % 3 == 2 ? i - 2 : i + 1];
    sides.push_back({std::min(a, b), std::max(a, b), i / 3});
  }
  std::sort(sides.begin(), sides.end(), [](const tSide& a, const tSide& b) {
    return std::array<int, 3>{a.mLow, a.mHigh, a.mTriangle} < std::array<int, 3>{b.mLow, b.mHigh, b.mTriangle};
  });
  std::vector<char> isInner(static_cast<std::size_t>(nbVertices), 1);
  for (std::size_t i = 0, end; i < sides.size(); i = end) {
    for (end = i; end < sides.size() && sides[end].mLow == sides[i].mLow && sides[end].mHigh == sides[i].mHigh;) ++end;
    if (end - i == 2) {
      mEdges.push_back({{sides[i].mLow, sides[i].mHigh}, sides[i].mTriangle});
      continue;
    }
    ++(end - i == 1 ? mNbBorderEdges : mNbForkedEdges);
    isInner[static_cast<std::size_t>(sides[i].mLow)] = isInner[static_cast<std::size_t>(sides[i].mHigh)] = 0;
  }
  for (int v = 0; v < nbVertices; ++v)
    if (isInner[static_cast<std::size_t>(v)] &&
        mFirst[static_cast<std::size_t>(v)] < mFirst[static_cast<std::size_t>(v) + 1])
      mInnerVertices.push_back(v);
  if (mEdges.empty() || mInnerVertices.empty())
    throw std::invalid_argument(scene.mName + " has no inner edges or vertices");
}

void qzNeighbours::collectTriangles(const int* vertices, int nbVertices, std::vector<int>& triangles) const {
  triangles.clear();
  for (int k = 0; k < nbVertices; ++k) {
    const std::size_t v = static_cast<std::size_t>(vertices[k]);
    triangles.insert(triangles.end(), mTriangles.begin() + mFirst[v], mTriangles.begin() + mFirst[v + 1]);
  }
  std::sort(triangles.begin(), triangles.end());
  triangles.erase(std::unique(triangles.begin(), triangles.end()), triangles.end());
}

qzAimedRay aim(const qzScene& scene, const qzNeighbours& neighbours, qzTarget target, qzApproach approach,
               qzRandom& random) {
  const auto anyOf = [&random](const auto& list) -> const auto& {
    return list[random.below(static_cast<unsigned>(list.size()))];
  };
  qzAimedRay aimed;
  int vertices[3], nbVertices = 0, triangle = 0;
  double weights[3] = {1.0, 0.0, 0.0};
  if (target == eVertex) {
    vertices[nbVertices++] = anyOf(neighbours.getInnerVertices());
  } else if (target == eEdge) {
    const qzNeighbours::tEdge& edge = anyOf(neighbours.getEdges());
    vertices[nbVertices++] = edge.mVertex[0];
    vertices[nbVertices++] = edge.mVertex[1];
    weights[1] = double(random.unit());
    weights[0] = 1.0 - weights[1];
    triangle = edge.mTriangle;
  } else {
    triangle = static_cast<int>(random.below(static_cast<unsigned>(scene.getNbTriangles())));
    for (int corner = 0; corner < 3; ++corner) vertices[nbVertices++] = scene.getIndices()[3 * triangle + corner];
    // Even spread, but for the outermost hundredth.
    double u = double(random.unit()), v = double(random.unit());
    if (u + v > 1.0) u = 1.0 - u, v = 1.0 - v;
    weights[1] = 0.01 + 0.97 * u;
    weights[2] = 0.01 + 0.97 * v;
    weights[0] = 1.0 - weights[1] - weights[2];
  }
  neighbours.collectTriangles(vertices, nbVertices, aimed.mTriangles);
  if (target == eVertex) triangle = anyOf(aimed.mTriangles);

  tPoint point = {0.0, 0.0, 0.0};
  for (int k = 0; k < nbVertices; ++k)
    for (int axis = 0; axis < 3; ++axis)
      point[static_cast<std::size_t>(axis)] +=
          weights[k] * double(scene.mPositions[static_cast<std::size_t>(vertices[k])][axis]);

  tVector& direction = aimed.mRay.mDirection;
  direction = random.onUnitSphere();
  if (approach == eAlongAxis || approach == eAlmostAlongAxis) {
    const float rest = approach == eAlongAxis ? 0.0f : 1e-20f;
    direction = tVector(rest, rest, rest);
    direction[static_cast<int>(random.below(3))] = random.below(2) == 0 ? 1.0f : -1.0f;
  } else if (approach != eAnyWay) {
    const tPoint normal = normalOf(scene, triangle);
    const double sine = approach == eFlat10 ? 0.1 : approach == eFlat100 ? 0.01 : 0.001;
    if (dot(normal, normal) > 0.0) direction = grazing(normal, sine, random);
  }
  aimed.mDistance = double(scene.mRadius) * (2.0 + double(random.unit()));
  for (int axis = 0; axis < 3; ++axis)
    aimed.mRay.mOrigin[axis] =
        static_cast<float>(point[static_cast<std::size_t>(axis)] - aimed.mDistance * double(direction[axis]));
  return aimed;
}

}  // namespace qzBench
