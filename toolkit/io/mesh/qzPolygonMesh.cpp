#include <toolkit/io/mesh/qzPolygonMesh.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace qzToolkit {

namespace {

/// Triangulates polygons by ear clipping. An ear is a convex corner whose triangle contains no other corner. A convex
/// polygon becomes a fan around its first corner.
class tEarClipper {
 public:
  tEarClipper(const std::vector<Wm4::Vector3<float>>& vertices, const tCancel* cancel)
      : mVertices(vertices), mCancel(cancel) {}

  void appendTriangles(const int* corners, int nbCorners, std::vector<int>& triangles) {
    flatten(corners, nbCorners);
    // Only reflex corners can lie in an ear, and clipping makes no convex corner reflex. Straight corners count as
    // reflex.
    mReflex.clear();
    for (std::size_t i = 0; i < mPoints.size(); ++i) {
      const std::size_t before = (i + mPoints.size() - 1) % mPoints.size(), after = (i + 1) % mPoints.size();
      if (!(turn(mPoints[before], mPoints[i], mPoints[after]) > 0.0)) mReflex.push_back(i);
    }

    std::vector<std::size_t>& rest = mRest;
    rest.resize(mPoints.size());
    for (std::size_t i = 0; i < rest.size(); ++i) rest[i] = i;
    std::size_t ear = 1, nbRefused = 0;
    while (rest.size() >= 3) {
      throwIfCanceled(mCancel);
      ear %= rest.size();
      const std::size_t before = rest[(ear + rest.size() - 1) % rest.size()], after = rest[(ear + 1) % rest.size()];
      // A polygon without an ear is self-intersecting or has no area; then any corner is cut off.
      if (rest.size() > 3 && nbRefused < rest.size() && !isEar(before, rest[ear], after)) {
        ++ear;
        ++nbRefused;
        continue;
      }
      for (std::size_t i : {before, rest[ear], after}) triangles.push_back(corners[i]);
      rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(ear));
      nbRefused = 0;
    }
  }

 private:
  using tPoint = std::array<double, 2>;

  /// Projects the corners onto the coordinate plane where their area is largest, counterclockwise.
  void flatten(const int* corners, int nbCorners) {
    std::array<double, 3> normal{};  // Newell 1972: twice the area projected onto each coordinate plane
    for (int i = 0; i < nbCorners; ++i) {
      const Wm4::Vector3<float>&a = vertex(corners[i]), &b = vertex(corners[(i + 1) % nbCorners]);
      for (int axis = 0; axis < 3; ++axis) {
        const int u = (axis + 1) % 3, v = (axis + 2) % 3;
        normal[static_cast<std::size_t>(axis)] += (double(a[u]) - b[u]) * (double(a[v]) + b[v]);
      }
    }
    const auto longest =
        std::max_element(normal.begin(), normal.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
    const int axis = static_cast<int>(longest - normal.begin());
    int u = (axis + 1) % 3, v = (axis + 2) % 3;
    if (*longest < 0.0) std::swap(u, v);
    mPoints.clear();
    for (int i = 0; i < nbCorners; ++i) mPoints.push_back({vertex(corners[i])[u], vertex(corners[i])[v]});
  }

  bool isEar(std::size_t before, std::size_t tip, std::size_t after) const {
    const tPoint &a = mPoints[before], &b = mPoints[tip], &c = mPoints[after];
    if (!(turn(a, b, c) > 0.0)) return false;
    return std::none_of(mReflex.begin(), mReflex.end(), [&](std::size_t i) {
      const tPoint& p = mPoints[i];
      return p != a && p != b && p != c && turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0;
    });
  }

  /// Twice the signed area of a triangle, positive if it is counterclockwise.
  static double turn(const tPoint& a, const tPoint& b, const tPoint& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
  }

  const Wm4::Vector3<float>& vertex(int i) const { return mVertices[static_cast<std::size_t>(i)]; }

  const std::vector<Wm4::Vector3<float>>& mVertices;
  const tCancel* mCancel;
  std::vector<tPoint> mPoints;       // the projected corners
  std::vector<std::size_t> mReflex;  // corners with an angle of 180 degrees or more
  std::vector<std::size_t> mRest;    // corners not cut off yet
};

}  // namespace

std::size_t qzPolygonMesh::countTriangles() const {
  std::size_t count = 0;
  for (int nbCorners : mNbCorners) count += static_cast<std::size_t>(std::max(nbCorners - 2, 0));
  return count;
}

qz::qzTriMesh qzPolygonMesh::triangulate(const tCancel* cancel) {
  std::vector<int> triangles;
  triangles.reserve(3 * countTriangles());
  tEarClipper clipper(mVertices, cancel);
  const int* corners = mCorners.data();
  for (int nbCorners : mNbCorners) {
    throwIfCanceled(cancel);
    if (nbCorners == 3) triangles.insert(triangles.end(), corners, corners + 3);
    if (nbCorners > 3) clipper.appendTriangles(corners, nbCorners, triangles);
    corners += nbCorners;
  }
  return qz::qzTriMesh(qz::qzVertexBuffer(std::move(mVertices)), qz::qzIndexBuffer(std::move(triangles)));
}

}  // namespace qzToolkit
