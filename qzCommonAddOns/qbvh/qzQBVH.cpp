#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/qzAlignedMemory.h>
#include <qzCommonAddOns/qzDetail/qzBoxLanes.h>
#include <qzCommonAddOns/qzDetail/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/qzLinearBuild.h>
#include <qzCommonAddOns/qzDetail/qzMinMax.h>
#include <qzCommonAddOns/qzDetail/qzPlatformAdapter.h>
#include <qzCommonAddOns/qzDetail/qzPrefetch.h>
#include <qzCommonAddOns/qzDetail/qzScratch.h>

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

using qzDetail::allocateAligned;
using qzDetail::maxOf;
using qzDetail::minOf;
using qzDetail::releaseAligned;
using qzDetail::tBoxLanes;
using qzDetail::tScratch;
using Point = Wm4::Vector3<float>;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr unsigned int kBitsPerAxis = 20;        // of the Morton grid under buildFromMesh
constexpr std::uint32_t kPrefetchDistance = 24;  // primitives
constexpr std::size_t kLeavesAhead = 16;

// A binary hierarchy to convert.
struct tBinaryTree {
  const qzGNode* mNodes;
  std::size_t mNbNodes;
  const unsigned int* mPrimitives;
};

// Where every node of the binary hierarchy goes. Nodes that the root does not reach go nowhere.
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
  // What a node needs stands at its number + 1, so that running sums number everything in binary node order.
  void mark(const tBinaryTree& tree) {
    struct tVisit {
      unsigned int mNumber;
      bool mIsEvenDepth;
    };
    std::vector<tVisit> toVisit;
    mLeaves.reserve(tree.mNbNodes / 2 + 1);  // as many as a tree has that uses all its nodes
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

// The triangles of a mesh, by their corners.
struct tTriangles {
  const qz::qzVertexBuffer& mVertices;
  const int* mIndices;

  explicit tTriangles(const qz::qzTriMesh& mesh)
      : mVertices(*qzDetail::vertexBufferOf(mesh)), mIndices(qzDetail::indicesOf(*qzDetail::indexBufferOf(mesh))) {}

  Point corner(std::size_t triangle, std::size_t number) const {
    return mVertices.Position3(mIndices[3 * triangle + number]);
  }
  QZ_ALWAYS_INLINE void prefetch(std::size_t triangle) const { qzDetail::prefetchLine(mIndices + 3 * triangle); }
};

// Boxes of the triangles, as a source of the linear build.
class tTriangleBoxes {
 public:
  tTriangleBoxes(const qz::qzTriMesh& mesh, const tTriangles& triangles)
      : mNbTriangles(nbTriangles(mesh)), mBoxes(mNbTriangles) {
    for (std::uint32_t t = 0; t < mNbTriangles; ++t) {
      tBoxLanes box;
      for (std::size_t k = 0; k < 3; ++k) box.expand(triangles.corner(t, k));
      box.store(mBoxes[t]);
    }
  }

  std::uint32_t nbPrimitives() const { return mNbTriangles; }
  tBoxLanes boxOf(std::uint32_t i) const { return tBoxLanes(mBoxes[i]); }
  QZ_ALWAYS_INLINE void prefetch(std::uint32_t i) const { qzDetail::prefetchLine(&mBoxes[i]); }

 private:
  static std::uint32_t nbTriangles(const qz::qzTriMesh& mesh) {
    const int count = qzDetail::nbIndices(*qzDetail::indexBufferOf(mesh)) / 3;
    if (count < 0) throw std::length_error("qzQBVH::buildFromMesh: negative number of indices");
    return static_cast<std::uint32_t>(count);
  }

  std::uint32_t mNbTriangles;
  tScratch<qzBBox> mBoxes;
};

// A point of each of four triangles.
struct tPoints {
  __m128 x, y, z;
};

tPoints operator-(const tPoints& a, const tPoints& b) {
  return {_mm_sub_ps(a.x, b.x), _mm_sub_ps(a.y, b.y), _mm_sub_ps(a.z, b.z)};
}
tPoints operator*(__m128 s, const tPoints& a) {
  return {_mm_mul_ps(s, a.x), _mm_mul_ps(s, a.y), _mm_mul_ps(s, a.z)};
}
__m128 dot(const tPoints& a, const tPoints& b) {
  return _mm_add_ps(_mm_add_ps(_mm_mul_ps(a.x, b.x), _mm_mul_ps(a.y, b.y)), _mm_mul_ps(a.z, b.z));
}
tPoints cross(const tPoints& a, const tPoints& b) {
  return {_mm_sub_ps(_mm_mul_ps(a.y, b.z), _mm_mul_ps(a.z, b.y)),
          _mm_sub_ps(_mm_mul_ps(a.z, b.x), _mm_mul_ps(a.x, b.z)),
          _mm_sub_ps(_mm_mul_ps(a.x, b.y), _mm_mul_ps(a.y, b.x))};
}
__m128 allSet() {
  return _mm_castsi128_ps(_mm_set1_epi32(-1));
}
__m128 negate(__m128 a) {
  return _mm_xor_ps(a, _mm_set1_ps(-0.0f));
}

// a where the mask is set, b elsewhere.
__m128 select(__m128 mask, __m128 a, __m128 b) {
  return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
}
tPoints select(__m128 mask, const tPoints& a, const tPoints& b) {
  return {select(mask, a.x, b.x), select(mask, a.y, b.y), select(mask, a.z, b.z)};
}

// Writes three coefficients and a constant as four rows; lanes outside the mask get zeros and the constant for padding.
void storeEquation(float (*rows)[4], const tPoints& coefficients, __m128 constant, __m128 isTriangle, float padding) {
  _mm_store_ps(rows[0], _mm_and_ps(isTriangle, coefficients.x));
  _mm_store_ps(rows[1], _mm_and_ps(isTriangle, coefficients.y));
  _mm_store_ps(rows[2], _mm_and_ps(isTriangle, coefficients.z));
  _mm_store_ps(rows[3], select(isTriangle, constant, _mm_set1_ps(padding)));
}

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
}

