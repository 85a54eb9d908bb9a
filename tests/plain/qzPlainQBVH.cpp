#include "plain/qzPlainQBVH.h"

#include "plain/qzPlainBBox.h"
#include "support/qzBits.h"
#include "support/qzVectors.h"

#include <cmath>
#include <utility>

namespace qzPlain {

using Point = Wm4::Vector3<float>;
using qzTest::bitsOf;
using qzTest::cross;
using qzTest::dot;
using qzTest::floatFromBits;
using qzTest::kInf;
using qzTest::minus;
using qzTest::times;

namespace {

constexpr unsigned int kNone =
    0xFFFFFFFFu;  // no binary node, an inner child's count, an empty lane's index, no triangle

struct tTriangle {
  Point mVertex[3];
};

tTriangle triangleOf(const qz::qzTriMesh& mesh, unsigned int number) {
  const int* indices = mesh.getIndexBuffer()->getIndices() + 3 * static_cast<std::size_t>(number);
  tTriangle triangle;
  for (int v = 0; v < 3; ++v) triangle.mVertex[v] = mesh.getVertexBuffer()->Position3(indices[v]);
  return triangle;
}

/// Plane, first and second barycentric equation, four coefficients each.
struct tEquations {
  float mCoefficient[12];
};

tEquations equationsOf(const tTriangle& triangle) {
  const Point &v0 = triangle.mVertex[0], &v1 = triangle.mVertex[1], &v2 = triangle.mVertex[2];
  const Point e1 = minus(v1, v0), e2 = minus(v2, v0);

  // The plane; a triangle without area keeps its normal as it is.
  Point n = cross(e1, e2);
  float d = 1.0f;
  const float length = std::sqrt(dot(n, n));
  if (length > 0.0f) {
    n = times(1.0f / length, n);
    d = -dot(n, v0);
  }

  // The dual basis of e1 and e2 in the plane, also for a zero determinant.
  const float a11 = dot(e1, e1), a22 = dot(e2, e2), a12 = dot(e1, e2);
  const float i1 = 1.0f / a11, i2 = 1.0f / a22;
  const float s = 1.0f / (1.0f - (a12 * i2) * (a12 * i1));
  const Point u = minus(times(s * i1, e1), times((a12 * i2) * (s * i1), e2));
  const Point w = minus(times(s * i2, e2), times((a12 * i1) * (s * i2), e1));
  return {{n[0], n[1], n[2], d, u[0], u[1], u[2], -dot(u, v0), w[0], w[1], w[2], -dot(w, v0)}};
}

class Conversion {
 public:
  Conversion(unsigned int flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh)
      : mBVH(bvh), mMesh(mesh), mNodeStart(bvh.getNodes().size() + 1), mQuadStart(bvh.getNodes().size() + 1) {
    mResult.mFlags = flags;
  }

  tQBVH run() {
    // How many nodes and quadruplets every binary node makes, and the running sums.
    const qzGNode& root = mBVH.getNode(0);
    if (root.isLeaf()) {
      countLeaf(0);
    } else {
      mNodeStart[1] = 1;
      count(root.getLeftChildIdx(), false);
      count(root.getRightChildIdx(), false);
    }
    for (std::size_t i = 1; i < mNodeStart.size(); ++i) {
      mNodeStart[i] += mNodeStart[i - 1];
      mQuadStart[i] += mQuadStart[i - 1];
    }

    mResult.mNoNodes = mNodeStart.back();
    const std::size_t noQuadruplets = mResult.mNoQuadruplets;
    mResult.mNodes.resize(std::size_t(mResult.mNoNodes) * tQBVH::kNodeWords);
    if (keepsVertices()) mResult.mVertices.resize(noQuadruplets * tQBVH::kVertexWords);
    if (keepsEquations()) mResult.mEquations.resize(noQuadruplets * tQBVH::kEquationWords);
    mResult.mIndices.resize(noQuadruplets * tQBVH::kIndexWords);

    fill(0, 0);
    mResult.mRootBBox = mResult.mNoNodes != 0 ? boxOfFirstNode(mResult) : root.getBBox();
    return std::move(mResult);
  }

