// What a walk needs of a ray, four lanes at a time. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_RAY_SETUP) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_RAY_SETUP
#undef QZ_MESHQUERIES_RAY_SETUP
#else
#define QZ_MESHQUERIES_RAY_SETUP
#endif

#include <hwy/highway.h>
#include <qzMeshQueries/walk/RaySlabs.h>

#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Bit i is lane i of the mask.
template <class D, class M>
HWY_INLINE std::uint32_t bitsOf(D d, M mask) {
  alignas(8) std::uint8_t bytes[8] = {};
  hn::StoreMaskBits(d, mask, bytes);
  std::uint32_t bits = 0;
  std::memcpy(&bits, bytes, hn::Lanes(d) <= 8 ? 1 : 2);
  return bits;
}

/// makeRayFrame and makeRaySlabs. Returns false for a ray that hits nothing, whatever the mesh.
HWY_INLINE bool setUpRay(const WideTree& tree, const Ray& ray, RayFrame& frame, RaySlabs& slabs) {
#if HWY_TARGET == HWY_SCALAR
  if (!makeRayFrame(ray, frame)) return false;
  makeRaySlabs(frame, ray.direction, tree.min, tree.max, slabs);
  return true;
#else
  static_assert(sizeof(Ray) == 32 && offsetof(Ray, tMin) == 12 && offsetof(Ray, direction) == 16);
  const hn::FixedTag<float, 4> d;
  using V = hn::Vec<decltype(d)>;
  alignas(16) static constexpr std::uint32_t kThree[4] = {0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0};
  const V three = hn::BitCast(d, hn::Load(hn::RebindToUnsigned<decltype(d)>(), kThree));
  const auto largestOf = [](V v) HWY_ATTR {
    v = hn::Max(v, hn::Shuffle2301(v));
    return hn::Max(v, hn::Shuffle1032(v));
  };

  const V origin = hn::And(hn::LoadU(d, ray.origin), three);        // [ x  y  z  0 ]
  const V direction = hn::And(hn::LoadU(d, ray.direction), three);  // [ x  y  z  0 ]
  const V size = hn::Abs(direction);
  const V length = largestOf(size);
  const std::uint32_t valid =
      bitsOf(d, hn::And(hn::Lt(size, hn::Set(d, std::numeric_limits<float>::infinity())),
                        hn::And(hn::Le(hn::Abs(origin), hn::Set(d, kLargestCoordinate)), hn::Gt(length, hn::Zero(d)))));
  if (valid != 15 || !(ray.tMin <= ray.tMax)) return false;

  const int k = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(bitsOf(d, hn::Eq(size, length))));
  static constexpr int kNext[5] = {0, 1, 2, 0, 1};
  frame.axis[0] = kNext[k + 1];
  frame.axis[1] = kNext[k + 2];
  frame.axis[2] = k;
  const float along = ray.direction[k];
  alignas(16) float shear[4];
  hn::Store(hn::Div(direction, hn::Set(d, along)), d, shear);
  frame.shear[0] = shear[frame.axis[0]];
  frame.shear[1] = shear[frame.axis[1]];
  for (int i = 0; i < 3; ++i) frame.origin[i] = ray.origin[i];
  frame.tMin = ray.tMin;
  frame.tMax = ray.tMax;
  frame.lengthAlong = double(along);

  const V reach = largestOf(
      hn::Max(hn::Abs(hn::Sub(hn::Load(d, tree.min), origin)), hn::Abs(hn::Sub(hn::Load(d, tree.max), origin))));
  const V inverseSize = hn::Min(hn::Abs(hn::Div(length, direction)), hn::Set(d, kLargestInverse));
  const V inverse = hn::CopySignToAbs(inverseSize, direction);
  const V margin = hn::Mul(
      hn::Add(hn::Add(hn::Mul(reach, hn::Set(d, kReachMargin)), hn::Mul(hn::Abs(origin), hn::Set(d, kOriginMargin))),
              hn::Set(d, kLeastMargin)),
      inverseSize);
  const V middle = hn::Neg(hn::Mul(origin, inverse));
  hn::StoreU(inverse, d, slabs.inverse);
  hn::StoreU(hn::Sub(middle, margin), d, slabs.nearShift);
  hn::StoreU(hn::Add(middle, margin), d, slabs.farShift);
  const std::uint32_t isNegative = bitsOf(d, hn::Lt(inverse, hn::Zero(d)));
  for (int i = 0; i < 3; ++i) slabs.nearRow[i] = 2 * i + int(isNegative >> i & 1);
  setLimits(frame, slabs);
  return true;
#endif
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
