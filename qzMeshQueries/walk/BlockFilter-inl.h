// The triangles of a block that a ray hits. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_BLOCK_FILTER) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_BLOCK_FILTER
#undef QZ_MESHQUERIES_BLOCK_FILTER
#else
#define QZ_MESHQUERIES_BLOCK_FILTER
#endif

#include <hwy/highway.h>
#include <qzMeshQueries/walk/RaySetup-inl.h>
#include <qzMeshQueries/walk/Walks.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// A block as a ray sees it.
struct SeenBlock {
  /// The vertices, by rows. Filled if there are candidates.
  alignas(64) float x[kMaxBlockVertices], y[kMaxBlockVertices], depth[kMaxBlockVertices];
  /// Bit i: triangle i may be crossed. It is left out if the origin lies strictly left of one edge and strictly right
  /// of another, by products rounded to float: they order as the exact ones unless they are equal.
  std::uint32_t candidates;
  /// Bit i: triangle i is crossed: the origin lies strictly on the same side of all edges.
  std::uint32_t crossed;

  SeenVertex vertex(int i) const { return {x[i], y[i], depth[i]}; }
};

/// Finds candidates and crossed triangles among some, by the images of their first, second and third corners; or among
/// some rays. Bits are as those of SeenBlock.
template <class D, class V = hn::Vec<D>>
HWY_INLINE std::uint32_t candidatesOf(D d, const V (&x)[3], const V (&y)[3], std::uint32_t& crossed) {
  const V a = hn::Sub(hn::Mul(x[1], y[2]), hn::Mul(y[1], x[2]));
  const V b = hn::Sub(hn::Mul(x[2], y[0]), hn::Mul(y[2], x[0]));
  const V c = hn::Sub(hn::Mul(x[0], y[1]), hn::Mul(y[0], x[1]));
  const V zero = hn::Zero(d), least = hn::Min(a, hn::Min(b, c)), greatest = hn::Max(a, hn::Max(b, c));
  crossed = bitsOf(d, hn::Or(hn::Gt(least, zero), hn::Lt(greatest, zero)));
  return bitsOf(d, hn::Not(hn::And(hn::Gt(greatest, zero), hn::Lt(least, zero))));
}

