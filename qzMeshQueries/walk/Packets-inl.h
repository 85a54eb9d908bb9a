// Coherent rays through the tree together. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_PACKETS) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_PACKETS
#undef QZ_MESHQUERIES_PACKETS
#else
#define QZ_MESHQUERIES_PACKETS
#endif

#include <qzMeshQueries/walk/ChildOrder-inl.h>
#include <qzMeshQueries/walk/RayWalk-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {

inline constexpr int kPacketRays = 16;

/// What all rays of a packet have in common as boxes see them: the rays enter a box at the lesser of two depths or
/// later, and leave it at the greater of two or before.
///
/// Take an axis on which the inverses of all rays are positive, from i0 to i1. A ray of origin o, inverse i and margin
/// m passes a plane p at (p - o) * i - m, with exact arithmetic. That is linear in i, and falls with o; hence it is not
/// less than the lesser of (p - h) * i0 - M and (p - h) * i1 - M, where h is the largest origin and M no less than any
/// margin. With (p - l), the least origin, and + M it is not greater than the greater of both. Negative inverses
/// exchange l and h. M is twice the margin of a ray with the largest reach, |origin| and |inverse| among the rays: half
/// of it covers the margins, and the other half, at least (2^-20 * reach + 2^-22 * |o|) * |i|, covers the rounding
/// here, which is less than 2^-24 * (reach + 3 * |o|) * |i| + 2^-22 * M.
struct PacketSlabs {
  float inverse[2][3], nearShift[2][3], farShift[2][3];  ///< of i0 and of i1
  int nearRow[3];
  float from, to;  ///< the least and the greatest of the rays
};

template <class D>
HWY_INLINE hn::Vec<D> passNear(D d, const PacketSlabs& slabs, const WideNode& node, int first, int axis) {
  const auto plane = hn::Load(d, node.bounds[slabs.nearRow[axis]] + first);
  return hn::Min(hn::MulAdd(plane, hn::Set(d, slabs.inverse[0][axis]), hn::Set(d, slabs.nearShift[0][axis])),
                 hn::MulAdd(plane, hn::Set(d, slabs.inverse[1][axis]), hn::Set(d, slabs.nearShift[1][axis])));
}
template <class D>
HWY_INLINE hn::Vec<D> passFar(D d, const PacketSlabs& slabs, const WideNode& node, int first, int axis) {
  const auto plane = hn::Load(d, node.bounds[slabs.nearRow[axis] ^ 1] + first);
  return hn::Max(hn::MulAdd(plane, hn::Set(d, slabs.inverse[0][axis]), hn::Set(d, slabs.farShift[0][axis])),
                 hn::MulAdd(plane, hn::Set(d, slabs.inverse[1][axis]), hn::Set(d, slabs.farShift[1][axis])));
}

/// Sixteen rays, one in each lane of every row.
template <class Query>
struct alignas(64) Packet {
  float inverse[3][kPacketRays], nearShift[3][kPacketRays], farShift[3][kPacketRays];
  float from[kPacketRays], to[kPacketRays];
  float origin[3][kPacketRays], shear[2][kPacketRays];  ///< by the axes of the image
  RayFrame frames[kPacketRays];
  RaySlabs slabs[kPacketRays];  ///< from and to only
  Query queries[kPacketRays];
  PacketSlabs common;
  const Ray* rays[kPacketRays];
  std::uint32_t alive;    ///< bit r: the query of ray r goes on
  std::uint32_t current;  ///< the child to visit at the next turn
  std::uint32_t active;   ///< bit r: ray r meets it
  int size;               ///< of the stack
  ChildStack stack;
  std::uint32_t columns[kStackSize + kNodeWidth];  ///< of the stack's children: kNodeWidth * node + lane
};

/// The vertices of a block as the rays of a packet see them.
struct alignas(64) SeenByPacket {
  float x[kMaxBlockVertices][kPacketRays], y[kMaxBlockVertices][kPacketRays], depth[kMaxBlockVertices][kPacketRays];

