#include <benchmarks/scenes/qzCity.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include <benchmarks/core/qzRandom.h>
#include <benchmarks/core/qzVectors.h>

namespace qzBench {

namespace {

constexpr float kBlock = 60.0f, kStreet = 15.0f;  // edge of a block, and the width of the streets around it
constexpr float kStorey = 3.5f;
constexpr double kTrianglesPerBlock = 2300.0;  // on average

struct tBox {
  tVector mMin, mMax;
};

/// A building's parts, from the ground up.
class tCity {
 public:
  tCity(int blocksPerSide, unsigned seed) : mRandom(seed), mBlocksPerSide(blocksPerSide) {
    const float size = float(blocksPerSide) * (kBlock + kStreet) + kStreet;
    for (int row = 0; row <= blocksPerSide; ++row) {
      const float x = float(row) * (kBlock + kStreet);
      addBox({{x, -1.0f, 0.0f}, {x + kStreet, 0.0f, size}});  // a street through the city
      if (row == blocksPerSide) break;
      for (int column = 0; column <= blocksPerSide; ++column) {
        const float z = float(column) * (kBlock + kStreet);
        addBox({{x + kStreet, -1.0f, z}, {x + kStreet + kBlock, 0.0f, z + kStreet}});  // one that crosses it
        if (column < blocksPerSide) addBlock(row, column);
      }
    }
  }

  qz::qzTriMesh getMesh() {
    return qz::qzTriMesh(qz::qzVertexBuffer(std::move(mPositions)), qz::qzIndexBuffer(std::move(mIndices)));
  }

 private:
  float between(float low, float high) { return low + (high - low) * mRandom.unit(); }

