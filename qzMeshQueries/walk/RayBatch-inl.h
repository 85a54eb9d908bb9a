// Many rays through the tree: coherent ones in packets, the others in turns. Compiled for each instruction set.

#if defined(QZ_MESHQUERIES_RAY_BATCH) == defined(HWY_TARGET_TOGGLE)
#ifdef QZ_MESHQUERIES_RAY_BATCH
#undef QZ_MESHQUERIES_RAY_BATCH
#else
#define QZ_MESHQUERIES_RAY_BATCH
#endif

#include <qzMeshQueries/walk/Packets-inl.h>
#include <qzMeshQueries/walk/RayWalk-inl.h>
#include <qzMeshQueries/walk/Turns-inl.h>

HWY_BEFORE_NAMESPACE();
namespace qzMeshQueries::detail::HWY_NAMESPACE {

/// Divides a batch into tiles of four rays in each of four rows. If the rays come without rows, a tile is sixteen
/// consecutive rays.
class Tiles {
 public:
  static constexpr std::size_t kSide = 4;

  /// A batch is taken in blocks: kSide rows, or 1024 rays.
  Tiles(std::size_t count, std::size_t rowLength)
      : mHasRows(rowLength >= kSide && count >= kSide * rowLength),
        mRow(mHasRows ? rowLength : kSide),
        mBlock(mHasRows ? kSide * rowLength : 1024) {}

  std::size_t block() const { return mBlock; }

  /// Tiles in a block of so many rays.
  std::size_t count(std::size_t nbRays) const {
    return mHasRows ? (nbRays == mBlock ? mRow / kSide : 0) : nbRays / (kSide * kSide);
  }
  /// Where the row of a tile begins in its block.
  std::size_t place(std::size_t tile, std::size_t row) const {
    return (mHasRows ? tile * kSide : tile * kSide * kSide) + row * mRow;
  }
  /// Calls visit(begin, end) for the ranges of a block that are in no tile.
  template <class Visit>
  void forOthers(std::size_t nbRays, const Visit& visit) const {
    const std::size_t nbTiles = count(nbRays);
    if (mHasRows && nbTiles > 0) {
      for (std::size_t row = 0; row < kSide; ++row) visit(row * mRow + nbTiles * kSide, (row + 1) * mRow);
    } else {
      visit(nbTiles * kSide * kSide, nbRays);
    }
  }

 private:
  bool mHasRows;
  std::size_t mRow, mBlock;
};

template <class Query, class Answer>
void castRays(const WideTree& tree, const Ray* rays, std::size_t count, std::size_t rowLength,
              const WalkOptions& options, Answer* answers) {
  constexpr std::size_t kFewest = 4;  // fewer rays go one after the other
  if (tree.nodes.size() == 0 || count < kFewest) {
    for (std::size_t i = 0; i < count; ++i) {
      Query query;
      walkRay(tree, rays[i], options, query);
      answers[i] = answerOf(query);
    }
    return;
  }

  constexpr int kPackets = 4;              // in flight
  constexpr std::uint32_t kTrial = 4096;   // tests after which packets are judged
  constexpr std::uint32_t kLeastUse = 15;  // percent of rays that must meet what their packet meets
  const std::unique_ptr<Packet<Query>[]> packets(new Packet<Query>[kPackets]);
  const std::unique_ptr<FlyingRay<Query>[]> flying(new FlyingRay<Query>[kInFlight]);
  const float extent = std::max({tree.max[0] - tree.min[0], tree.max[1] - tree.min[1], tree.max[2] - tree.min[2]});
  const Tiles tiles(count, rowLength);
  std::vector<std::uint32_t> others(std::min(tiles.block(), count));  // rays that go in turns
  int tilesToPass = 0;                                                // to turns, as packets did not pay
  PacketUse use;
  for (std::size_t begin = 0; begin < count; begin += tiles.block()) {
    const std::size_t nbRays = std::min(count - begin, tiles.block()), nbTiles = tiles.count(nbRays);
    std::size_t nbOthers = 0, nextTile = 0;
    const auto leave = [&](std::size_t first, std::size_t last) {
      for (; first < last; ++first) others[nbOthers++] = std::uint32_t(first);
    };
    const auto start = [&](Packet<Query>& packet) HWY_ATTR {
      for (; nextTile < nbTiles; ++nextTile) {
        for (int i = 0; i < kPacketRays; ++i)
          packet.rays[i] = rays + begin + tiles.place(nextTile, std::size_t(i) / Tiles::kSide) + i % Tiles::kSide;
        if (tilesToPass > 0) {
          --tilesToPass;
        } else if (areClose(packet.rays, extent) && setUpPacket(tree, packet)) {
          ++nextTile;
          return true;
        }
        for (std::size_t row = 0; row < Tiles::kSide; ++row)
          leave(tiles.place(nextTile, row), tiles.place(nextTile, row) + Tiles::kSide);
      }
      return false;
    };
    Packet<Query>* running[kPackets] = {};
    int nbRunning = 0;
    for (int i = 0; i < kPackets; ++i)
      if (start(packets[i])) running[nbRunning++] = &packets[i];
    while (nbRunning > 0)
      for (int i = 0; i < nbRunning; ++i) {
        Packet<Query>& packet = *running[i];
        if (visitNext(tree, options, packet, use)) continue;
        for (int r = 0; r < kPacketRays; ++r) answers[packet.rays[r] - rays] = answerOf(packet.queries[r]);
        if (use.tested > kTrial) {
          if (use.met * 100 < use.tested * kLeastUse) tilesToPass = 256;
          use = PacketUse();
        }
        if (!start(packet)) running[i--] = running[--nbRunning];
      }
    tiles.forOthers(nbRays, leave);
    takeTurns(tree, rays + begin, others.data(), nbOthers, options, flying.get(), answers + begin);
  }
}

}  // namespace qzMeshQueries::detail::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