  SeenVertex vertex(int i, int ray) const { return {x[i][ray], y[i][ray], depth[i][ray]}; }
};

/// Whether rays are worth a packet, by a few of them: their directions spread less than 0.1 of their length, and their
/// origins less than 0.1 of the extent of the mesh.
inline bool areClose(const Ray* const* rays, float extent) {
  const Ray& ray = *rays[0];
  const float length =
      std::max({std::fabs(ray.direction[0]), std::fabs(ray.direction[1]), std::fabs(ray.direction[2])});
  for (int other : {kPacketRays - 1, 3, 12})
    for (int i = 0; i < 3; ++i)
      if (!(std::fabs(rays[other]->direction[i] - ray.direction[i]) < 0.1f * length &&
            std::fabs(rays[other]->origin[i] - ray.origin[i]) < 0.1f * extent))
        return false;
  return true;
}

/// The least and the greatest of a row.
HWY_INLINE void rangeOf(const float (&row)[kPacketRays], float& least, float& greatest) {
  const hn::CappedTag<float, kPacketRays> d;
  auto low = hn::Load(d, row), high = low;
  for (int first = int(hn::Lanes(d)); first < kPacketRays; first += int(hn::Lanes(d))) {
    low = hn::Min(low, hn::Load(d, row + first));
    high = hn::Max(high, hn::Load(d, row + first));
  }
  least = hn::GetLane(hn::MinOfLanes(d, low));
  greatest = hn::GetLane(hn::MaxOfLanes(d, high));
}

