// qzQBVH::buildFromMesh: from the triangles of a mesh to the four-wide arrays. The linear builder's binary hierarchy is
// never made: the sorted triangles and the splits between them determine it.

#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/base/qzScratch.h>
#include <qzCommonAddOns/qzDetail/build/qzBoxLanes.h>
#include <qzCommonAddOns/qzDetail/build/qzFourWidePlan.h>
#include <qzCommonAddOns/qzDetail/build/qzLinearBuild.h>
#include <qzCommonAddOns/qzDetail/build/qzMeshTriangles.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>

using namespace qzDetail;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr unsigned int kBitsPerAxis = 20;  // of the Morton grid

std::uint32_t nbTrianglesOf(const qz::qzTriMesh& mesh) {
  const int count = qzDetail::nbIndices(*qzDetail::indexBufferOf(mesh)) / 3;
  if (count < 0) throw std::length_error("qzQBVH::buildFromMesh: negative number of indices");
  return static_cast<std::uint32_t>(count);
}

// The box around all triangles and the centre of each triangle's box, as a Source of the linear build.
class tTriangleCenters {
 public:
  tTriangleCenters(const tMeshTriangles& triangles, std::uint32_t nbTriangles)
      : mNbTriangles(nbTriangles), mCenters(3 * std::size_t(nbTriangles) + 1) {
    for (std::uint32_t t = 0; t < nbTriangles; ++t) {
      tBoxLanes box;
      for (std::size_t k = 0; k < 3; ++k) box.expand(triangles.corner(t, k));
      mScene.unite(box);
      storeUnaligned(&mCenters[3 * std::size_t(t)], box.center());  // the next one writes over the fourth component
    }
  }

  const tBoxLanes& scene() const { return mScene; }
  std::uint32_t nbPrimitives() const { return mNbTriangles; }
  tFloat4 centerOf(std::uint32_t i) const { return loadUnaligned(&mCenters[3 * std::size_t(i)]); }

 private:
  std::uint32_t mNbTriangles;
  tBoxLanes mScene;
  tScratch<float> mCenters;
};

// The corners of the triangles in sorted order, as [ x y z 0 ]. They are read in blocks ahead of their use, so that
// many cache misses overlap.
class tSortedCorners {
 public:
  tSortedCorners(const tMeshTriangles& triangles, const unsigned int* sorted, std::uint32_t nbTriangles)
      : mTriangles(triangles), mSorted(sorted), mNbTriangles(nbTriangles) {}

  /// Reads the triangles before this position. The most recent ones stay available.
  void fetchUpTo(std::uint32_t end) {
    while (mNbFetched < end) fetchBlock();
  }
  const tFloat4* of(std::uint32_t position) const { return mCorners[position % kNbKept]; }

 private:
  static constexpr std::uint32_t kBlock = 64, kNbKept = 2 * kBlock;

  void fetchBlock() {
    const std::uint32_t end = mNbFetched + std::min(kBlock, mNbTriangles - mNbFetched);
    for (std::uint32_t k = mNbFetched; k < end; ++k) {
      if (mNbTriangles - k > kBlock) mTriangles.prefetch(mSorted[k + kBlock]);
      for (std::size_t c = 0; c < 3; ++c) {
        const Wm4::Vector3<float> p = mTriangles.corner(mSorted[k], c);
        mCorners[k % kNbKept][c] = float4(p[0], p[1], p[2], 0.0f);
      }
    }
    mNbFetched = end;
  }

  const tMeshTriangles& mTriangles;
  const unsigned int* mSorted;
  std::uint32_t mNbTriangles, mNbFetched = 0;
  tFloat4 mCorners[kNbKept][3];
};

// A growing box, as [ x y z . ]. The forms of minimum and maximum are those of tBoxLanes.
struct tBox {
  tFloat4 mMin = float4(kInfinity), mMax = float4(-kInfinity);

  void unite(tFloat4 otherMin, tFloat4 otherMax) {
    mMin = smallerOf(otherMin, mMin);
    mMax = largerOf(otherMax, mMax);
  }
  qzBBox toBBox() const {
    tBoxLanes lanes;
    lanes.mMin = mMin;
    lanes.mMax = shuffle<0, 0, 1, 2>(mMax);
    return lanes.toBBox();
  }
};

