// Compiles the walks for winding numbers once for each instruction set. Walks.cpp chooses. Every lane does the operations
// of the kernel in its order, and so has its bits.

#include <qzMeshQueries/walk/Targets.h>
#include <qzMeshQueries/walk/WindingWalks.h>

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qzMeshQueries/walk/WindingWalks.cpp"
#include <hwy/foreach_target.h>
// What every instruction set compiles.
#include <hwy/highway.h>
#include <qzMeshQueries/walk/WindingWalk-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

namespace {

static_assert(Boundary::kGroup == kTurnings, "edge i of a group goes to sum i");

// Places that are projected at a time, and points that look at them one after the other.
constexpr std::size_t kPart = 512, kPointsAtOnce = 16;

// The sums of a point, by rows.
struct Sums {
  alignas(64) double re[kTurnings], im[kTurnings];
  alignas(64) std::uint64_t turns[kTurnings];  // modulo 2^64
};

// A part of the boundary as a point sees it; one place more than fits, which no edge reads.
struct Projected {
  alignas(64) double u[kPart + 1], x[kPart + 1], y[kPart + 1];
};

#if HWY_TARGET == HWY_SCALAR

void addPart(const RayFrame& frame, const Boundary& boundary, std::size_t begin, std::size_t end, Sums& sums) {
  for (std::size_t i = begin; i < end; ++i) {
    const std::size_t k = i % kTurnings;
    EdgeTurn turn = {1, 0, 0};
    if ((boundary.isEdge[i / kTurnings] >> k & 1) != 0) {
      float from[3], to[3];
      for (int axis = 0; axis < 3; ++axis) {
        from[axis] = boundary.rows[axis][i];
        to[axis] = boundary.rows[axis][i + 1];
      }
      turn = turnOf(frame, from, to, project(from, frame.origin), project(to, frame.origin));
    }
    Turning sum = {sums.re[k], sums.im[k], std::int64_t(sums.turns[k])};
    add(sum, turn);
    sums.re[k] = sum.re;
    sums.im[k] = sum.im;
    sums.turns[k] = std::uint64_t(sum.turns);
  }
}

#else

using D = hn::CappedTag<double, 8>;
using V = hn::Vec<D>;

// project() of so many places, which are whole vectors.
HWY_INLINE void projectPart(const RayFrame& frame, const Boundary& boundary, std::size_t begin, std::size_t count,
                            Projected& seen) {
  const D d;
  const hn::Rebind<float, D> df;
  const V originX = hn::Set(d, double(frame.origin[0])), originY = hn::Set(d, double(frame.origin[1])),
          originZ = hn::Set(d, double(frame.origin[2]));
  const V zero = hn::Zero(d);
  for (std::size_t i = 0; i < count; i += hn::Lanes(d)) {
    const V x = hn::Sub(hn::PromoteTo(d, hn::LoadU(df, boundary.rows[0].data() + begin + i)), originX);
    const V y = hn::Sub(hn::PromoteTo(d, hn::LoadU(df, boundary.rows[1].data() + begin + i)), originY);
    const V z = hn::Sub(hn::PromoteTo(d, hn::LoadU(df, boundary.rows[2].data() + begin + i)), originZ);
    const V across = hn::Add(hn::Mul(x, x), hn::Mul(y, y));
    const V length = hn::Sqrt(hn::Add(across, hn::Mul(z, z)));
    const V scale = hn::Add(length, z);
    const auto isBehind = hn::Lt(z, zero);
    const auto isAhead = hn::AndNot(isBehind, hn::Eq(across, zero));  // exactly
    hn::Store(hn::IfThenElse(isBehind, hn::Sub(length, z), across), d, seen.u + i);
    hn::Store(hn::IfThenElse(isAhead, hn::Set(d, -1.0), hn::IfThenElse(isBehind, x, hn::Mul(scale, x))), d, seen.x + i);
    hn::Store(hn::IfThenElse(isAhead, zero, hn::IfThenElse(isBehind, y, hn::Mul(scale, y))), d, seen.y + i);
  }
}

void addPart(const RayFrame& frame, const Boundary& boundary, std::size_t begin, std::size_t end, Sums& sums) {
  const D d;
  const hn::RebindToUnsigned<D> du;
  using U = hn::Vec<decltype(du)>;
  constexpr std::size_t kLanes = hn::MaxLanes(D()), kVectors = kTurnings / kLanes;
  Projected seen;
  projectPart(frame, boundary, begin, end - begin, seen);
  SphereVertex behind = {};  // the first place of the next part
  if (end < kTurnings * boundary.groupCount()) {
    const float place[3] = {boundary.rows[0][end], boundary.rows[1][end], boundary.rows[2][end]};
    behind = project(place, frame.origin);
  }
  seen.u[end - begin] = behind.u;
  seen.x[end - begin] = behind.x;
  seen.y[end - begin] = behind.y;

  V sumRe[kVectors], sumIm[kVectors];
  U sumTurns[kVectors];
  for (std::size_t v = 0; v < kVectors; ++v) {
    sumRe[v] = hn::Load(d, sums.re + v * kLanes);
    sumIm[v] = hn::Load(d, sums.im + v * kLanes);
    sumTurns[v] = hn::Load(du, sums.turns + v * kLanes);
  }
  const V zero = hn::Zero(d), one = hn::Set(d, 1.0);
  for (std::size_t group = begin; group < end; group += kTurnings) {
    const std::uint32_t edges = boundary.isEdge[group / kTurnings];
    for (std::size_t v = 0; v < kVectors; ++v) {
      // turnOf.
      const std::size_t i = group - begin + v * kLanes;
      const V au = hn::Load(d, seen.u + i), ax = hn::Load(d, seen.x + i), ay = hn::Load(d, seen.y + i);
      const V bu = hn::LoadU(d, seen.u + i + 1), bx = hn::LoadU(d, seen.x + i + 1), by = hn::LoadU(d, seen.y + i + 1);
      const V re = hn::Add(hn::Mul(au, bu), hn::Add(hn::Mul(ax, bx), hn::Mul(ay, by)));
      const V im = hn::Sub(hn::Mul(ax, by), hn::Mul(ay, bx));
      alignas(8) const std::uint8_t bits[8] = {std::uint8_t(edges >> (v * kLanes))};
      const auto isEdge = hn::LoadMaskBits(d, bits);
      V turnRe = hn::IfThenElse(isEdge, re, one), turnIm = hn::IfThenElseZero(isEdge, im);
      const auto isPassing = hn::Not(hn::Gt(turnRe, zero));
      if (HWY_UNLIKELY(!hn::AllFalse(d, isPassing))) {
        alignas(64) double partRe[kLanes], partIm[kLanes];
        alignas(64) std::uint64_t partTurns[kLanes];
        hn::Store(turnRe, d, partRe);
        hn::Store(turnIm, d, partIm);
        hn::Store(sumTurns[v], du, partTurns);
        for (std::size_t k = 0; k < kLanes; ++k) {
          if (partRe[k] > 0) continue;
          float from[3], to[3];
          for (int axis = 0; axis < 3; ++axis) {
            from[axis] = boundary.rows[axis][group + v * kLanes + k];
            to[axis] = boundary.rows[axis][group + v * kLanes + k + 1];
          }
          const EdgeTurn turn = turnOfPassing(frame, from, to, partRe[k], partIm[k]);
          partRe[k] = turn.re;
          partIm[k] = turn.im;
          partTurns[k] += std::uint64_t(turn.turns);
        }
        turnRe = hn::Load(d, partRe);
        turnIm = hn::Load(d, partIm);
        sumTurns[v] = hn::Load(du, partTurns);
      }

      // add. Signs are bits 63: a turn is full where the new one differs from two equal ones.
      const V newRe = hn::Sub(hn::Mul(sumRe[v], turnRe), hn::Mul(sumIm[v], turnIm));
      const V newIm = hn::Add(hn::Mul(sumRe[v], turnIm), hn::Mul(sumIm[v], turnRe));
      const U before = hn::BitCast(du, sumIm[v]), own = hn::BitCast(du, turnIm), after = hn::BitCast(du, newIm);
      const U most = hn::Or(hn::And(before, own), hn::And(after, hn::Or(before, own)));
      sumTurns[v] = hn::Sub(hn::Add(sumTurns[v], hn::ShiftRight<63>(after)), hn::ShiftRight<63>(most));
      const U size = hn::BitCast(du, hn::Max(hn::Abs(newRe), hn::Abs(newIm)));
      const V scale =
          hn::BitCast(d, hn::Sub(hn::Set(du, 0x7FE0000000000000u), hn::And(size, hn::Set(du, 0x7FF0000000000000u))));
      sumRe[v] = hn::Mul(newRe, scale);
      sumIm[v] = hn::Mul(newIm, scale);
    }
  }
  for (std::size_t v = 0; v < kVectors; ++v) {
    hn::Store(sumRe[v], d, sums.re + v * kLanes);
    hn::Store(sumIm[v], d, sums.im + v * kLanes);
    hn::Store(sumTurns[v], du, sums.turns + v * kLanes);
  }
}

#endif

void turnBoundary(const Boundary& boundary, const float (*points)[3], std::size_t count, Turning* out) {
  const std::size_t nbPlaces = kTurnings * boundary.groupCount();
  for (std::size_t first = 0; first < count; first += kPointsAtOnce) {
    const std::size_t nbPoints = std::min(count - first, kPointsAtOnce);
    RayFrame frames[kPointsAtOnce];
    Sums sums[kPointsAtOnce];
    std::size_t valid[kPointsAtOnce], nbValid = 0;
    for (std::size_t i = 0; i < nbPoints; ++i) {
      out[first + i] = Turning();
      if (!makeWindingFrame(points[first + i], frames[nbValid])) continue;
      Sums& own = sums[nbValid];
      std::fill(own.re, own.re + kTurnings, 1.0);
      std::fill(own.im, own.im + kTurnings, 0.0);
      std::fill(own.turns, own.turns + kTurnings, 0u);
      valid[nbValid++] = first + i;
    }
    for (std::size_t begin = 0; begin < nbPlaces; begin += kPart)
      for (std::size_t i = 0; i < nbValid; ++i)
        addPart(frames[i], boundary, begin, std::min(begin + kPart, nbPlaces), sums[i]);
    for (std::size_t i = 0; i < nbValid; ++i) {
      Turning all[kTurnings];
      for (int k = 0; k < kTurnings; ++k) all[k] = {sums[i].re[k], sums[i].im[k], std::int64_t(sums[i].turns[k])};
      out[valid[i]] = joinTurnings(all);
    }
  }
}

}  // namespace

extern const WindingWalks kWindingWalks;
constexpr WindingWalks kWindingWalks = {crossingsAbove, crossingsAboveMany, turnBoundary};

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