/// Sets up a packet for its rays, as setUpRay does for one. Returns false if one of them hits nothing, or if they
/// differ in the axis of the image or in the signs of their directions.
template <class Query>
HWY_INLINE bool setUpPacket(const WideTree& tree, Packet<Query>& packet) {
  const hn::CappedTag<float, kPacketRays> d;
  const int kLanes = int(hn::Lanes(d));
  constexpr std::uint32_t kAll = (1u << kPacketRays) - 1;
  alignas(64) float origin[3][kPacketRays], direction[3][kPacketRays], tMin[kPacketRays], tMax[kPacketRays];
  for (int r = 0; r < kPacketRays; ++r) {
    const Ray& ray = *packet.rays[r];
    for (int i = 0; i < 3; ++i) {
      origin[i][r] = ray.origin[i];
      direction[i][r] = ray.direction[i];
    }
    tMin[r] = ray.tMin;
    tMax[r] = ray.tMax;
  }
  int axis[3] = {0, 1, 2};
  if (std::fabs(direction[1][0]) > std::fabs(direction[0][0]))
    axis[2] = 1, axis[0] = 2, axis[1] = 0;
  else
    axis[2] = 0, axis[0] = 1, axis[1] = 2;
  if (std::fabs(direction[2][0]) > std::fabs(direction[axis[2]][0])) axis[2] = 2, axis[0] = 0, axis[1] = 1;
  const int k = axis[2];

  std::uint32_t valid = 0, isNegative[3] = {};
  for (int first = 0; first < kPacketRays; first += kLanes) {
    const auto load = [&](const float* row) HWY_ATTR { return hn::Load(d, row + first); };
    const auto sizeX = hn::Abs(load(direction[0])), sizeY = hn::Abs(load(direction[1])),
               sizeZ = hn::Abs(load(direction[2]));
    const auto length = hn::Abs(load(direction[k]));
    const auto infinity = hn::Set(d, std::numeric_limits<float>::infinity());
    // The axis is the first of the largest size; a NaN makes a comparison false.
    auto isValid = hn::And(hn::And(hn::Gt(length, hn::Zero(d)), hn::Lt(length, infinity)),
                           hn::And(hn::And(hn::Le(sizeX, length), hn::Le(sizeY, length)), hn::Le(sizeZ, length)));
    if (k > 0) isValid = hn::And(isValid, hn::Lt(sizeX, length));
    if (k > 1) isValid = hn::And(isValid, hn::Lt(sizeY, length));
    isValid = hn::And(isValid, hn::Le(load(tMin), load(tMax)));
    auto reach = hn::Zero(d);
    for (int i = 0; i < 3; ++i) {
      const auto from = load(origin[i]);
      isValid = hn::And(isValid, hn::Le(hn::Abs(from), hn::Set(d, kLargestCoordinate)));
      reach = hn::Max(reach, hn::Max(hn::Abs(hn::Sub(hn::Set(d, tree.min[i]), from)),
                                     hn::Abs(hn::Sub(hn::Set(d, tree.max[i]), from))));
    }
    valid |= bitsOf(d, isValid) << first;
    for (int i = 0; i < 3; ++i) {
      const auto to = load(direction[i]), from = load(origin[i]);
      const auto inverseSize = hn::Min(hn::Abs(hn::Div(length, to)), hn::Set(d, kLargestInverse));
      const auto inverse = hn::CopySignToAbs(inverseSize, to);
      const auto margin = hn::Mul(
          hn::Add(hn::Add(hn::Mul(reach, hn::Set(d, kReachMargin)), hn::Mul(hn::Abs(from), hn::Set(d, kOriginMargin))),
                  hn::Set(d, kLeastMargin)),
          inverseSize);
      const auto middle = hn::Neg(hn::Mul(from, inverse));
      hn::Store(inverse, d, packet.inverse[i] + first);
      hn::Store(hn::Sub(middle, margin), d, packet.nearShift[i] + first);
      hn::Store(hn::Add(middle, margin), d, packet.farShift[i] + first);
      hn::Store(load(origin[axis[i]]), d, packet.origin[i] + first);
      isNegative[i] |= bitsOf(d, hn::Lt(inverse, hn::Zero(d))) << first;
    }
    for (int i = 0; i < 2; ++i)
      hn::Store(hn::Div(load(direction[axis[i]]), load(direction[k])), d, packet.shear[i] + first);
  }
  if (valid != kAll) return false;
  for (const std::uint32_t signs : isNegative)
    if (signs != 0 && signs != kAll) return false;

  for (int r = 0; r < kPacketRays; ++r) {
    RayFrame& frame = packet.frames[r];
    for (int i = 0; i < 3; ++i) {
      frame.axis[i] = axis[i];
      frame.origin[i] = origin[i][r];
    }
    frame.shear[0] = packet.shear[0][r];
    frame.shear[1] = packet.shear[1][r];
    frame.tMin = tMin[r];
    frame.tMax = tMax[r];
    frame.lengthAlong = double(direction[k][r]);
    setLimits(frame, packet.slabs[r]);
    packet.from[r] = packet.slabs[r].from;
    packet.to[r] = packet.slabs[r].to;
    packet.queries[r] = Query();
  }
  packet.alive = packet.active = kAll;
  packet.current = 0;
  packet.size = 0;

  // The common slabs.
  PacketSlabs& common = packet.common;
  float ignored, least[3], greatest[3], reach = 0;
  rangeOf(packet.from, common.from, ignored);
  rangeOf(packet.to, ignored, common.to);
  for (int i = 0; i < 3; ++i) {
    rangeOf(origin[i], least[i], greatest[i]);
    reach = std::max({reach, std::fabs(tree.min[i] - least[i]), std::fabs(tree.min[i] - greatest[i]),
                      std::fabs(tree.max[i] - least[i]), std::fabs(tree.max[i] - greatest[i])});
  }
  for (int i = 0; i < 3; ++i) {
    rangeOf(packet.inverse[i], common.inverse[0][i], common.inverse[1][i]);
    common.nearRow[i] = 2 * i + (isNegative[i] != 0 ? 1 : 0);
    const float inverseSize = std::max(std::fabs(common.inverse[0][i]), std::fabs(common.inverse[1][i]));
    const float originSize = std::max(std::fabs(least[i]), std::fabs(greatest[i]));
    const float margin = 2 * ((reach * kReachMargin + originSize * kOriginMargin + kLeastMargin) * inverseSize);
    const float low = isNegative[i] != 0 ? greatest[i] : least[i], high = isNegative[i] != 0 ? least[i] : greatest[i];
    for (int end = 0; end < 2; ++end) {
      common.nearShift[end][i] = -(high * common.inverse[end][i]) - margin;
      common.farShift[end][i] = -(low * common.inverse[end][i]) + margin;
    }
  }
  return true;
}

