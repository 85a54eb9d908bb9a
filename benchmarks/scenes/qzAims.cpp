#include <benchmarks/scenes/qzAims.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <tuple>

namespace qzBench {

namespace {

/// The unit normal, or zeros for a triangle without area.
tVector3d normalOf(const qzScene& scene, int triangle) {
  const tVector3d a = toDouble(scene.getVertex(triangle, 0)), b = toDouble(scene.getVertex(triangle, 1)),
                  c = toDouble(scene.getVertex(triangle, 2));
  const tVector3d normal = cross(difference(b, a), difference(c, a));
  return dot(normal, normal) > 0.0 ? normalised(normal) : tVector3d{0.0, 0.0, 0.0};
}

/// A unit vector at an angle to the surface of the given sine, from either side.
tVector grazing(const tVector3d& normal, double sine, qzRandom& random) {
  if (random.below(2) == 0) sine = -sine;
  const tVector3d any = toDouble(random.onUnitSphere());
  const tVector3d tangent = normalised(along(any, -dot(any, normal), normal));
  const double cosine = std::sqrt(1.0 - sine * sine);
  return toFloat(along(scaled(cosine, tangent), sine, normal));
}

/// A vertex, or a point of an edge or of a triangle: the sum of weights times vertices.
struct tTargetPoint {
  int mVertices[3], mNbVertices = 0;
  double mWeights[3] = {1.0, 0.0, 0.0};
  int mTriangle = 0;                 // one of the triangles that have the point
  std::vector<int> mTriangles = {};  // all triangles at the vertices

  void addVertex(int vertex) { mVertices[mNbVertices++] = vertex; }