// Fills the arrays. Every node and quadruplet has its place, so the order of the writes is free. Neighbours in the
// binary hierarchy are neighbours in the mesh: going from leaf to leaf finds most vertices in the cache.
struct qzQBVH::tConversion {
  qzQBVH& mQBVH;
  const tBinaryTree& mTree;
  const tTriangles& mTriangles;
  const tPlaces mPlaces;
  // Whether every box so far lies within the one around it and is not inverted, by the lanes of tBoxLanes.
  __m128 mIsMinNested = allSet(), mIsMaxNested = allSet();

  tConversion(qzQBVH& qbvh, tQBVHDataFlags flags, const tBinaryTree& tree, const tTriangles& triangles)
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
      // Children of an inner child take its two lanes, a leaf takes the first of them.
      const qzGNode& node = mTree.mNodes[i];
      tSOANode& target = mQBVH.mNodes[mPlaces.mNodeStart[i]];
      const tBoxLanes around = i == 0 ? everywhere() : tBoxLanes(node.getBBox());
      fillLanes(target, 0, node.getLeftChildIdx(), around);
      fillLanes(target, 2, node.getRightChildIdx(), around);
    }
    mQBVH.mIsNested = (_mm_movemask_ps(mIsMinNested) & 7) == 7 && (_mm_movemask_ps(mIsMaxNested) & 14) == 14;
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

  // A lane without triangles counts as empty in a query, so its box must not be anything else.
  void checkNesting(const tBoxLanes& box, const tBoxLanes& around, bool isWithoutTriangles) {
    const __m128 min = _mm_shuffle_ps(box.mMin, box.mMin, _MM_SHUFFLE(2, 1, 0, 0));  // where the maximum has its lanes
    mIsMinNested = _mm_and_ps(mIsMinNested, _mm_cmpge_ps(box.mMin, around.mMin));
    mIsMaxNested = _mm_and_ps(mIsMaxNested, _mm_cmple_ps(box.mMax, around.mMax));
    mIsMaxNested = _mm_and_ps(mIsMaxNested, _mm_cmple_ps(min, box.mMax));
    if (isWithoutTriangles) mIsMaxNested = _mm_setzero_ps();
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

  // Quadruplets in batches: first all corners are fetched, so that many reads from far apart are under way at once,
  // then the equations are computed.
  struct tBatch {
    static constexpr unsigned int kSize = 16;
    unsigned int mQuadruplets[kSize];
    unsigned int mCounts[kSize];  // triangles in a quadruplet
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
        fetchQuadruplet(batch, quadruplet++, leaf.mStart + p, leaf.mCount - p < 4 ? leaf.mCount - p : 4);
        if (batch.mNb == tBatch::kSize) fillBatch(batch);
      }
    }
    fillBatch(batch);
  }

  // Sends for the indices of the first triangles of a leaf.
  QZ_ALWAYS_INLINE void prefetchTriangles(const tPlaces::tLeaf& leaf) const {
    for (unsigned int k = 0; k < leaf.mCount && k < 4; ++k) mTriangles.prefetch(mTree.mPrimitives[leaf.mStart + k]);
    qzDetail::prefetchLine(mPlaces.mQuadStart.data() + leaf.mNumber);
  }

  // Up to four triangles into the lanes, padding into the rest.
  void fetchQuadruplet(tBatch& batch, unsigned int quadruplet, unsigned int start, unsigned int count) {
    tSOATriangleIndices& numbers = mQBVH.mTriangleIndices[quadruplet];
    tSOATriangleVertices& corners = batch.mCorners[batch.mNb];
    batch.mQuadruplets[batch.mNb] = quadruplet;
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
      if (mQBVH.mFlags & eTrianglesVertices) mQBVH.mTriangleVertices[quadruplet] = batch.mCorners[i];
      if (mQBVH.mFlags & eTrianglesEquations) {
        fillEquations(mQBVH.mTriangleEquations[quadruplet], batch.mCorners[i], batch.mCounts[i]);
      }
    }
    batch.mNb = 0;
  }

  // Plane and barycentric equations of four triangles, in this order of operations. A triangle without area keeps what
  // comes out: no query accepts it.
  static void fillEquations(tSOATriangleEquations& equations, const tSOATriangleVertices& corners, unsigned int count) {
    const tPoints v0 = load(corners, 0), e1 = load(corners, 1) - v0, e2 = load(corners, 2) - v0;
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 isTriangle =
        _mm_castsi128_ps(_mm_cmplt_epi32(_mm_setr_epi32(0, 1, 2, 3), _mm_set1_epi32(static_cast<int>(count))));

    const tPoints normal = cross(e1, e2);
    const __m128 length = _mm_sqrt_ps(dot(normal, normal));
    const __m128 hasArea = _mm_cmpgt_ps(length, _mm_setzero_ps());
    const tPoints unit = _mm_div_ps(one, length) * normal;
    storeEquation(equations.mPlane, select(hasArea, unit, normal), select(hasArea, negate(dot(unit, v0)), one),
                  isTriangle, kInfinity);

    // The dual basis of (e1, e2) within the plane.
    const __m128 a11 = dot(e1, e1), a22 = dot(e2, e2), a12 = dot(e1, e2);
    const __m128 i1 = _mm_div_ps(one, a11), i2 = _mm_div_ps(one, a22);
    const __m128 along1 = _mm_mul_ps(a12, i1), along2 = _mm_mul_ps(a12, i2);
    const __m128 s = _mm_div_ps(one, _mm_sub_ps(one, _mm_mul_ps(along2, along1)));
    const __m128 s1 = _mm_mul_ps(s, i1), s2 = _mm_mul_ps(s, i2);
    const tPoints u = s1 * e1 - _mm_mul_ps(along2, s1) * e2;
    const tPoints w = s2 * e2 - _mm_mul_ps(along1, s2) * e1;
    storeEquation(equations.mU, u, negate(dot(u, v0)), isTriangle, -1.0f);
    storeEquation(equations.mW, w, negate(dot(w, v0)), isTriangle, -1.0f);
  }

  static tPoints load(const tSOATriangleVertices& corners, int corner) {
    const float(*rows)[4] = corners.mVertex[corner];
    return {_mm_load_ps(rows[0]), _mm_load_ps(rows[1]), _mm_load_ps(rows[2])};
  }
};