/// Bit r: ray r meets the box of a child.
template <class Query>
HWY_INLINE std::uint32_t meetBox(const Packet<Query>& packet, const WideNode& node, int lane) {
  const hn::CappedTag<float, kPacketRays> d;
  std::uint32_t result = 0;
  const int* const nearRow = packet.common.nearRow;
  for (int first = 0; first < kPacketRays; first += int(hn::Lanes(d))) {
    auto enter = hn::Load(d, packet.from + first), leave = hn::Load(d, packet.to + first);
    for (int i = 0; i < 3; ++i) {
      const auto inverse = hn::Load(d, packet.inverse[i] + first);
      enter = hn::Max(enter, hn::MulAdd(hn::Set(d, node.bounds[nearRow[i]][lane]), inverse,
                                        hn::Load(d, packet.nearShift[i] + first)));
      leave = hn::Min(leave, hn::MulAdd(hn::Set(d, node.bounds[nearRow[i] ^ 1][lane]), inverse,
                                        hn::Load(d, packet.farShift[i] + first)));
    }
    result |= bitsOf(d, hn::Le(enter, leave)) << first;
  }
  return result & packet.alive;
}

/// Shows a hit to the query of ray r.
template <class Query>
HWY_INLINE bool takeHit(Packet<Query>& packet, int r, const Hit& hit, bool isFront) {
  const bool isOver = packet.queries[r].take(hit, isFront, packet.frames[r], packet.slabs[r]);
  packet.to[r] = packet.slabs[r].to;
  if (isOver) {
    packet.alive &= ~(1u << r);
    packet.to[r] = -std::numeric_limits<float>::infinity();
  }
  return isOver;
}

