#include <qzCommonAddOns/qbvh/qzQBVH.h>

#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qzDetail/base/qzAlignedMemory.h>
#include <qzCommonAddOns/qzDetail/base/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/base/qzLanes.h>
#include <qzCommonAddOns/qzDetail/base/qzMinMax.h>
#include <qzCommonAddOns/qzDetail/base/qzScratch.h>
#include <qzCommonAddOns/qzDetail/build/qzBoxLanes.h>
#include <qzCommonAddOns/qzDetail/build/qzMeshTriangles.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

using namespace qzDetail;
using Point = Wm4::Vector3<float>;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::size_t kLeavesAhead = 16;

// A binary hierarchy to convert.
struct tBinaryTree {
  const qzGNode* mNodes;
  std::size_t mNbNodes;
  const unsigned int* mPrimitives;
};

// Where each node of the binary hierarchy goes. Nodes that the root does not reach have no place.
struct tPlaces {
  tScratch<unsigned int> mNodeStart;  // four-wide node of a binary inner node at even depth; the next entry ends it
  tScratch<unsigned int> mQuadStart;  // first quadruplet of a binary leaf; the next entry ends it
  struct tLeaf {
    unsigned int mNumber, mStart, mCount;
  };
  std::vector<tLeaf> mLeaves;  // binary leaves that hold anything, from left to right
  unsigned int mNbNodes = 0, mNbQuadruplets = 0;

  explicit tPlaces(const tBinaryTree& tree) : mNodeStart(tree.mNbNodes + 1), mQuadStart(tree.mNbNodes + 1) {
    std::fill_n(mNodeStart.data(), tree.mNbNodes + 1, 0u);
    std::fill_n(mQuadStart.data(), tree.mNbNodes + 1, 0u);
    mark(tree);
    for (std::size_t i = 1; i <= tree.mNbNodes; ++i) {
      mNodeStart[i] += mNodeStart[i - 1];
      mQuadStart[i] += mQuadStart[i - 1];
    }
    mNbNodes = mNodeStart[tree.mNbNodes];
  }

  bool isPlacedNode(std::size_t number) const { return mNodeStart[number] != mNodeStart[number + 1]; }
  unsigned int nbQuadruplets(std::size_t leaf) const { return mQuadStart[leaf + 1] - mQuadStart[leaf]; }

 private:
  // Counts what node i needs in entry i + 1, so that running sums number everything in binary node order.
  void mark(const tBinaryTree& tree) {
    struct tVisit {
      unsigned int mNumber;
      bool mIsEvenDepth;
    };
    std::vector<tVisit> toVisit;
    mLeaves.reserve(tree.mNbNodes / 2 + 1);  // all leaves, if the root reaches every node
    if (tree.mNbNodes != 0) toVisit.push_back({0, true});
    while (!toVisit.empty()) {
      const tVisit visit = toVisit.back();
      toVisit.pop_back();
      const qzGNode& node = tree.mNodes[visit.mNumber];
      if (node.isLeaf()) {
        const unsigned int nbQuadruplets = (node.getNoPrimitives() + 3) / 4;
        mQuadStart[visit.mNumber + 1] = nbQuadruplets;
        mNbQuadruplets += nbQuadruplets;
        if (nbQuadruplets != 0) mLeaves.push_back({visit.mNumber, node.getPrimStartIdx(), node.getNoPrimitives()});
      } else {
        if (visit.mIsEvenDepth) mNodeStart[visit.mNumber + 1] = 1;
        toVisit.push_back({node.getRightChildIdx(), !visit.mIsEvenDepth});
        toVisit.push_back({node.getLeftChildIdx(), !visit.mIsEvenDepth});
      }
    }
  }
};

}  // namespace

qzQBVH::~qzQBVH() {
  releaseArrays();
}

void qzQBVH::releaseArrays() {
  releaseAligned(mNodes);
  releaseAligned(mTriangleVertices);
  releaseAligned(mTriangleEquations);
  releaseAligned(mTriangleIndices);
}

void qzQBVH::allocate(tQBVHDataFlags flags, unsigned noNodes, unsigned noQuadruplets) {
  releaseArrays();
  mFlags = flags;
  mNodes = allocateAligned<tSOANode>(noNodes);
  if (mFlags & eTrianglesVertices) mTriangleVertices = allocateAligned<tSOATriangleVertices>(noQuadruplets);
  if (mFlags & eTrianglesEquations) mTriangleEquations = allocateAligned<tSOATriangleEquations>(noQuadruplets);
  if (mFlags & (eTrianglesVertices | eTrianglesEquations)) {
    mTriangleIndices = allocateAligned<tSOATriangleIndices>(noQuadruplets);
  }
  mNoQuadruplets = noQuadruplets;
  mNoNodes = noNodes;
  mIsNested = false;
  mIsSnug = false;
}