 private:
  bool keepsVertices() const { return (mResult.mFlags & tQBVH::kVerticesFlag) != 0; }
  bool keepsEquations() const { return (mResult.mFlags & tQBVH::kEquationsFlag) != 0; }

  void countLeaf(unsigned int b) {
    mQuadStart[b + 1] = (mBVH.getNode(b).getNoPrimitives() + 3) / 4;
    mResult.mNoQuadruplets += mQuadStart[b + 1];
  }

  void count(unsigned int b, bool isNode) {
    const qzGNode& node = mBVH.getNode(b);
    if (node.isLeaf()) {
      countLeaf(b);
      return;
    }
    if (isNode) mNodeStart[b + 1] = 1;
    count(node.getLeftChildIdx(), !isNode);
    count(node.getRightChildIdx(), !isNode);
  }

  unsigned int quadrupletsOf(unsigned int b) const { return mQuadStart[b + 1] - mQuadStart[b]; }

  void fill(unsigned int b, unsigned int target) {
    if (b == kNone) return;
    const qzGNode& node = mBVH.getNode(b);
    if (node.isLeaf()) {
      fillLeaf(node, target);
    } else {
      fillNode(node, target);
    }
  }

  void fillNode(const qzGNode& node, unsigned int target) {
    unsigned int placed[4];
    const unsigned int children[2] = {node.getLeftChildIdx(), node.getRightChildIdx()};
    for (int side = 0; side < 2; ++side) {
      const qzGNode& child = mBVH.getNode(children[side]);
      placed[2 * side] = child.isLeaf() ? children[side] : child.getLeftChildIdx();
      placed[2 * side + 1] = child.isLeaf() ? kNone : child.getRightChildIdx();
    }

    unsigned int childIndex[4];
    for (unsigned int lane = 0; lane < 4; ++lane) {
      const unsigned int c = placed[lane];
      qzBBox box;
      unsigned int quadruplets = 0;
      childIndex[lane] = kNone;
      if (c != kNone) {
        const bool isLeaf = mBVH.getNode(c).isLeaf();
        box = mBVH.getNode(c).getBBox();
        childIndex[lane] = isLeaf ? mQuadStart[c] : mNodeStart[c];
        quadruplets = isLeaf ? quadrupletsOf(c) : kNone;
      }
      std::uint32_t* words = &mResult.mNodes[std::size_t(target) * tQBVH::kNodeWords + lane];
      for (int axis = 0; axis < 3; ++axis) {
        words[4 * axis] = bitsOf(box.getMinPoint()[axis]);
        words[4 * (3 + axis)] = bitsOf(box.getMaxPoint()[axis]);
      }
      words[4 * 6] = childIndex[lane];
      words[4 * 7] = quadruplets;
    }
    for (int lane = 0; lane < 4; ++lane) fill(placed[lane], childIndex[lane]);
  }

  void fillLeaf(const qzGNode& node, unsigned int target) {
    const unsigned int n = node.getNoPrimitives();
    for (unsigned int p = 0; p < (n + 3) / 4 * 4; ++p) {
      const std::size_t quadruplet = target + p / 4, lane = p % 4;
      unsigned int number = kNone;
      tTriangle triangle = {{Point(0.0f, 0.0f, 0.0f), Point(0.0f, 0.0f, 0.0f), Point(0.0f, 0.0f, 0.0f)}};
      tEquations equations = {{0.0f, 0.0f, 0.0f, kInf, 0.0f, 0.0f, 0.0f, -1.0f, 0.0f, 0.0f, 0.0f, -1.0f}};
      if (p < n) {
        number = mBVH.getPrimitive(node.getPrimStartIdx() + p);
        triangle = triangleOf(mMesh, number);
        equations = equationsOf(triangle);
      }

      mResult.mIndices[quadruplet * tQBVH::kIndexWords + lane] = number;
      if (keepsVertices()) {
        std::uint32_t* words = &mResult.mVertices[quadruplet * tQBVH::kVertexWords + lane];
        for (int row = 0; row < 9; ++row) words[4 * row] = bitsOf(triangle.mVertex[row / 3][row % 3]);
      }
      if (keepsEquations()) {
        std::uint32_t* words = &mResult.mEquations[quadruplet * tQBVH::kEquationWords + lane];
        for (int row = 0; row < 12; ++row) words[4 * row] = bitsOf(equations.mCoefficient[row]);
      }
    }
  }

