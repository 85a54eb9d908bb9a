#include <benchmarks/edges/qzExactRay.h>

#include <array>
#include <boost/multiprecision/cpp_int.hpp>
#include <cmath>

namespace qzBench {

namespace {

using tInteger = boost::multiprecision::number<boost::multiprecision::cpp_int_backend<>, boost::multiprecision::et_off>;

template <class Number>
using tTriple = std::array<Number, 3>;

/// a . (b x c)
template <class Number>
Number determinant(const tTriple<Number>& a, const tTriple<Number>& b, const tTriple<Number>& c) {
  return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) + a[2] * (b[0] * c[1] - b[1] * c[0]);
}

/// The same of absolute values, which bounds the rounding errors.
double magnitude(const tTriple<double>& a, const tTriple<double>& b, const tTriple<double>& c) {
  const auto product = [&](int i, int j, int k) {
    return std::fabs(a[i]) * (std::fabs(b[j] * c[k]) + std::fabs(b[k] * c[j]));
  };
  return product(0, 1, 2) + product(1, 2, 0) + product(2, 0, 1);
}

// At most six roundings per product: two differences, two products, two sums.
constexpr double kErrorOfMagnitude = 8.0 * 0x1p-53;

/// x * 2^173, which is an integer for every float.
tInteger scaledToInteger(float x) {
  int exponent;
  const float fraction = std::frexp(x, &exponent);
  tInteger result = static_cast<int>(std::ldexp(fraction, 24));
  result <<= exponent - 24 + 173;
  return result;
}

/// Determinants that decide: the signed volumes of the line with each edge, whose sum is direction . normal; and that
/// of the corners relative to the ray's origin, which is normal . (corner - origin).
template <class Number>
struct tDeterminants {
  tTriple<Number> mAtEdge;
  Number mSum, mCorners;
};

template <class Number>
tDeterminants<Number> determinantsOf(const tTriple<Number>& direction, const tTriple<Number> (&corner)[3]) {
  tDeterminants<Number> result;
  for (std::size_t k = 0; k < 3; ++k)
    result.mAtEdge[k] = determinant<Number>(direction, corner[k], corner[(k + 1) % 3]);
  result.mSum = result.mAtEdge[0] + result.mAtEdge[1] + result.mAtEdge[2];
  result.mCorners = determinant<Number>(corner[0], corner[1], corner[2]);
  return result;
}

struct tDecision {
  bool mIsHit = false, mIsOnEdge = false, mIsWithNormal = false;
  double mDistance = 0.0;
};

template <class Number>
tDecision decide(const tDeterminants<Number>& values) {
  bool hasPositive = false, hasNegative = false, hasZero = false;
  for (const Number& value : values.mAtEdge) {
    hasPositive |= value > 0;
    hasNegative |= value < 0;
    hasZero |= value == 0;
  }
  tDecision decision;
  decision.mIsHit = hasPositive != hasNegative;
  decision.mIsOnEdge = hasZero;
  decision.mIsWithNormal = hasPositive;
  if (decision.mIsHit) decision.mDistance = static_cast<double>(values.mCorners) / static_cast<double>(values.mSum);
  return decision;
}

tDecision decideExactly(const qzRay& ray, const tVector (&vertex)[3]) {
  tTriple<tInteger> direction, corner[3];
  for (int axis = 0; axis < 3; ++axis) {
    const std::size_t a = static_cast<std::size_t>(axis);
    const tInteger origin = scaledToInteger(ray.mOrigin[axis]);
    direction[a] = scaledToInteger(ray.mDirection[axis]);
    for (int k = 0; k < 3; ++k) corner[k][a] = scaledToInteger(vertex[k][axis]) - origin;
  }
  return decide(determinantsOf(direction, corner));
}

/// The decision in double precision, if the signs are certain and, for a hit, the distance is right to nine digits.
std::optional<tDecision> decideInDoubles(const tTriple<double>& direction, const tTriple<double> (&corner)[3],
                                         const tDeterminants<double>& values) {
  bool isClear = true, hasPositive = false, hasNegative = false;
  double errorOfSum = 0.0;
  for (std::size_t k = 0; k < 3; ++k) {
    const double error = kErrorOfMagnitude * magnitude(direction, corner[k], corner[(k + 1) % 3]);
    errorOfSum += error;
    hasPositive |= values.mAtEdge[k] > error;
    hasNegative |= values.mAtEdge[k] < -error;
    isClear &= std::fabs(values.mAtEdge[k]) > error;
  }
  if (hasPositive && hasNegative) return tDecision();  // most triangles: a certain miss
  const double errorOfCorners = kErrorOfMagnitude * magnitude(corner[0], corner[1], corner[2]);
  isClear &= std::fabs(values.mSum) > 1e9 * errorOfSum && std::fabs(values.mCorners) > 1e9 * errorOfCorners;
  if (!isClear) return std::nullopt;
  return decide(values);
}

/// Absolute cosine of the angle between direction and normal; directionDotNormal is their product.
double cosineOf(const tTriple<double>& direction, const tTriple<double> (&corner)[3], double directionDotNormal) {
  tTriple<double> first, second;
  double squareOfDirection = 0.0, squareOfNormal = 0.0;
  for (std::size_t a = 0; a < 3; ++a) {
    first[a] = corner[1][a] - corner[0][a];
    second[a] = corner[2][a] - corner[0][a];
    squareOfDirection += direction[a] * direction[a];
  }
  for (std::size_t a = 0; a < 3; ++a) {
    const std::size_t b = (a + 1) % 3, c = (a + 2) % 3;
    const double component = first[b] * second[c] - first[c] * second[b];
    squareOfNormal += component * component;
  }
  return std::fabs(directionDotNormal) / std::sqrt(squareOfDirection * squareOfNormal);
}

}  // namespace

std::optional<qzCrossing> crossingOf(const qzRay& ray, const qzScene& scene, int triangle) {
  tVector vertex[3];
  tTriple<double> direction, corner[3];
  for (int k = 0; k < 3; ++k) {
    vertex[k] = scene.getVertex(triangle, k);
    for (int axis = 0; axis < 3; ++axis)
      corner[k][static_cast<std::size_t>(axis)] = double(vertex[k][axis]) - double(ray.mOrigin[axis]);
  }
  for (int axis = 0; axis < 3; ++axis) direction[static_cast<std::size_t>(axis)] = double(ray.mDirection[axis]);

  const tDeterminants<double> values = determinantsOf(direction, corner);
  const std::optional<tDecision> inDoubles = decideInDoubles(direction, corner, values);
  const tDecision decision = inDoubles ? *inDoubles : decideExactly(ray, vertex);
  if (!decision.mIsHit) return std::nullopt;
  const double cosine = cosineOf(direction, corner, values.mSum);
  return qzCrossing{decision.mDistance, decision.mIsWithNormal ? cosine : -cosine, decision.mIsOnEdge, triangle};
}

}  // namespace qzBench