/// Visits a block for the active rays. Every operation is one of the kernel's, or of seeBlock's.
template <class Query>
HWY_INLINE void visitBlock(Packet<Query>& packet, const Block& block, std::uint32_t active,
                           const WalkOptions& options) {
  constexpr std::uint32_t kFew = 3;  // so few rays are faster one after the other
  if (hwy::PopCount(active) <= kFew) {
    for (; active != 0; active &= active - 1) {
      const int r = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(active));
      SeenBlock seen;
      seeBlock(packet.frames[r], block, seen);
      const auto take = [&](const Hit& hit, bool isFront) HWY_ATTR { return takeHit(packet, r, hit, isFront); };
      hitCandidates(packet.frames[r], block, seen, options, take);
    }
    return;
  }

  const hn::CappedTag<float, kPacketRays> d;
  using V = hn::Vec<decltype(d)>;
  const int kLanes = int(hn::Lanes(d));
  const int* const axis = packet.frames[0].axis;
  const float *const rowX = block.row(axis[0]), *const rowY = block.row(axis[1]), *const rowZ = block.row(axis[2]);
  const int nbVertices = block.vertexCount(), nbTriangles = block.triangleCount();
  SeenByPacket seen;
  for (int first = 0; first < kPacketRays; first += kLanes) {
    const auto originX = hn::Load(d, packet.origin[0] + first), originY = hn::Load(d, packet.origin[1] + first),
               originZ = hn::Load(d, packet.origin[2] + first);
    const auto shearX = hn::Load(d, packet.shear[0] + first), shearY = hn::Load(d, packet.shear[1] + first);
    for (int v = 0; v < nbVertices; ++v) {
      const auto z = hn::Sub(hn::Set(d, rowZ[v]), originZ);
      hn::Store(hn::Sub(hn::Sub(hn::Set(d, rowX[v]), originX), hn::Mul(shearX, z)), d, seen.x[v] + first);
      hn::Store(hn::Sub(hn::Sub(hn::Set(d, rowY[v]), originY), hn::Mul(shearY, z)), d, seen.y[v] + first);
      hn::Store(z, d, seen.depth[v] + first);
    }
  }
  for (int i = 0; i < nbTriangles; ++i) {
    const int p = block.corners(0)[i], q = block.corners(1)[i], t = block.corners(2)[i];
    std::uint32_t candidates = 0, crossed = 0;
    for (int first = 0; first < kPacketRays; first += kLanes) {
      const auto corners = [&](const float(&rows)[kMaxBlockVertices][kPacketRays], V(&row)[3]) HWY_ATTR {
        row[0] = hn::Load(d, rows[p] + first);
        row[1] = hn::Load(d, rows[q] + first);
        row[2] = hn::Load(d, rows[t] + first);
      };
      V x[3], y[3];
      corners(seen.x, x);
      corners(seen.y, y);
      std::uint32_t crossedHere = 0;
      candidates |= candidatesOf(d, x, y, crossedHere) << first;
      crossed |= crossedHere << first;
    }
    for (candidates &= active & packet.alive; candidates != 0; candidates &= candidates - 1) {
      const int r = int(hwy::Num0BitsBelowLS1Bit_Nonzero32(candidates));
      const SeenVertex a = seen.vertex(p, r), b = seen.vertex(q, r), c = seen.vertex(t, r);
      if ((crossed >> r & 1) == 0 && !holdsOrigin(a, b, c)) continue;
      const Crossing crossing = locate(packet.frames[r], a, b, c);
      if (!counts(packet.frames[r], options.faces, crossing)) continue;
      const std::uint32_t number = block.numbers()[i];
      if (number == options.skip) continue;
      takeHit(packet, r, Hit{crossing.t, crossing.u, crossing.v, number}, crossing.isFront);
    }
  }
}

/// How well packets were used: rays that met a child, of all that were tested.
struct PacketUse {
  std::uint32_t met = 0, tested = 0;
};

/// Visits the packet's next node or block. Returns false when all its queries are answered.
template <class Query>
HWY_INLINE bool visitNext(const WideTree& tree, const WalkOptions& options, Packet<Query>& packet, PacketUse& use) {
  const WideNode* const nodes = tree.nodes.data();
  int size = packet.size;
  if ((packet.current & kIsBlock) == 0) {
    const int count = storeChildren<Query::kOrder>(packet.common, nodes[packet.current], packet.stack.near + size,
                                                   packet.stack.child + size, packet.columns + size);
    for (int i = size; i < size + count; ++i) packet.columns[i] += kNodeWidth * packet.current;
    size += count;
  } else {
    visitBlock(packet, tree.block(packet.current), packet.active, options);
    const hn::CappedTag<float, kPacketRays> d;
    auto to = hn::Load(d, packet.to);
    for (int first = int(hn::Lanes(d)); first < kPacketRays; first += int(hn::Lanes(d)))
      to = hn::Max(to, hn::Load(d, packet.to + first));
    packet.common.to = hn::GetLane(hn::MaxOfLanes(d, to));
  }
  do {
    do {
      if (size == 0 || packet.alive == 0) return false;
      --size;
    } while (packet.stack.near[size] > packet.common.to);
    const std::uint32_t column = packet.columns[size];
    packet.active = meetBox(packet, nodes[column / kNodeWidth], int(column % kNodeWidth));
    use.met += std::uint32_t(hwy::PopCount(packet.active));
    use.tested += kPacketRays;
  } while (packet.active == 0);
  packet.current = packet.stack.child[size];
  packet.size = size;
  prefetchWhole(nodes, tree.blocks.data(), packet.current);
  return true;
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
