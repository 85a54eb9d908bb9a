// Which triangles of a block a ray may cross. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_BLOCK_FILTER) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_BLOCK_FILTER
#undef QZ_MESHQUERIES_BLOCK_FILTER
#else
#define QZ_MESHQUERIES_BLOCK_FILTER
#endif

#include <hwy/highway.h>
#include <qzMeshQueries/walk/RaySetup-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// The images of a block's vertices.
struct SeenBlock {
  alignas(64) float x[kMaxBlockVertices], y[kMaxBlockVertices];
};

/// Bit i: triangle i of the block may be crossed by the line. The image of a triangle is left out if the origin lies
/// strictly left of one edge and strictly right of another, by products rounded to float. These order as the exact
/// ones unless they are equal, so the kernel leaves it out too.
HWY_INLINE std::uint32_t mayCross(const RayFrame& frame, const Block& block) {
  const int nbVertices = block.head->vertexCount, nbTriangles = block.head->triangleCount;
  const float* const rowX = block.row(frame.axis[0]);
  const float* const rowY = block.row(frame.axis[1]);
  const float* const rowZ = block.row(frame.axis[2]);
#if HWY_TARGET == HWY_SCALAR
  (void)rowX, (void)rowY, (void)rowZ, (void)nbVertices;
  return (1u << nbTriangles) - 1;
#else
  // The images: see() of the kernel, operation by operation.
  const hn::CappedTag<float, kMaxBlockVertices> d;
  using V = hn::Vec<decltype(d)>;
  const V originX = hn::Set(d, frame.origin[frame.axis[0]]), originY = hn::Set(d, frame.origin[frame.axis[1]]),
          originZ = hn::Set(d, frame.origin[frame.axis[2]]);
  const V shearX = hn::Set(d, frame.shear[0]), shearY = hn::Set(d, frame.shear[1]);
  const int kStep = int(hn::Lanes(d));
  const auto seeSome = [&](int first, V& x, V& y) HWY_ATTR {
    // What is read behind the vertices is not used.
    const V z = hn::Sub(hn::LoadU(d, rowZ + first), originZ);
    x = hn::Sub(hn::Sub(hn::LoadU(d, rowX + first), originX), hn::Mul(shearX, z));
    y = hn::Sub(hn::Sub(hn::LoadU(d, rowY + first), originY), hn::Mul(shearY, z));
  };

  const hn::CappedTag<float, kMaxBlockTriangles> dt;
  using T = hn::Vec<decltype(dt)>;
  const hn::RebindToUnsigned<decltype(dt)> du;
  const hn::Rebind<std::uint8_t, decltype(dt)> db;
  const int kLanes = int(hn::Lanes(dt));
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET <= HWY_AVX3
  // Corners by permutations of registers.
#if HWY_TARGET == HWY_AVX2
  V x0, y0, x1 = hn::Zero(d), y1 = hn::Zero(d);
  seeSome(0, x0, y0);
  if (nbVertices > 8) seeSome(8, x1, y1);
  const auto cornersOf = [&](int which, T& x, T& y) HWY_ATTR {
    const auto numbers = hn::PromoteTo(du, hn::LoadU(db, block.head->corner[which]));
    const auto indices = hn::IndicesFromVec(dt, hn::And(numbers, hn::Set(du, 7)));
    if (nbVertices > 8) {
      const auto isSecond = hn::MaskFromVec(hn::BitCast(dt, hn::ShiftLeft<28>(numbers)));  // bit 3
      x = hn::IfThenElse(isSecond, hn::TableLookupLanes(x1, indices), hn::TableLookupLanes(x0, indices));
      y = hn::IfThenElse(isSecond, hn::TableLookupLanes(y1, indices), hn::TableLookupLanes(y0, indices));
    } else {
      x = hn::TableLookupLanes(x0, indices);
      y = hn::TableLookupLanes(y0, indices);
    }
  };
#else
  V x0, y0;
  seeSome(0, x0, y0);
  const hn::RebindToUnsigned<decltype(d)> du16;
  const hn::Rebind<std::uint8_t, decltype(d)> db16;
  const auto cornersOf = [&](int which, T& x, T& y) HWY_ATTR {
    const auto numbers = hn::PromoteTo(du, hn::LoadU(db, block.head->corner[which]));
    const auto indices = hn::IndicesFromVec(d, hn::ZeroExtendVector(du16, numbers));
    x = hn::LowerHalf(dt, hn::TableLookupLanes(x0, indices));
    y = hn::LowerHalf(dt, hn::TableLookupLanes(y0, indices));
  };
  (void)db16, (void)kStep, (void)nbVertices;
#endif
#else
  // Corners through memory.
  SeenBlock seen;
  for (int first = 0; first < nbVertices; first += kStep) {
    V x, y;
    seeSome(first, x, y);
    hn::Store(x, d, seen.x + first);
    hn::Store(y, d, seen.y + first);
  }
  int firstLane = 0;
  const hn::RebindToSigned<decltype(dt)> di;
  const auto cornersOf = [&](int which, T& x, T& y) HWY_ATTR {
    const auto numbers = hn::BitCast(di, hn::PromoteTo(du, hn::LoadU(db, block.head->corner[which] + firstLane)));
    x = hn::GatherIndex(dt, seen.x, numbers);
    y = hn::GatherIndex(dt, seen.y, numbers);
  };
#endif

  std::uint32_t result = 0;
  for (int first = 0; first < nbTriangles; first += kLanes) {
#if !(HWY_TARGET == HWY_AVX2 || HWY_TARGET <= HWY_AVX3)
    firstLane = first;
#endif
    T ax, ay, bx, by, cx, cy;
    cornersOf(0, ax, ay);
    cornersOf(1, bx, by);
    cornersOf(2, cx, cy);
    const T a = hn::Sub(hn::Mul(bx, cy), hn::Mul(by, cx));
    const T b = hn::Sub(hn::Mul(cx, ay), hn::Mul(cy, ax));
    const T c = hn::Sub(hn::Mul(ax, by), hn::Mul(ay, bx));
    const T zero = hn::Zero(dt);
    const auto isLeft = hn::Gt(hn::Max(a, hn::Max(b, c)), zero);
    const auto isRight = hn::Lt(hn::Min(a, hn::Min(b, c)), zero);
    result |= bitsOf(dt, hn::Not(hn::And(isLeft, isRight))) << first;
  }
  return result & ((1u << nbTriangles) - 1);
#endif
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
