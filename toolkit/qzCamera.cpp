#include <qzSceneGraph/qzTriMesh.h>
#include <toolkit/qzCamera.h>
#include <toolkit/qzError.h>
#include <toolkit/qzNumber.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qzToolkit {

namespace {

using tVector = qzCamera::tVector;

constexpr double kTanHalfView = 0.26;  // of the larger half angle of view: 29 degrees in all, little distortion
constexpr double kMargin = 1.06;       // free space around the mesh

double dot(const tVector& a, const tVector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

tVector cross(const tVector& a, const tVector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

tVector normalized(const tVector& v) {
  const double length = std::hypot(v[0], v[1], v[2]);
  return {v[0] / length, v[1] / length, v[2] / length};
}

Wm4::Vector3<float> toFloat(const tVector& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

/// The mesh's vector with the given parts to the right, to the back and up.
tVector fromSides(double right, double back, double up, qzCamera::tUp upAxis) {
  return upAxis == qzCamera::eUpZ ? tVector{right, back, up} : tVector{right, up, -back};
}

}  // namespace

tVector qzCamera::Direction(const std::string& text, tUp up) {
  static const struct {
    const char* mName;
    double mRight, mBack, mUp;
  } kViews[] = {{"", -0.55, -1.0, 0.4}, {"front", 0, -1, 0}, {"back", 0, 1, 0},    {"left", -1, 0, 0},
                {"right", 1, 0, 0},     {"top", 0, 0, 1},    {"bottom", 0, 0, -1}, {"iso", 1, -1, 1}};
  for (const auto& view : kViews) {
    if (text == view.mName) return fromSides(view.mRight, view.mBack, view.mUp, up);
  }

  std::string_view rest = text;
  tVector direction;
  for (int axis = 0; axis < 3; ++axis) {
    const std::size_t comma = rest.find(',');
    float number;
    const bool isLast = comma == std::string_view::npos;
    if (readNumber(rest.substr(0, comma), number) != tNumberResult::eNumber || !std::isfinite(number) ||
        isLast != (axis == 2)) {
      throw qzError("view '" + text + "'", "neither x,y,z nor one of front, back, left, right, top, bottom, iso");
    }
    direction[static_cast<std::size_t>(axis)] = number;
    if (!isLast) rest.remove_prefix(comma + 1);
  }
  if (std::hypot(direction[0], direction[1], direction[2]) == 0.0) {
    throw qzError("view '" + text + "'", "the direction has no length");
  }
  return direction;
}

qzCamera qzCamera::Frame(const qz::qzTriMesh& mesh, const tVector& direction, tUp up, double aspect) {
  qzCamera camera;
  camera.mBackward = normalized(direction);
  const tVector above = fromSides(0, 0, 1, up);
  tVector right = cross(above, camera.mBackward);
  if (dot(right, right) < 1e-12) {  // straight from above or below: the back of the mesh is at the top of the picture
    right = cross(fromSides(0, dot(camera.mBackward, above) > 0 ? 1 : -1, 0, up), camera.mBackward);
  }
  camera.mRight = normalized(right);
  camera.mUp = cross(camera.mBackward, camera.mRight);
  camera.mTanX = kTanHalfView * std::min(1.0, aspect);
  camera.mTanY = kTanHalfView / std::max(1.0, aspect);
  if (aspect >= 1.0) {
    camera.mTanX = kTanHalfView;
    camera.mTanY = kTanHalfView / aspect;
  }

  // A vertex at (x, y, z) along right, up and backward is in the picture when |x - X| <= tanX * (Z - z), and y alike,
  // the camera standing at (X, Y, Z). Every vertex gives X and Z a half plane on either side; where the outermost two
  // cross, the mesh touches both edges.
  constexpr double kLowest = std::numeric_limits<double>::lowest();
  const double tangents[2] = {camera.mTanX / kMargin, camera.mTanY / kMargin};
  double above0[2] = {kLowest, kLowest}, below0[2] = {kLowest, kLowest}, nearest = kLowest, farthest = -kLowest;
  const qz::qzVertexBuffer& vertices = *mesh.getVertexBuffer();
  const qz::qzIndexBuffer& indices = *mesh.getIndexBuffer();
  for (int i = 0; i < indices.getNbIndices(); ++i) {
    const Wm4::Vector3<float> vertex = vertices.Position3(indices.getIndices()[i]);
    const tVector p = {vertex[0], vertex[1], vertex[2]};
    const double side[2] = {dot(p, camera.mRight), dot(p, camera.mUp)}, depth = dot(p, camera.mBackward);
    for (int k = 0; k < 2; ++k) {
      above0[k] = std::max(above0[k], side[k] + tangents[k] * depth);
      below0[k] = std::max(below0[k], -side[k] + tangents[k] * depth);
    }
    nearest = std::max(nearest, depth);
    farthest = std::min(farthest, depth);
  }
  const double x = (above0[0] - below0[0]) / 2, y = (above0[1] - below0[1]) / 2;
  double z = std::max((above0[0] + below0[0]) / (2 * tangents[0]), (above0[1] + below0[1]) / (2 * tangents[1]));
  const double step = std::max({1e-3 * (z - farthest), 1e-3 * std::abs(nearest), 1e-30});
  z = std::max(z, nearest + step);  // a single point, or a line of sight along a flat mesh

  for (std::size_t axis = 0; axis < 3; ++axis) {
    camera.mOrigin[axis] = x * camera.mRight[axis] + y * camera.mUp[axis] + z * camera.mBackward[axis];
  }
  return camera;
}

Wm4::Vector3<float> qzCamera::getOrigin() const {
  return toFloat(mOrigin);
}

Wm4::Vector3<float> qzCamera::getDirection(double x, double y) const {
  const double right = (2.0 * x - 1.0) * mTanX, up = (1.0 - 2.0 * y) * mTanY;
  tVector direction;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    direction[axis] = right * mRight[axis] + up * mUp[axis] - mBackward[axis];
  }
  return toFloat(normalized(direction));
}

}  // namespace qzToolkit
