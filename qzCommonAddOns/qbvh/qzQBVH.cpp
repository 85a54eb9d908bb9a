#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <qzCommonAddOns/bvh/qzGenericBVH.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <qzCommonAddOns/qzDetail/qzAlignedMemory.h>
#include <qzCommonAddOns/qzDetail/qzBoxLanes.h>
#include <qzCommonAddOns/qzDetail/qzFloatMode.h>
#include <qzCommonAddOns/qzDetail/qzMinMax.h>
#include <qzCommonAddOns/qzDetail/qzPlatformAdapter.h>

#include <emmintrin.h>

#include <limits>
#include <vector>

using qzDetail::allocateAligned;
using qzDetail::maxOf;
using qzDetail::minOf;
using qzDetail::releaseAligned;
using qzDetail::tBoxLanes;
using Point = Wm4::Vector3<float>;

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr unsigned int kBitsPerAxis = 20;  // of the Morton grid under buildFromMesh

// Where every node of the binary hierarchy goes. Nodes that the root does not reach go nowhere.
struct tPlaces {
  std::vector<unsigned int> mNodeStart;  // four-wide node of a binary inner node at even depth
  std::vector<unsigned int> mQuadStart;  // first quadruplet of a binary leaf; the next entry ends it
  unsigned int mNbQuadruplets = 0;

  explicit tPlaces(const qzGenericBVH& bvh)
      : mNodeStart(bvh.getNodes().size() + 1), mQuadStart(bvh.getNodes().size() + 1) {
    // What a node needs stands at its number + 1, so that running sums number everything in binary node order.
    struct tVisit {
      unsigned int mNumber;
      bool mIsEvenDepth;
    };
    std::vector<tVisit> toVisit;
    if (!bvh.getNodes().empty()) toVisit.push_back({0, true});
    while (!toVisit.empty()) {
      const tVisit visit = toVisit.back();
      toVisit.pop_back();
      const qzGNode& node = bvh.getNode(visit.mNumber);
      if (node.isLeaf()) {
        const unsigned int nbQuadruplets = (node.getNoPrimitives() + 3) / 4;
        mQuadStart[visit.mNumber + 1] = nbQuadruplets;
        mNbQuadruplets += nbQuadruplets;
      } else {
        if (visit.mIsEvenDepth) mNodeStart[visit.mNumber + 1] = 1;
        toVisit.push_back({node.getRightChildIdx(), !visit.mIsEvenDepth});
        toVisit.push_back({node.getLeftChildIdx(), !visit.mIsEvenDepth});
      }
    }
    for (std::size_t i = 1; i < mNodeStart.size(); ++i) {
      mNodeStart[i] += mNodeStart[i - 1];
      mQuadStart[i] += mQuadStart[i - 1];
    }
  }
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

// Fills the arrays. Every node and quadruplet has its place, so the order of the writes is free.
struct qzQBVH::tConversion {
  qzQBVH& mQBVH;
  const qzGenericBVH& mBVH;
  const qz::qzVertexBuffer& mVertices;
  const int* mIndices;
  const tPlaces& mPlaces;
  std::vector<unsigned int> mToVisit;  // binary nodes that have a place of their own
  // Whether every box so far lies within the one around it and is not inverted, by the lanes of tBoxLanes.
  __m128 mIsMinNested = allSet(), mIsMaxNested = allSet();

  tConversion(qzQBVH& qbvh, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh, const tPlaces& places)
      : mQBVH(qbvh),
        mBVH(bvh),
        mVertices(*qzDetail::vertexBufferOf(mesh)),
        mIndices(qzDetail::indicesOf(*qzDetail::indexBufferOf(mesh))),
        mPlaces(places) {}

  void run() {
    if (!mBVH.getNodes().empty()) mToVisit.push_back(0);
    while (!mToVisit.empty()) {
      const unsigned int number = mToVisit.back();
      mToVisit.pop_back();
      const qzGNode& node = mBVH.getNode(number);
      if (node.isLeaf()) {
        fillLeaf(node, mPlaces.mQuadStart[number]);
      } else {
        // Children of an inner child take its two lanes, a leaf takes the first of them.
        tSOANode& target = mQBVH.mNodes[mPlaces.mNodeStart[number]];
        const tBoxLanes around = number == 0 ? everywhere() : tBoxLanes(node.getBBox());
        fillLanes(target, 0, node.getLeftChildIdx(), around);
        fillLanes(target, 2, node.getRightChildIdx(), around);
      }
    }
    mQBVH.mIsNested = (_mm_movemask_ps(mIsMinNested) & 7) == 7 && (_mm_movemask_ps(mIsMaxNested) & 14) == 14;
  }