/// Sees the vertices as see() of the kernel does, operation by operation, and finds the candidates.
HWY_INLINE void seeBlock(const RayFrame& frame, const Block& block, SeenBlock& seen) {
  const int nbVertices = block.vertexCount(), nbTriangles = block.triangleCount();
  const float* const rowX = block.row(frame.axis[0]);
  const float* const rowY = block.row(frame.axis[1]);
  const float* const rowZ = block.row(frame.axis[2]);
#if HWY_TARGET == HWY_SCALAR
  for (int i = 0; i < nbVertices; ++i) {
    const float z = rowZ[i] - frame.origin[frame.axis[2]];
    seen.x[i] = (rowX[i] - frame.origin[frame.axis[0]]) - frame.shear[0] * z;
    seen.y[i] = (rowY[i] - frame.origin[frame.axis[1]]) - frame.shear[1] * z;
    seen.depth[i] = z;
  }
  seen.candidates = (1u << nbTriangles) - 1;
  seen.crossed = 0;
#else
  const hn::CappedTag<float, kMaxBlockVertices> d;
  using V = hn::Vec<decltype(d)>;
  const V originX = hn::Set(d, frame.origin[frame.axis[0]]), originY = hn::Set(d, frame.origin[frame.axis[1]]),
          originZ = hn::Set(d, frame.origin[frame.axis[2]]);
  const V shearX = hn::Set(d, frame.shear[0]), shearY = hn::Set(d, frame.shear[1]);
  // Vectors are loaded whole: lanes behind the last vertex are not used.
  const auto seeSome = [&](int first, V& x, V& y, V& z) HWY_ATTR {
    z = hn::Sub(hn::LoadU(d, rowZ + first), originZ);
    x = hn::Sub(hn::Sub(hn::LoadU(d, rowX + first), originX), hn::Mul(shearX, z));
    y = hn::Sub(hn::Sub(hn::LoadU(d, rowY + first), originY), hn::Mul(shearY, z));
  };
  const auto keepSome = [&](int first, V x, V y, V z) HWY_ATTR {
    hn::Store(x, d, seen.x + first);
    hn::Store(y, d, seen.y + first);
    hn::Store(z, d, seen.depth + first);
  };

  const hn::RebindToUnsigned<decltype(d)> du;
  seen.candidates = seen.crossed = 0;
  // Corners of some triangles. Lanes behind the last triangle are not used, but must be valid vertex numbers.
  const auto cornersOf = [&](int which, int first) HWY_ATTR {
    const hn::Rebind<std::uint8_t, decltype(d)> db;
    return hn::PromoteTo(
        du, hn::And(hn::LoadU(db, block.corners(which) + first), hn::Set(db, std::uint8_t(kMaxBlockVertices - 1))));
  };
  const auto judge = [&](int first, const V(&x)[3], const V(&y)[3]) HWY_ATTR {
    std::uint32_t crossed = 0;
    seen.candidates |= candidatesOf(d, x, y, crossed) << first;
    seen.crossed |= crossed << first;
  };
  const std::uint32_t all = (1u << nbTriangles) - 1;

#if HWY_TARGET <= HWY_AVX3
  // Corners by permutations of one register.
  V seenX, seenY, seenZ, x[3], y[3];
  seeSome(0, seenX, seenY, seenZ);
  for (int which = 0; which < 3; ++which) {
    const auto indices = hn::IndicesFromVec(d, cornersOf(which, 0));
    x[which] = hn::TableLookupLanes(seenX, indices);
    y[which] = hn::TableLookupLanes(seenY, indices);
  }
  judge(0, x, y);
  seen.candidates &= all;
  if (seen.candidates != 0) keepSome(0, seenX, seenY, seenZ);
#elif HWY_TARGET == HWY_AVX2
  // Corners by permutations of two registers.
  V seenX[2], seenY[2], seenZ[2], x[3], y[3];
  for (int half = 0; half < 2; ++half) seeSome(8 * half, seenX[half], seenY[half], seenZ[half]);
  for (int first = 0; first < nbTriangles; first += 8) {
    for (int which = 0; which < 3; ++which) {
      const auto numbers = cornersOf(which, first);
      const auto indices = hn::IndicesFromVec(d, hn::And(numbers, hn::Set(du, 7)));
      const auto isSecond = hn::MaskFromVec(hn::BitCast(d, hn::ShiftLeft<28>(numbers)));  // bit 3
      x[which] =
          hn::IfThenElse(isSecond, hn::TableLookupLanes(seenX[1], indices), hn::TableLookupLanes(seenX[0], indices));
      y[which] =
          hn::IfThenElse(isSecond, hn::TableLookupLanes(seenY[1], indices), hn::TableLookupLanes(seenY[0], indices));
    }
    judge(first, x, y);
  }
  seen.candidates &= all;
  if (seen.candidates != 0)
    for (int half = 0; half < 2; ++half) keepSome(8 * half, seenX[half], seenY[half], seenZ[half]);
#else
  // Corners through memory.
  for (int first = 0; first < nbVertices; first += int(hn::Lanes(d))) {
    V x, y, z;
    seeSome(first, x, y, z);
    keepSome(first, x, y, z);
  }
  const hn::RebindToSigned<decltype(d)> di;
  for (int first = 0; first < nbTriangles; first += int(hn::Lanes(d))) {
    V x[3], y[3];
    for (int which = 0; which < 3; ++which) {
      const auto numbers = hn::BitCast(di, cornersOf(which, first));
      x[which] = hn::GatherIndex(d, seen.x, numbers);
      y[which] = hn::GatherIndex(d, seen.y, numbers);
    }
    judge(first, x, y);
  }
  seen.candidates &= all;
#endif
#endif
}

/// Calls take(hit, isFront) for every candidate that the ray hits. Returns true, at once, when take does.
template <class Take>
HWY_INLINE bool hitCandidates(const RayFrame& frame, const Block& block, const SeenBlock& seen,
                              const WalkOptions& options, Take&& take) {
  for (std::uint32_t rest = seen.candidates; rest != 0; rest &= rest - 1) {
    const int i = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(rest));
    const SeenVertex p = seen.vertex(block.corners(0)[i]);
    const SeenVertex q = seen.vertex(block.corners(1)[i]);
    const SeenVertex r = seen.vertex(block.corners(2)[i]);
    if ((seen.crossed >> i & 1) == 0 && !holdsOrigin(p, q, r)) continue;
    const Crossing crossing = locate(frame, p, q, r);
    if (!counts(frame, options.faces, crossing)) continue;
    const std::uint32_t number = block.numbers()[i];
    if (number == options.skip) continue;
    if (take(Hit{crossing.t, crossing.u, crossing.v, number}, crossing.isFront)) return true;
  }
  return false;
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