// [ x y z . ] to [ x y z word ].
tFloat4 withLast(tFloat4 a, unsigned int word) {
  const tFloat4 last = firstWord(word);                   // [ word  0     0     0    ]
  const tFloat4 zAndLast = shuffle<2, 2, 0, 0>(a, last);  // [ z     z     word  word ]
  return shuffle<0, 1, 0, 2>(a, zAndLast);                // [ x     y     z     word ]
}

// One lane of a node as two columns: [ min x y z, child index ] and [ max x y z, child quadruplets ].
struct tColumn {
  tFloat4 mMinAndIndex, mMaxAndQuadruplets;

  tColumn() = default;
  tColumn(const tBox& box, unsigned int index, unsigned int quadruplets)
      : mMinAndIndex(withLast(box.mMin, index)), mMaxAndQuadruplets(withLast(box.mMax, quadruplets)) {}
};

}  // namespace

// One pass over the leaves from left to right. A split is processed as soon as both its halves are done. Everything is
// written once, at its place.
struct qzQBVH::tMeshBuild {
  qzQBVH& mQBVH;
  const unsigned int* mSorted;  // the triangles in sorted order
  tSortedCorners mCorners;
  tFourWidePlan& mPlan;
  tMask4 mIsUpright = mask4(true);  // whether no leaf's box is inverted, by axis
  tMask4 mIsNumber = mIsUpright;    // whether no coordinate is NaN, by lane

  // A binary node whose sibling is not done yet: the lane for the node itself, and the two lanes that it takes in the
  // four-wide node above. An inner node of odd depth is replaced by its children there.
  struct tHalf {
    tBox mBox;
    tColumn mSelf, mLanes[2];
    unsigned int mLevel;  // of the split before it
    bool mIsSplitEven;    // whether the depth of that split is even
  };

  void run() {
    tHalf halves[qzDetail::kMaxLevels];  // levels ascend
    tHalf* top = halves;
    top->mLevel = 0;
    std::uint32_t first = 0;
    for (std::uint32_t leaf = 0;; ++leaf) {
      const std::uint32_t last = mPlan.mLasts[leaf];
      const unsigned int level = mPlan.mLevels[leaf];
      makeLeaf(*top, first, last, level);
      // The split after this leaf closes every open one of a larger level.
      while (top->mLevel > level) {
        --top;
        join(top[0], top[1], level);
      }
      if (level == 0) break;
      ++top;
      top->mLevel = level;
      top->mIsSplitEven = mPlan.mIsEven[leaf] != 0;
      first = last + 1;
    }
    // Inner boxes are unions of their children's, so all boxes are nested unless a leaf's is inverted.
    mQBVH.mIsNested = mQBVH.mNoNodes == 0 || (bitsOf(mIsUpright) & kXyz) == kXyz;
    // A leaf's box contains its triangles unless a coordinate is NaN.
    mQBVH.mIsSnug = (mQBVH.mFlags & eTrianglesVertices) != 0 && bitsOf(mIsNumber) == kAllLanes;
    if (!mQBVH.computeRootNodeBBox()) mQBVH.mRootBBox = halves[0].mBox.toBBox();
  }

  void makeLeaf(tHalf& half, std::uint32_t first, std::uint32_t last, unsigned int levelAfter) {
    const std::uint32_t count = last - first + 1, nbQuadruplets = tFourWidePlan::nbQuadruplets(count);
    std::uint32_t& next = mPlan.mPlacesBelow[std::max(half.mLevel, levelAfter)].mNextQuadruplet;
    half.mBox = tBox();
    for (std::uint32_t p = 0; p < nbQuadruplets; ++p) {
      fillQuadruplet(next + p, first + 4 * p, std::min(count - 4 * p, 4u), half.mBox);
    }
    mIsUpright &= half.mBox.mMin <= half.mBox.mMax;
    half.mSelf = tColumn(half.mBox, next, nbQuadruplets);
    takeOneLane(half);
    next += nbQuadruplets;
  }

  // Unites both halves of a split in left.
  void join(tHalf& left, const tHalf& right, unsigned int levelAfter) {
    left.mBox.unite(right.mBox.mMin, right.mBox.mMax);
    if (right.mIsSplitEven) {
      const std::uint32_t node = mPlan.mPlacesBelow[std::max(left.mLevel, levelAfter)].mNextNode++;
      fillNode(mQBVH.mNodes[node], left, right);
      left.mSelf = tColumn(left.mBox, node, kInnerChild);
      takeOneLane(left);
    } else {
      left.mLanes[0] = left.mSelf;
      left.mLanes[1] = right.mSelf;
    }
  }

