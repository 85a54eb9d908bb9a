#include <toolkit/view/qzCamera.h>

#include <toolkit/base/qzError.h>
#include <toolkit/base/qzMeshGeometry.h>
#include <toolkit/base/qzNumber.h>
#include <toolkit/base/qzVectorMath.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace qzToolkit {

namespace {

using tVector = qzCamera::tVector;

constexpr double kPi = 3.14159265358979323846;
constexpr double kLowest = std::numeric_limits<double>::lowest();
constexpr double kTanHalfView = 0.26;  // of half the larger angle of view, which is 29 degrees: little distortion
constexpr double kMargin = 1.06;       // free space around the mesh

/// The vector in the space of the mesh with the given components to the right, to the back and up.
tVector fromSides(double right, double back, double up, qzCamera::tUp upAxis) {
  return upAxis == qzCamera::eUpZ ? tVector{right, back, up} : tVector{right, up, -back};
}

/// v rotated about the up axis, from front to right.
tVector turned(const tVector& v, double cosine, double sine, qzCamera::tUp upAxis) {
  const bool isZ = upAxis == qzCamera::eUpZ;
  const double right = v[0], back = isZ ? v[1] : -v[2], up = isZ ? v[2] : v[1];
  return fromSides(right * cosine - back * sine, right * sine + back * cosine, up, upAxis);
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

/// The extent of points as seen by a camera at the origin.
///
/// A point (x, y, z) along right, up and backward is in the picture of a camera at (X, Y, Z) when
/// |x - X| <= tanX * (Z - z), and likewise for y. Every point bounds X and Z by two half planes; at the intersection of
/// the outermost two the points touch both edges.
struct qzCamera::tReach {
  double mTangents[2];                                                    // with the margin
  double mAbove[2] = {kLowest, kLowest}, mBelow[2] = {kLowest, kLowest};  // for x and y: the largest +-x + tan * z
  double mNearest = kLowest, mFarthest = -kLowest;                        // z
  double mShift = 0.0;  // distance of these coordinates from the mesh's own origin, which costs precision

  explicit tReach(const qzCamera& camera) : mTangents{camera.mTanX / kMargin, camera.mTanY / kMargin} {}
};

qzCamera::qzCamera(const tVector& direction, tUp up, double aspect)
    : mBackward(normalized(direction)),
      mTanX(kTanHalfView * std::min(1.0, aspect)),
      mTanY(kTanHalfView / std::max(1.0, aspect)) {
  const tVector above = fromSides(0, 0, 1, up);
  tVector right = cross(above, mBackward);
  if (dot(right, right) < 1e-12) {  // vertical line of sight: the back of the mesh is at the top of the picture
    right = cross(fromSides(0, dot(mBackward, above) > 0 ? 1 : -1, 0, up), mBackward);
  }
  mRight = normalized(right);
  mUp = cross(mBackward, mRight);
}

/// Moves the camera so that all of reach is in the picture; returns its position along backward.
double qzCamera::place(const tReach& reach) {
  const auto& [tangents, above, below, nearest, farthest, shift] = reach;
  const double x = (above[0] - below[0]) / 2, y = (above[1] - below[1]) / 2;
  double z = std::max((above[0] + below[0]) / (2 * tangents[0]), (above[1] + below[1]) / (2 * tangents[1]));
  const double step = std::max({1e-3 * (z - farthest), 1e-3 * std::abs(nearest), 1e-5 * shift, 1e-30});
  z = std::max(z, nearest + step);  // for a single point, and a flat mesh seen edge-on
  for (std::size_t axis = 0; axis < 3; ++axis) {
    mOrigin[axis] = x * mRight[axis] + y * mUp[axis] + z * mBackward[axis];
  }
  return z;
}

qzCamera qzCamera::Frame(const qz::qzTriMesh& mesh, const tVector& direction, tUp up, double aspect,
                         const tCancel* cancel) {
  qzCamera camera(direction, up, aspect);
  tReach reach(camera);
  forEachCorner(mesh, [&](const Wm4::Vector3<float>& corner) {
    throwIfCanceled(cancel);
    const tVector p = toDouble(corner);
    const double side[2] = {dot(p, camera.mRight), dot(p, camera.mUp)}, depth = dot(p, camera.mBackward);
    for (int k = 0; k < 2; ++k) {
      reach.mAbove[k] = std::max(reach.mAbove[k], side[k] + reach.mTangents[k] * depth);
      reach.mBelow[k] = std::max(reach.mBelow[k], -side[k] + reach.mTangents[k] * depth);
    }
    reach.mNearest = std::max(reach.mNearest, depth);
    reach.mFarthest = std::min(reach.mFarthest, depth);
  });
  camera.place(reach);

  const tVector origin = toDouble(camera.getOrigin());
  camera.mNearest = -kLowest;
  camera.mFarthest = kLowest;
  forEachCorner(mesh, [&](const Wm4::Vector3<float>& corner) {
    throwIfCanceled(cancel);
    const tVector p = toDouble(corner);
    const double distance = -dot(difference(p, origin), camera.mBackward);
    camera.mNearest = std::min(camera.mNearest, distance);
    camera.mFarthest = std::max(camera.mFarthest, distance);
  });
  return camera;
}

std::vector<qzCamera> qzCamera::FrameTurning(const qz::qzTriMesh& mesh, const tVector& direction, tUp up, double aspect,
                                             int nbViews, const tCancel* cancel) {
  const qzBBox box = boxOf(mesh);
  const tVector low = toDouble(box.getMinPoint()), high = toDouble(box.getMaxPoint());
  const tVector middle = {(low[0] + high[0]) / 2, (low[1] + high[1]) / 2, (low[2] + high[2]) / 2};

  // A rotating vertex stays on a circle. The largest dot product of a vector with a point of the circle is height times
  // the vector's component along the axis, plus radius times its component across.
  qzCamera first(direction, up, aspect);
  tReach reach(first);
  const tVector axis = fromSides(0, 0, 1, up), sides[2] = {first.mRight, first.mUp};
  struct tParts {
    double mAlong, mAcross;
    tParts(const tVector& v, const tVector& axis) : mAlong(dot(v, axis)), mAcross(length(cross(axis, v))) {}
  };
  reach.mShift = length(middle);
  const tParts backward(first.mBackward, axis);
  std::vector<tParts> above, below;
  for (std::size_t k = 0; k < 2; ++k) {
    const tVector tilted = scaled(reach.mTangents[k], first.mBackward);
    above.emplace_back(difference(tilted, scaled(-1.0, sides[k])), axis);
    below.emplace_back(difference(tilted, sides[k]), axis);
  }
  forEachCorner(mesh, [&](const Wm4::Vector3<float>& corner) {
    throwIfCanceled(cancel);
    const tVector p = toDouble(corner);
    const tParts vertex(difference(p, middle), axis);
    const auto largest = [&](const tParts& v) { return vertex.mAlong * v.mAlong + vertex.mAcross * v.mAcross; };
    for (std::size_t k = 0; k < 2; ++k) {
      reach.mAbove[k] = std::max(reach.mAbove[k], largest(above[k]));
      reach.mBelow[k] = std::max(reach.mBelow[k], largest(below[k]));
    }
    reach.mNearest = std::max(reach.mNearest, largest(backward));
    reach.mFarthest = std::min(reach.mFarthest, vertex.mAlong * backward.mAlong - vertex.mAcross * backward.mAcross);
  });
  const double distance = first.place(reach);
  first.mNearest = distance - reach.mNearest;
  first.mFarthest = distance - reach.mFarthest;

  std::vector<qzCamera> cameras(static_cast<std::size_t>(nbViews), first);
  for (int view = 0; view < nbViews; ++view) {
    qzCamera& camera = cameras[static_cast<std::size_t>(view)];
    const double turn = 2.0 * kPi * (double(view) / nbViews);
    for (tVector* vector : {&camera.mOrigin, &camera.mRight, &camera.mUp, &camera.mBackward}) {
      *vector = turned(*vector, std::cos(turn), std::sin(turn), up);
    }
    for (std::size_t i = 0; i < 3; ++i) camera.mOrigin[i] += middle[i];
  }
  return cameras;
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