  void addBox(const tBox& box) {
    const int first = static_cast<int>(mPositions.size());
    for (int corner = 0; corner < 8; ++corner)
      mPositions.push_back(tVector((corner & 1) != 0 ? box.mMax[0] : box.mMin[0],
                                   (corner & 2) != 0 ? box.mMax[1] : box.mMin[1],
                                   (corner & 4) != 0 ? box.mMax[2] : box.mMin[2]));
    // Faces at -x, +x, -y, +y, -z, +z, counter-clockwise from outside.
    constexpr int kFaces[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
    for (const auto& [a, b, c, d] : kFaces)
      mIndices.insert(mIndices.end(), {first + a, first + b, first + c, first + a, first + c, first + d});
  }

  void addBlock(int row, int column) {
    const float x = kStreet + float(row) * (kBlock + kStreet), z = kStreet + float(column) * (kBlock + kStreet);
    addBox({{x, -1.0f, z}, {x + kBlock, 0.15f, z + kBlock}});  // the pavement
    const float half = 0.5f * float(mBlocksPerSide);
    const float off = std::max(std::fabs(float(row) + 0.5f - half), std::fabs(float(column) + 0.5f - half)) / half;
    const float splitX = between(0.4f, 0.6f) * kBlock, splitZ = between(0.4f, 0.6f) * kBlock;
    for (int lot = 0; lot < 4; ++lot) {
      const bool isRight = (lot & 1) != 0, isBack = (lot & 2) != 0;
      const tVector min(x + (isRight ? splitX : 0.0f), 0.15f, z + (isBack ? splitZ : 0.0f));
      const tVector max(x + (isRight ? kBlock : splitX), 0.15f, z + (isBack ? kBlock : splitZ));
      addBuilding(min, max, 1.0f - off);
    }
  }

  /// On the lot between the corners min and max; centrality is 1 in the centre of the city and 0 at its border.
  void addBuilding(const tVector& min, const tVector& max, float centrality) {
    const float inset = between(0.5f, 4.0f), u = mRandom.unit();
    tBox tower{{min[0] + inset, min[1], min[2] + inset}, {max[0] - inset, 0.0f, max[2] - inset}};
    int storeys = 2 + static_cast<int>(6.0f * mRandom.unit() + 40.0f * centrality * u * u * u);
    const unsigned style = mRandom.below(3);
    // Each setback has half of the storeys that are left.
    while (storeys > 0) {
      const int own = storeys > 12 && style != 0 ? storeys / 2 : storeys;
      tower.mMax[1] = tower.mMin[1] + float(own) * kStorey;
      addBox(tower);
      if (style == 0)
        addLedges(tower, own);
      else
        addWindows(tower, own, style == 1 ? 3.0f : 4.5f);
      storeys -= own;
      tower.mMin[1] = tower.mMax[1];
      if (storeys == 0) break;
      for (int axis : {0, 2}) {
        const float step = 0.15f * (tower.mMax[axis] - tower.mMin[axis]);
        tower.mMin[axis] += step * mRandom.unit();
        tower.mMax[axis] -= step * mRandom.unit();
      }
    }
    addRoof(tower);
  }

  /// A ledge around every storey.
  void addLedges(const tBox& tower, int storeys) {
    for (int storey = 1; storey <= storeys; ++storey) {
      const float y = tower.mMin[1] + float(storey) * kStorey;
      addBox({{tower.mMin[0] - 0.3f, y - 0.4f, tower.mMin[2] - 0.3f},
              {tower.mMax[0] + 0.3f, y - 0.1f, tower.mMax[2] + 0.3f}});
    }
  }

  /// Frames that stand out from two walls, one towards each street.
  void addWindows(const tBox& tower, int storeys, float spacing) {
    const int wall = static_cast<int>(mRandom.below(4));
    for (int axis : {0, 2}) {
      const int across = 2 - axis;
      const float length = tower.mMax[axis] - tower.mMin[axis];
      const int count = static_cast<int>(length / spacing);
      const float face = (axis == 0 ? (wall & 1) : (wall >> 1)) != 0 ? tower.mMax[across] : tower.mMin[across];
      for (int storey = 0; storey < storeys; storey += 2)
        for (int i = 0; i < count; ++i) {
          const float along = tower.mMin[axis] + (float(i) + 0.5f) * (length / float(count));
          tBox frame;
          frame.mMin[axis] = along - 0.3f * spacing;
          frame.mMax[axis] = along + 0.3f * spacing;
          frame.mMin[1] = tower.mMin[1] + float(storey) * kStorey + 0.9f;
          frame.mMax[1] = frame.mMin[1] + 1.6f;
          frame.mMin[across] = face - 0.12f;
          frame.mMax[across] = face + 0.12f;
          addBox(frame);
        }
    }
  }

  /// Parapets, and machines between them.
  void addRoof(const tBox& tower) {
    const float y = tower.mMax[1];
    for (int axis : {0, 2})
      for (const bool isFar : {false, true}) {
        tBox wall{{tower.mMin[0], y, tower.mMin[2]}, {tower.mMax[0], y + 1.0f, tower.mMax[2]}};
        (isFar ? wall.mMin : wall.mMax)[axis] = isFar ? tower.mMax[axis] - 0.3f : tower.mMin[axis] + 0.3f;
        addBox(wall);
      }
    for (unsigned machines = 1 + mRandom.below(4); machines > 0; --machines) {
      tBox machine;
      for (int axis : {0, 2}) {
        const float length = tower.mMax[axis] - tower.mMin[axis], from = between(0.1f, 0.6f);
        machine.mMin[axis] = tower.mMin[axis] + from * length;
        machine.mMax[axis] = machine.mMin[axis] + between(0.1f, 0.3f) * length;
      }
      machine.mMin[1] = y;
      machine.mMax[1] = y + between(1.0f, 4.0f);
      addBox(machine);
    }
  }

  qzRandom mRandom;
  int mBlocksPerSide;
  std::vector<tVector> mPositions;
  std::vector<int> mIndices;
};

}  // namespace

qz::qzTriMesh city(int nbTriangles, unsigned seed) {
  const double side = std::sqrt(double(nbTriangles) / kTrianglesPerBlock);
  return tCity(std::max(1, static_cast<int>(std::lround(side))), seed).getMesh();
}

}  // namespace qzBench