// Fills the arrays. The places are known, so the order of writes is free. Neighbouring leaves have neighbouring
// triangles, so going from leaf to leaf finds most vertices in the cache.
struct qzQBVH::tConversion {
  qzQBVH& mQBVH;
  const tBinaryTree& mTree;
  const tMeshTriangles& mTriangles;
  const tPlaces mPlaces;
  // Whether every box so far lies within the one around it and is not inverted, by the lanes of tBoxLanes.
  tMask4 mIsMinNested = mask4(true), mIsMaxNested = mask4(true);
  bool mIsSnug = true;  // whether every triangle so far lies within the box of its leaf

  tConversion(qzQBVH& qbvh, tQBVHDataFlags flags, const tBinaryTree& tree, const tMeshTriangles& triangles)
      : mQBVH(qbvh), mTree(tree), mTriangles(triangles), mPlaces(tree) {
    qbvh.allocate(flags, mPlaces.mNbNodes, mPlaces.mNbQuadruplets);
    fillNodes();
    fillQuadruplets();
    const qzBBox rootBox = tree.mNbNodes == 0 ? qzBBox() : tree.mNodes[0].getBBox();
    if (!qbvh.computeRootNodeBBox()) qbvh.mRootBBox = rootBox;
  }

  void fillNodes() {
    for (std::size_t i = 0; i < mTree.mNbNodes; ++i) {
      if (!mPlaces.isPlacedNode(i)) continue;
      // The children of an inner child take two lanes; a leaf takes the first of its two lanes.
      const qzGNode& node = mTree.mNodes[i];
      tSOANode& target = mQBVH.mNodes[mPlaces.mNodeStart[i]];
      const tBoxLanes around = i == 0 ? everywhere() : tBoxLanes(node.getBBox());
      fillLanes(target, 0, node.getLeftChildIdx(), around);
      fillLanes(target, 2, node.getRightChildIdx(), around);
    }
    mQBVH.mIsNested = (bitsOf(mIsMinNested) & 7) == 7 && (bitsOf(mIsMaxNested) & 14) == 14;
  }

  static tBoxLanes everywhere() {
    return tBoxLanes(qzBBox::Make(-kInfinity, -kInfinity, -kInfinity, kInfinity, kInfinity, kInfinity));
  }

  void fillLanes(tSOANode& target, int lane, unsigned int child, const tBoxLanes& around) {
    const qzGNode& node = mTree.mNodes[child];
    if (node.isLeaf()) {
      fillLane(target, lane, child, around);
      fillEmptyLane(target, lane + 1);
    } else {
      fillLane(target, lane, node.getLeftChildIdx(), around);
      fillLane(target, lane + 1, node.getRightChildIdx(), around);
    }
  }

  void fillLane(tSOANode& target, int lane, unsigned int number, const tBoxLanes& around) {
    const qzGNode& node = mTree.mNodes[number];
    setBox(target, lane, node.getBBox());
    if (node.isLeaf()) {
      target.mChildIndex[lane] = mPlaces.mQuadStart[number];
      target.mChildQuadruplets[lane] = mPlaces.nbQuadruplets(number);
    } else {
      target.mChildIndex[lane] = mPlaces.mNodeStart[number];
      target.mChildQuadruplets[lane] = kInnerChild;
    }
    checkNesting(tBoxLanes(node.getBBox()), around, target.mChildQuadruplets[lane] == 0);
  }

  // A query counts a lane without triangles as empty, whatever its box. So an empty leaf makes the boxes not nested.
  void checkNesting(const tBoxLanes& box, const tBoxLanes& around, bool isWithoutTriangles) {
    const tFloat4 min = shuffle<0, 0, 1, 2>(box.mMin);  // in the lanes of the maximum
    mIsMinNested &= box.mMin >= around.mMin;
    mIsMaxNested &= box.mMax <= around.mMax;
    mIsMaxNested &= min <= box.mMax;
    if (isWithoutTriangles) mIsMaxNested = mask4(false);
  }

  static void fillEmptyLane(tSOANode& target, int lane) {
    setBox(target, lane, qzBBox());
    target.mChildIndex[lane] = kNoChild;
    target.mChildQuadruplets[lane] = 0;
  }

  static void setBox(tSOANode& target, int lane, const qzBBox& bbox) {
    for (int axis = 0; axis < 3; ++axis) {
      target.mMin[axis][lane] = bbox.getMinPoint()[axis];
      target.mMax[axis][lane] = bbox.getMaxPoint()[axis];
    }
  }

  // Quadruplets in batches: all corners are read first, so that many cache misses overlap, then equations are computed.
  struct tBatch {
    static constexpr unsigned int kSize = 16;
    unsigned int mQuadruplets[kSize];
    unsigned int mCounts[kSize];  // triangles in a quadruplet
    unsigned int mLeaves[kSize];  // binary leaves
    tSOATriangleVertices mCorners[kSize];
    unsigned int mNb = 0;
  };