  static void takeOneLane(tHalf& half) {
    half.mLanes[0] = half.mSelf;
    half.mLanes[1] = tColumn(tBox(), kNoChild, 0);
  }

  static void fillNode(tSOANode& node, const tHalf& left, const tHalf& right) {
    const tColumn &c0 = left.mLanes[0], &c1 = left.mLanes[1], &c2 = right.mLanes[0], &c3 = right.mLanes[1];
    tFloat4 x = c0.mMinAndIndex, y = c1.mMinAndIndex, z = c2.mMinAndIndex, word = c3.mMinAndIndex;
    transpose(x, y, z, word);
    storeRows(node.mMin, x, y, z);
    store(node.mChildIndex, word);
    x = c0.mMaxAndQuadruplets, y = c1.mMaxAndQuadruplets, z = c2.mMaxAndQuadruplets, word = c3.mMaxAndQuadruplets;
    transpose(x, y, z, word);
    storeRows(node.mMax, x, y, z);
    store(node.mChildQuadruplets, word);
  }

  static void storeRows(float (*rows)[4], tFloat4 x, tFloat4 y, tFloat4 z) {
    store(rows[0], x);
    store(rows[1], y);
    store(rows[2], z);
  }

  // Up to four triangles into the lanes, padding into the rest; the box grows around them.
  void fillQuadruplet(std::uint32_t quadruplet, std::uint32_t first, std::uint32_t count, tBox& box) {
    mCorners.fetchUpTo(first + count);
    tSOATriangleIndices& numbers = mQBVH.mTriangleIndices[quadruplet];
    tFloat4 corners[3][4];  // [corner][triangle], then [corner][axis]
    for (unsigned int lane = 0; lane < 4; ++lane) {
      const bool isTriangle = lane < count;
      numbers.mTriangle[lane] = isTriangle ? mSorted[first + lane] : kNoTriangle;
      for (int c = 0; c < 3; ++c) {
        corners[c][lane] = isTriangle ? mCorners.of(first + lane)[c] : float4(0.0f);
        if (isTriangle) box.unite(corners[c][lane], corners[c][lane]);
      }
    }
    tPoints points[3];
    for (int c = 0; c < 3; ++c) {
      transpose(corners[c][0], corners[c][1], corners[c][2], corners[c][3]);
      points[c] = {corners[c][0], corners[c][1], corners[c][2]};
    }
    if (mQBVH.mFlags & eTrianglesVertices) {
      float(*vertices)[3][4] = mQBVH.mTriangleVertices[quadruplet].mVertex;
      for (int c = 0; c < 3; ++c) {
        storeRows(vertices[c], points[c].x, points[c].y, points[c].z);
        mIsNumber &= areOrdered(points[c].x, points[c].y);
        mIsNumber &= areOrdered(points[c].z, points[c].z);
      }
    }
    if (mQBVH.mFlags & eTrianglesEquations) {
      qzDetail::fillEquations(mQBVH.mTriangleEquations[quadruplet], points, count);
    }
  }
};

void qzQBVH::buildFromMesh(tQBVHDataFlags flags, const qz::qzTriMesh& mesh, unsigned maxLeafSize) {
  const qzDetail::tFloatMode mode;
  const tMeshTriangles triangles(mesh);
  const std::uint32_t nbTriangles = nbTrianglesOf(mesh);
  tScratch<unsigned int> sorted(nbTriangles);
  qzDetail::logIndexAllocation(nbTriangles);
  std::unique_ptr<qzDetail::tSplits> splits;
  {
    const tTriangleCenters centers(triangles, nbTriangles);
    splits =
        qzDetail::sortAndSplit(centers, centers.scene().toBBox(), kBitsPerAxis, sorted.data(), qzDetail::tCancel());
  }

  // The binary hierarchy is not made, but the log records report its size.
  qzDetail::logNodeAllocation(splits->nbGroups());
  const qzDetail::tFusedTree tree(*splits, maxLeafSize == 0 ? 1 : maxLeafSize);
  qzDetail::logFusion(2 * splits->nbGroups(), tree.nbNodes());

  tFourWidePlan plan(*splits, tree.nbNodes() / 2);
  splits.reset();
  allocate(flags, plan.mNbNodes, plan.mNbQuadruplets);
  tMeshBuild{*this, sorted.data(), tSortedCorners(triangles, sorted.data(), nbTriangles), plan}.run();
}