  static tBoxLanes everywhere() {
    return tBoxLanes(qzBBox::Make(-kInfinity, -kInfinity, -kInfinity, kInfinity, kInfinity, kInfinity));
  }

  void fillLanes(tSOANode& target, int lane, unsigned int child, const tBoxLanes& around) {
    const qzGNode& node = mBVH.getNode(child);
    if (node.isLeaf()) {
      fillLane(target, lane, child, around);
      fillEmptyLane(target, lane + 1);
    } else {
      fillLane(target, lane, node.getLeftChildIdx(), around);
      fillLane(target, lane + 1, node.getRightChildIdx(), around);
    }
  }

  void fillLane(tSOANode& target, int lane, unsigned int number, const tBoxLanes& around) {
    const qzGNode& node = mBVH.getNode(number);
    setBox(target, lane, node.getBBox());
    if (node.isLeaf()) {
      target.mChildIndex[lane] = mPlaces.mQuadStart[number];
      target.mChildQuadruplets[lane] = mPlaces.mQuadStart[number + 1] - mPlaces.mQuadStart[number];
    } else {
      target.mChildIndex[lane] = mPlaces.mNodeStart[number];
      target.mChildQuadruplets[lane] = kInnerChild;
    }
    checkNesting(tBoxLanes(node.getBBox()), around, target.mChildQuadruplets[lane] == 0);
    mToVisit.push_back(number);
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

  void fillLeaf(const qzGNode& leaf, unsigned int quadruplet) {
    const unsigned int start = leaf.getPrimStartIdx(), n = leaf.getNoPrimitives();
    for (unsigned int p = 0; p < n; p += 4) fillQuadruplet(quadruplet++, start + p, n - p < 4 ? n - p : 4);
  }

  // Up to four triangles into the lanes, padding into the rest.
  void fillQuadruplet(unsigned int quadruplet, unsigned int start, unsigned int count) {
    tSOATriangleIndices& numbers = mQBVH.mTriangleIndices[quadruplet];
    tSOATriangleVertices corners = {};
    for (unsigned int lane = 0; lane < 4; ++lane) {
      numbers.mTriangle[lane] = kNoTriangle;
      if (lane >= count) continue;
      const unsigned int triangle = mBVH.getPrimitive(start + lane);
      numbers.mTriangle[lane] = triangle;
      for (int corner = 0; corner < 3; ++corner) {
        const Point p = mVertices.Position3(mIndices[3 * std::size_t(triangle) + static_cast<std::size_t>(corner)]);
        for (int axis = 0; axis < 3; ++axis) corners.mVertex[corner][axis][lane] = p[axis];
      }
    }
    if (mQBVH.mFlags & eTrianglesVertices) mQBVH.mTriangleVertices[quadruplet] = corners;
    if (mQBVH.mFlags & eTrianglesEquations) fillEquations(mQBVH.mTriangleEquations[quadruplet], corners, count);
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
  qzGenericBVH bvh;
  {
    const qzBVHTriangleContainer triangles(mesh);
    qzLinearGenericBVHBuilder builder;
    builder.setMaxPrimitivesPerLeaf(maxLeafSize);
    builder.build(triangles, bvh, nullptr, kBitsPerAxis);
  }
  buildFromBVH(flags, bvh, mesh);
}

void qzQBVH::buildFromBVH(tQBVHDataFlags flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh) {
  const qzDetail::tFloatMode mode;
  const tPlaces places(bvh);
  allocate(flags, places.mNodeStart.back(), places.mNbQuadruplets);
  tConversion(*this, bvh, mesh, places).run();
  if (!computeRootNodeBBox()) mRootBBox = bvh.getNodes().empty() ? qzBBox() : bvh.getNode(0).getBBox();
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