  void fillQuadruplets() {
    tBatch batch;
    const auto& leaves = mPlaces.mLeaves;
    for (std::size_t i = 0; i < leaves.size(); ++i) {
      if (i + kLeavesAhead < leaves.size()) prefetchTriangles(leaves[i + kLeavesAhead]);
      const tPlaces::tLeaf& leaf = leaves[i];
      unsigned int quadruplet = mPlaces.mQuadStart[leaf.mNumber];
      for (unsigned int p = 0; p < leaf.mCount; p += 4) {
        fetchQuadruplet(batch, quadruplet++, leaf.mNumber, leaf.mStart + p, leaf.mCount - p < 4 ? leaf.mCount - p : 4);
        if (batch.mNb == tBatch::kSize) fillBatch(batch);
      }
    }
    fillBatch(batch);
    mQBVH.mIsSnug = mIsSnug && (mQBVH.mFlags & eTrianglesVertices) != 0;
  }

  // Prefetches the indices of the first triangles of a leaf.
  QZ_ALWAYS_INLINE void prefetchTriangles(const tPlaces::tLeaf& leaf) const {
    for (unsigned int k = 0; k < leaf.mCount && k < 4; ++k) mTriangles.prefetch(mTree.mPrimitives[leaf.mStart + k]);
    qzDetail::prefetchLine(mPlaces.mQuadStart.data() + leaf.mNumber);
  }

  // Up to four triangles into the lanes, padding into the rest.
  void fetchQuadruplet(tBatch& batch, unsigned int quadruplet, unsigned int leaf, unsigned int start,
                       unsigned int count) {
    tSOATriangleIndices& numbers = mQBVH.mTriangleIndices[quadruplet];
    tSOATriangleVertices& corners = batch.mCorners[batch.mNb];
    batch.mQuadruplets[batch.mNb] = quadruplet;
    batch.mLeaves[batch.mNb] = leaf;
    batch.mCounts[batch.mNb++] = count;
    if (count < 4) corners = {};
    for (unsigned int lane = 0; lane < 4; ++lane) {
      numbers.mTriangle[lane] = kNoTriangle;
      if (lane >= count) continue;
      const unsigned int triangle = mTree.mPrimitives[start + lane];
      numbers.mTriangle[lane] = triangle;
      for (unsigned int corner = 0; corner < 3; ++corner) {
        const Point p = mTriangles.corner(triangle, corner);
        for (int axis = 0; axis < 3; ++axis) corners.mVertex[corner][axis][lane] = p[axis];
      }
    }
  }

  void fillBatch(tBatch& batch) {
    for (unsigned int i = 0; i < batch.mNb; ++i) {
      const unsigned int quadruplet = batch.mQuadruplets[i];
      if (mQBVH.mFlags & eTrianglesVertices) {
        mQBVH.mTriangleVertices[quadruplet] = batch.mCorners[i];
        checkSnugness(batch.mCorners[i], batch.mCounts[i], mTree.mNodes[batch.mLeaves[i]].getBBox());
      }
      if (mQBVH.mFlags & eTrianglesEquations) {
        const tPoints corners[3] = {pointsOf(batch.mCorners[i], 0), pointsOf(batch.mCorners[i], 1),
                                    pointsOf(batch.mCorners[i], 2)};
        qzDetail::fillEquations(mQBVH.mTriangleEquations[quadruplet], corners, batch.mCounts[i]);
      }
    }
    batch.mNb = 0;
  }

  // Checks the first count lanes. A NaN is in no box.
  void checkSnugness(const tSOATriangleVertices& corners, unsigned int count, const qzBBox& box) {
    tMask4 isWithin = mask4(true);
    for (int axis = 0; axis < 3; ++axis) {
      const tFloat4 min = float4(box.getMinPoint()[axis]), max = float4(box.getMaxPoint()[axis]);
      for (const auto& corner : corners.mVertex) {
        const tFloat4 row = load(corner[axis]);
        isWithin &= (row >= min) & (row <= max);
      }
    }
    const int lanes = (1 << count) - 1;
    mIsSnug &= (bitsOf(isWithin) & lanes) == lanes;
  }

  static tPoints pointsOf(const tSOATriangleVertices& corners, int corner) {
    const float(*rows)[4] = corners.mVertex[corner];
    return {load(rows[0]), load(rows[1]), load(rows[2])};
  }
};

void qzQBVH::buildFromBVH(tQBVHDataFlags flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh) {
  const qzDetail::tFloatMode mode;
  tConversion(*this, flags, {bvh.getNodes().data(), bvh.getNodes().size(), bvh.getPrimitives().data()},
              tMeshTriangles(mesh));
}

bool qzQBVH::computeRootNodeBBox() {
  if (mNoNodes == 0) return false;
  const qzDetail::tFloatMode mode;
  Point min, max;
  for (int axis = 0; axis < 3; ++axis) {
    const float *lo = mNodes[0].mMin[axis], *hi = mNodes[0].mMax[axis];
    min[axis] = minOf(minOf(lo[0], lo[1]), minOf(lo[2], lo[3]));
    max[axis] = maxOf(maxOf(hi[0], hi[1]), maxOf(hi[2], hi[3]));
  }
  mRootBBox = qzBBox::RobustMake(min, max);
  return true;
}