  const qzGenericBVH& mBVH;
  const qz::qzTriMesh& mMesh;
  std::vector<unsigned int> mNodeStart, mQuadStart;
  tQBVH mResult;
};

/// Minimum and maximum of the four-lane queries: the second operand unless the first is strictly smaller (larger).
float minOfLane(float x, float y) {
  return x < y ? x : y;
}
float maxOfLane(float x, float y) {
  return x > y ? x : y;
}

/// One ray in its traversal of a hierarchy; t, barycentric and triangle are the caller's.
struct tRayQuery {
  const tQBVH& mHierarchy;
  const Point mOrigin, mDirection;
  const bool mSymmetric;
  const float mTMin;
  const unsigned int mPolicy;
  float& mT;
  Wm4::Vector2<float>& mBarycentric;
  unsigned int& mTriangle;

  bool run() {
    if ((mHierarchy.mFlags & tQBVH::kEquationsFlag) == 0) return false;
    mTriangle = kNone;
    if (mHierarchy.mNoNodes != 0) {
      visitNode(0);
    } else if (mHierarchy.mNoQuadruplets != 0) {
      testLeaf(0, mHierarchy.mNoQuadruplets);
    }
    return mTriangle != kNone;
  }

  struct tChild {
    float mKey;
    unsigned int mLane;
  };

  void visitNode(unsigned int node) {
    const std::uint32_t* words = &mHierarchy.mNodes[std::size_t(node) * tQBVH::kNodeWords];
    const float low = mSymmetric ? -std::fabs(mT) : mTMin, high = mSymmetric ? std::fabs(mT) : mT;

    tChild children[4];
    for (unsigned int lane = 0; lane < 4; ++lane) children[lane] = {keyOfLane(words + lane, low, high), lane};
    const int network[5][2] = {{0, 1}, {2, 3}, {0, 2}, {1, 3}, {1, 2}};
    for (const auto& pair : network) {
      if (children[pair[0]].mKey > children[pair[1]].mKey) std::swap(children[pair[0]], children[pair[1]]);
    }

    for (const tChild& child : children) {
      if (child.mKey == kInf) break;
      const unsigned int index = words[4 * 6 + child.mLane], quadruplets = words[4 * 7 + child.mLane];
      if (quadruplets == kNone) {
        visitNode(index);
      } else {
        testLeaf(index, quadruplets);
      }
    }
  }

  /// The distance nearest to 0 at which the line is in the lane's box within [low, high], infinity if there is none.
  float keyOfLane(const std::uint32_t* laneWords, float low, float high) const {
    float smaller[3], larger[3];
    for (int axis = 0; axis < 3; ++axis) {
      const float reciprocal = 1.0f / mDirection[axis];
      const float t1 = (floatFromBits(laneWords[4 * axis]) - mOrigin[axis]) * reciprocal;
      const float t2 = (floatFromBits(laneWords[4 * (3 + axis)]) - mOrigin[axis]) * reciprocal;
      smaller[axis] = minOfLane(t1, t2);
      larger[axis] = maxOfLane(t1, t2);
    }
    const float near = maxOfLane(maxOfLane(maxOfLane(smaller[0], low), smaller[1]), smaller[2]);
    const float far = minOfLane(minOfLane(minOfLane(larger[0], high), larger[1]), larger[2]);
    if (!(near <= far)) return kInf;
    return floatFromBits(bitsOf(minOfLane(far, 0.0f)) | bitsOf(maxOfLane(near, 0.0f)));
  }

  struct tLaneHit {
    float mBest = kInf, mW = 0.0f, mU = 0.0f;
    unsigned int mTriangle = kNone;
  };