  tVector3d position(const qzScene& scene) const {
    tVector3d point = {0.0, 0.0, 0.0};
    for (int k = 0; k < mNbVertices; ++k)
      point = along(point, mWeights[k], toDouble(scene.mPositions[static_cast<std::size_t>(mVertices[k])]));
    return point;
  }
};

tTargetPoint chooseTarget(const qzScene& scene, const qzNeighbours& neighbours, qzTarget target, qzRandom& random) {
  const auto anyOf = [&random](const auto& list) -> const auto& {
    return list[random.below(static_cast<unsigned>(list.size()))];
  };
  tTargetPoint point;
  if (target == eVertex) {
    point.addVertex(anyOf(neighbours.getInnerVertices()));
  } else if (target == eEdge) {
    const qzNeighbours::tEdge& edge = anyOf(neighbours.getEdges());
    point.addVertex(edge.mVertex[0]);
    point.addVertex(edge.mVertex[1]);
    point.mWeights[1] = double(random.unit());
    point.mWeights[0] = 1.0 - point.mWeights[1];
    point.mTriangle = edge.mTriangle;
  } else {
    point.mTriangle = static_cast<int>(random.below(static_cast<unsigned>(scene.getNbTriangles())));
    for (int corner = 0; corner < 3; ++corner) point.addVertex(scene.getIndices()[3 * point.mTriangle + corner]);
    // Uniform in the triangle, at least a hundredth of its height away from each edge.
    double u = double(random.unit()), v = double(random.unit());
    if (u + v > 1.0) u = 1.0 - u, v = 1.0 - v;
    point.mWeights[1] = 0.01 + 0.97 * u;
    point.mWeights[2] = 0.01 + 0.97 * v;
    point.mWeights[0] = 1.0 - point.mWeights[1] - point.mWeights[2];
  }
  neighbours.collectTriangles(point.mVertices, point.mNbVertices, point.mTriangles);
  if (target == eVertex) point.mTriangle = anyOf(point.mTriangles);
  return point;
}

/// From one corner of the triangle to the next, or to the middle of the opposite side.
tVector withinFace(const qzScene& scene, int triangle, qzRandom& random) {
  const unsigned corner = random.below(3);
  const auto vertex = [&](unsigned k) { return scene.getVertex(triangle, static_cast<int>((corner + k) % 3)); };
  const tVector side = difference(vertex(1), vertex(0));
  if (random.below(2) == 0) return side;
  return scaled(0.5f, sum(side, difference(vertex(2), vertex(0))));
}

tVector chooseDirection(const qzScene& scene, int triangle, qzApproach approach, qzRandom& random) {
  const tVector any = random.onUnitSphere();
  if (approach == eAnyDirection) return any;
  if (approach == eAlongAxis || approach == eAlmostAlongAxis) {
    const float rest = approach == eAlongAxis ? 0.0f : 1e-20f;
    tVector direction(rest, rest, rest);
    direction[static_cast<int>(random.below(3))] = random.below(2) == 0 ? 1.0f : -1.0f;
    return direction;
  }
  if (approach == eWithinFace) {
    const tVector direction = withinFace(scene, triangle, random);
    return dot(direction, direction) > 0.0f ? direction : any;
  }
  const tVector3d normal = normalOf(scene, triangle);
  const double sine = approach == eGrazing10 ? 0.1 : approach == eGrazing100 ? 0.01 : 0.001;
  return dot(normal, normal) > 0.0 ? grazing(normal, sine, random) : any;
}

}  // namespace

qzNeighbours::qzNeighbours(const qzScene& scene) {
  listTrianglesOfVertices(scene);
  classifyEdges(scene);
  if (mEdges.empty() || mInnerVertices.empty())
    throw std::invalid_argument(scene.mName + " has no inner edges or vertices");
}

void qzNeighbours::listTrianglesOfVertices(const qzScene& scene) {
  const int nbIndices = 3 * scene.getNbTriangles();
  const int* indices = scene.getIndices();
  mFirst.assign(static_cast<std::size_t>(scene.getNbVertices()) + 1, 0);
  for (int i = 0; i < nbIndices; ++i) ++mFirst[static_cast<std::size_t>(indices[i]) + 1];
  for (std::size_t v = 1; v < mFirst.size(); ++v) mFirst[v] += mFirst[v - 1];
  std::vector<int> next(mFirst.begin(), mFirst.end() - 1);
  mTriangles.resize(static_cast<std::size_t>(nbIndices));
  for (int i = 0; i < nbIndices; ++i)
    mTriangles[static_cast<std::size_t>(next[static_cast<std::size_t>(indices[i])]++)] = i / 3;
}

void qzNeighbours::classifyEdges(const qzScene& scene) {
  const int nbIndices = 3 * scene.getNbTriangles();
  const int* indices = scene.getIndices();
  // Sides of triangles, sorted: the sides of one edge are adjacent.
  struct tSide {
    int mLow, mHigh, mTriangle;
  };
  std::vector<tSide> sides;
  for (int i = 0; i < nbIndices; ++i) {
    const int a = indices[i], b = indices[i % 3 == 2 ? i - 2 : i + 1];
    sides.push_back({std::min(a, b), std::max(a, b), i / 3});
  }
  std::sort(sides.begin(), sides.end(), [](const tSide& a, const tSide& b) {
    return std::tie(a.mLow, a.mHigh, a.mTriangle) < std::tie(b.mLow, b.mHigh, b.mTriangle);
  });
  // Edges by their number of sides.
  std::vector<char> isInner(static_cast<std::size_t>(scene.getNbVertices()), 1);
  for (std::size_t i = 0, end; i < sides.size(); i = end) {
    for (end = i; end < sides.size() && sides[end].mLow == sides[i].mLow && sides[end].mHigh == sides[i].mHigh;) ++end;
    if (end - i == 2) {
      mEdges.push_back({{sides[i].mLow, sides[i].mHigh}, sides[i].mTriangle});
      continue;
    }
    ++(end - i == 1 ? mNbBoundaryEdges : mNbNonManifoldEdges);
    isInner[static_cast<std::size_t>(sides[i].mLow)] = isInner[static_cast<std::size_t>(sides[i].mHigh)] = 0;
  }
  // Inner vertices: in use, and at such edges only.
  for (std::size_t v = 0; v < isInner.size(); ++v)
    if (isInner[v] && mFirst[v] < mFirst[v + 1]) mInnerVertices.push_back(static_cast<int>(v));
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
  const tTargetPoint point = chooseTarget(scene, neighbours, target, random);
  qzAimedRay aimed;
  aimed.mTriangles = point.mTriangles;
  if (approach == eFromCentre) {
    aimed.mRay = {scene.mCentre, toFloat(difference(point.position(scene), toDouble(scene.mCentre)))};
    aimed.mDistance = 1.0;
    return aimed;
  }
  aimed.mRay.mDirection = chooseDirection(scene, point.mTriangle, approach, random);
  aimed.mDistance = double(scene.mRadius) * (2.0 + double(random.unit()));
  if (approach == eWithinFace) {  // a power of two keeps exact coordinates exact
    const double length = std::sqrt(dot(toDouble(aimed.mRay.mDirection), toDouble(aimed.mRay.mDirection)));
    aimed.mDistance = std::exp2(std::ceil(std::log2(4.0 * double(scene.mRadius) / length)));
  }
  aimed.mRay.mOrigin = toFloat(along(point.position(scene), -aimed.mDistance, toDouble(aimed.mRay.mDirection)));
  return aimed;
}

}  // namespace qzBench