void qzQBVH::buildFromMesh(tQBVHDataFlags flags, const qz::qzTriMesh& mesh, unsigned maxLeafSize) {
  // What qzLinearGenericBVHBuilder::build makes of a qzBVHTriangleContainer, without the container and the hierarchy.
  const qzDetail::tFloatMode mode;
  const tTriangles triangles(mesh);
  tScratch<unsigned int> primitives;
  tScratch<qzGNode> nodes;
  std::uint32_t nbNodes = 0;
  {
    const tTriangleBoxes boxes(mesh, triangles);
    const std::uint32_t nbTriangles = boxes.nbPrimitives();
    primitives = tScratch<unsigned int>(nbTriangles);
    qzDetail::logIndexAllocation(nbTriangles);
    const auto splits = qzDetail::sortAndSplit(boxes, qzDetail::boxOfAll(boxes).toBBox(), kBitsPerAxis,
                                               primitives.data(), qzDetail::tCancel());
    qzDetail::logNodeAllocation(splits->nbGroups());
    const qzDetail::tFusedTree tree(*splits, maxLeafSize == 0 ? 1 : maxLeafSize);
    nbNodes = tree.nbNodes();
    nodes = tScratch<qzGNode>(nbNodes);
    tree.write<tBoxLanes>(nodes.data(), qzDetail::tLink3(), [&](std::uint32_t k) {
      if (k + kPrefetchDistance < nbTriangles) boxes.prefetch(primitives[k + kPrefetchDistance]);
      return boxes.boxOf(primitives[k]);
    });
    qzDetail::logFusion(2 * splits->nbGroups(), nbNodes);
  }
  tConversion(*this, flags, {nodes.data(), nbNodes, primitives.data()}, triangles);
}

void qzQBVH::buildFromBVH(tQBVHDataFlags flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh) {
  const qzDetail::tFloatMode mode;
  tConversion(*this, flags, {bvh.getNodes().data(), bvh.getNodes().size(), bvh.getPrimitives().data()},
              tTriangles(mesh));
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