  void testLeaf(unsigned int start, unsigned int quadruplets) {
    tLaneHit hits[4];
    const float entry = mT;
    for (unsigned int q = start; q < start + quadruplets && q < mHierarchy.mNoQuadruplets; ++q) {
      for (unsigned int lane = 0; lane < 4; ++lane) testTriangle(q, lane, entry, hits[lane]);
    }
    for (const tLaneHit& hit : hits) {
      const bool isFirstAtEntry = mT == hit.mBest && hit.mTriangle != kNone && mTriangle == kNone;
      if (mT > hit.mBest || isFirstAtEntry) {
        mT = hit.mBest;
        mBarycentric = Wm4::Vector2<float>(hit.mW, hit.mU);
        mTriangle = hit.mTriangle;
      }
    }
  }

  void testTriangle(unsigned int q, unsigned int lane, float entry, tLaneHit& hit) const {
    const std::uint32_t* words = &mHierarchy.mEquations[std::size_t(q) * tQBVH::kEquationWords + lane];
    const auto row = [words](int number) { return floatFromBits(words[4 * number]); };
    const Point &o = mOrigin, &d = mDirection;

    const float den = (row(2) * d[2] + row(1) * d[1]) + row(0) * d[0];
    const float h = -((((row(2) * o[2] + row(3)) + row(1) * o[1]) + row(0) * o[0]) / den);
    const Point p(h * d[0] + o[0], h * d[1] + o[1], h * d[2] + o[2]);
    const float u = ((row(6) * p[2] + row(7)) + row(5) * p[1]) + row(4) * p[0];
    const float v = ((row(10) * p[2] + row(11)) + row(9) * p[1]) + row(8) * p[0];
    const float w = 1.0f - (v + u);

    const float distance = mSymmetric ? std::fabs(h) : h;
    if (mSymmetric) {
      if (!(den <= 0.0f) || !(distance <= std::fabs(entry))) return;
    } else {
      if (mPolicy == 1 && !(den <= 0.0f)) return;
      if (mPolicy == 2 && !(den >= 0.0f)) return;
      if (!(mTMin <= h) || !(h <= entry)) return;
    }
    const float tolerance = floatFromBits(0xB8D1B717u);  // -0.0001
    if (!(distance < hit.mBest) || !(tolerance < w) || !(tolerance < v) || !(tolerance < u)) return;
    hit = {distance, w, u, mHierarchy.mIndices[std::size_t(q) * tQBVH::kIndexWords + lane]};
  }
};

}  // namespace

tQBVH convert(unsigned int flags, const qzGenericBVH& bvh, const qz::qzTriMesh& mesh) {
  return Conversion(flags, bvh, mesh).run();
}

qzBBox boxOfFirstNode(const tQBVH& hierarchy) {
  Point min, max;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    float lane[2][4];
    for (std::size_t j = 0; j < 4; ++j) {
      lane[0][j] = floatFromBits(hierarchy.mNodes[4 * axis + j]);
      lane[1][j] = floatFromBits(hierarchy.mNodes[4 * (3 + axis) + j]);
    }
    // minOf and maxOf take the present value second, and it stays unless the other is strictly smaller (larger).
    min[static_cast<int>(axis)] = minOf(minOf(lane[0][3], lane[0][2]), minOf(lane[0][1], lane[0][0]));
    max[static_cast<int>(axis)] = maxOf(maxOf(lane[1][3], lane[1][2]), maxOf(lane[1][1], lane[1][0]));
  }
  return robustMake(min, max);
}

bool intersectRay(const tQBVH& hierarchy, const Point& origin, const Point& direction, float tMin, float& t,
                  Wm4::Vector2<float>& barycentric, unsigned int& triangle, unsigned int policy) {
  return tRayQuery{hierarchy, origin, direction, false, tMin, policy, t, barycentric, triangle}.run();
}

bool intersectRaySymmetric(const tQBVH& hierarchy, const Point& origin, const Point& direction, float& t,
                           Wm4::Vector2<float>& barycentric, unsigned int& triangle) {
  return tRayQuery{hierarchy, origin, direction, true, 0.0f, 0, t, barycentric, triangle}.run();
}

}  // namespace qzPlain
