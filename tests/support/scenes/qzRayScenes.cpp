#include "support/scenes/qzRayScenes.h"

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "support/qzObservers.h"
#include "support/qzVectors.h"

namespace qzTest {

namespace {

std::string differenceOfWords(const char* array, const Words& library, const Words& plain, unsigned int wordsPerBlock,
                              NaNWords nans) {
  std::ostringstream text;
  if (library.size() != plain.size()) {
    text << array << ": " << library.size() << " words, plain form " << plain.size();
    return text.str();
  }
  for (std::size_t i = 0; i < library.size(); ++i) {
    if (library[i] == plain[i]) continue;
    if (nans == eAnyNaN && sameBitsOrNaN(floatFromBits(library[i]), floatFromBits(plain[i]))) continue;
    text << array << " " << i / wordsPerBlock << " row " << i % wordsPerBlock / 4 << " lane " << i % 4 << ": "
         << std::hex << library[i] << ", plain form " << plain[i];
    return text.str();
  }
  return std::string();
}

/// Numbers 0 ... count - 1 in random order, number 0 first.
std::vector<unsigned int> shuffledNumbers(unsigned int count, Random& random) {
  std::vector<unsigned int> numbers(count);
  for (unsigned int i = 0; i < count; ++i) numbers[i] = i;
  for (unsigned int i = count; i > 2; --i) std::swap(numbers[i - 1], numbers[1 + random.below(i - 1)]);
  return numbers;
}

Point anyFloats(Random& random) {
  const float x = random.anyFloat(), y = random.anyFloat(), z = random.anyFloat();
  return Point(x, y, z);
}

qzBBox oddBox(Random& random) {
  const Point a = random.point(-1.0f, 1.0f), b = random.point(-1.0f, 1.0f);
  switch (random.below(6)) {
    case 0:
      return qzBBox();
    case 1:
      return qzBBox::Make(Point(-kInf, -kInf, -kInf), Point(kInf, kInf, kInf));
    case 2:
      return qzBBox::Make(a, b);
    case 3:
      return qzBBox::Make(b, Point(a[0], kNaN, a[2]));
    case 4:
      return qzBBox::Make(Point(0.0f, -0.0f, 0.0f), Point(-0.0f, 0.0f, 0.0f));
    default: {
      const Point min = anyFloats(random), max = anyFloats(random);
      return qzBBox::Make(min, max);
    }
  }
}

class RandomBVHMaker {
 public:
  RandomBVHMaker(const qz::qzTriMesh& mesh, unsigned int maxLeafSize, BoxKind boxes, Random& random)
      : mMesh(mesh),
        mMaxLeafSize(maxLeafSize),
        mBoxes(boxes),
        mHasEmptyLeaves(random.below(2) == 0),
        mCropsMin(random.below(2) == 0),
        mRandom(random) {}

  qzGenericBVH make() {
    // Every triangle once, and some twice.
    const unsigned int count = nbTrianglesOf(mMesh);
    std::vector<unsigned int>& primitives = mBVH.editPrimitives();
    primitives = shuffledNumbers(count, mRandom);
    for (unsigned int i = 0; i < count / 8; ++i) primitives.push_back(mRandom.below(count));
    const unsigned int nbEntries = static_cast<unsigned int>(primitives.size());

    // Nodes get random numbers. Those that are left over stay unreachable; some of them look like leaves.
    mNumbers = shuffledNumbers(8 * nbEntries + 8, mRandom);
    mBVH.editNodes().resize(mNumbers.size());
    for (qzGNode& node : mBVH.editNodes()) {
      const unsigned int start = mRandom.below(nbEntries), size = mRandom.below(9);
      if (size != 0) node.setLeaf(start, size);
    }
    makeNode(0, nbEntries);
    return mBVH;
  }

 private:
  /// A node over the primitive entries [first, last); returns its number.
  unsigned int makeNode(unsigned int first, unsigned int last) {
    const unsigned int number = mNumbers[mNbTaken++];
    const unsigned int count = last - first;
    if (count < 2 || (count <= mMaxLeafSize && mRandom.below(2) == 0)) {
      setLeaf(mBVH, number, boxOfLeaf(first, last), first, count);
      return number;
    }
    unsigned int middle = first + 1 + mRandom.below(count - 1);
    const unsigned int odd = mRandom.below(8);
    if (odd == 0) middle = first + 1;  // a child of one triangle
    const bool mayBeEmpty = mHasEmptyLeaves && mNbTaken < mNumbers.size() / 2;
    if (odd == 1 && mayBeEmpty) middle = first;  // a child without triangles
    const unsigned int left = makeNode(first, middle);
    const unsigned int right = makeNode(middle, last);
    const qzBBox box = changed(mBVH.getNode(left).getBBox().bboxUnion(mBVH.getNode(right).getBBox()));
    setInner(mBVH, number, box, left, right | mRandom.below(16) << 28);
    return number;
  }

  qzBBox boxOfLeaf(unsigned int first, unsigned int last) {
    qzBBox box;
    for (unsigned int i = first; i < last; ++i) {
      for (int corner = 0; corner < 3; ++corner) box.selfExpand(cornerOf(mMesh, mBVH.getPrimitive(i), corner));
    }
    if (mBoxes == eNestedBoxes && mRandom.below(8) == 0) box = qzBBox(cornerOf(mMesh, mBVH.getPrimitive(0), 0));
    if (mBoxes == eNestedBoxes && first == last) box.selfExpand(mRandom.point(-1.0f, 1.0f));
    return changed(box);
  }

  qzBBox changed(const qzBBox& box) {
    const std::uint32_t kind = mRandom.below(12);
    if (mBoxes == eNestedBoxes && kind < 4) return enlarged(box);
    if (mBoxes == eCroppedBoxes && kind < 2) return cropped(box);
    if (mBoxes == eOddBoxes && kind < 4) return oddBox(mRandom);
    return box;
  }

  qzBBox cropped(const qzBBox& box) {
    Point min = box.getMinPoint(), max = box.getMaxPoint();
    const int axis = static_cast<int>(mRandom.below(3));
    float& side = mCropsMin ? min[axis] : max[axis];
    side = 0.5f * (box.getMinPoint()[axis] + box.getMaxPoint()[axis]);
    return qzBBox::Make(min, max);
  }

  qzBBox enlarged(const qzBBox& box) {
    const Point beyond[] = {Point(-kInf, -kInf, -kInf), Point(kInf, kInf, kInf), Point(1e38f, -3e38f, 0.0f),
                            Point(-0.0f, 0.0f, -0.0f),  box.getMinPoint(),       mRandom.point(-2.0f, 2.0f)};
    Point added = box.getMaxPoint();
    const int axis = static_cast<int>(mRandom.below(3));
    added[axis] = beyond[mRandom.below(6)][axis];
    return box.expand(added);
  }

  const qz::qzTriMesh& mMesh;
  const unsigned int mMaxLeafSize;
  const BoxKind mBoxes;
  const bool mHasEmptyLeaves, mCropsMin;
  Random& mRandom;
  qzGenericBVH mBVH;
  std::vector<unsigned int> mNumbers;
  unsigned int mNbTaken = 0;
};

Point anyPointOfTriangle(const qz::qzTriMesh& mesh, Random& random) {
  const float u = random.unit(), v = random.unit();
  const unsigned int triangle = random.below(nbTrianglesOf(mesh));
  return u + v <= 1.0f ? pointOn(mesh, triangle, u, v) : pointOn(mesh, triangle, 1.0f - u, 1.0f - v);
}

Point anyCorner(const qz::qzTriMesh& mesh, Random& random) {
  const unsigned int triangle = random.below(nbTrianglesOf(mesh));
  return cornerOf(mesh, triangle, static_cast<int>(random.below(3)));
}

}  // namespace

std::string difference(const OpenQBVH& library, const qzPlain::tQBVH& plain, NaNWords nans) {
  if (library.getNoNodes() != plain.mNoNodes) return "number of nodes";
  if (library.getNoTriangleQuadruplets() != plain.mNoQuadruplets) return "number of quadruplets";
  if (library.flags() != plain.mFlags) return "flags";
  for (const std::string& text :
       {differenceOfWords("node", library.nodeWords(), plain.mNodes, plain.kNodeWords, eSameNaN),
        differenceOfWords("vertices", library.vertexWords(), plain.mVertices, plain.kVertexWords, eSameNaN),
        differenceOfWords("equations", library.equationWords(), plain.mEquations, plain.kEquationWords, nans),
        differenceOfWords("indices", library.indexWords(), plain.mIndices, plain.kIndexWords, eSameNaN)}) {
    if (!text.empty()) return text;
  }
  return sameBits(library.mRootBBox, plain.mRootBBox) ? "" : "root box";
}

qzGenericBVH linearBVH(const qz::qzTriMesh& mesh, unsigned int maxLeafSize) {
  const LogCapture quiet(false);
  qzGenericBVH bvh;
  qzLinearGenericBVHBuilder builder;
  builder.setMaxPrimitivesPerLeaf(maxLeafSize);
  builder.build(qzBVHTriangleContainer(mesh), bvh, nullptr, 20);
  return bvh;
}

void buildFromMesh(OpenQBVH& hierarchy, qzQBVH::tQBVHDataFlags flags, const qz::qzTriMesh& mesh,
                   unsigned int maxLeafSize) {
  const LogCapture quiet(false);
  hierarchy.buildFromMesh(flags, mesh, maxLeafSize);
}

void setLeaf(qzGenericBVH& bvh, unsigned int node, const qzBBox& box, unsigned int start, unsigned int count) {
  if (bvh.getNodes().size() <= node) bvh.editNodes().resize(node + 1);
  bvh.getNode(node).setBBox(box);
  bvh.getNode(node).setLeaf(start, count);
}

void setInner(qzGenericBVH& bvh, unsigned int node, const qzBBox& box, unsigned int left, unsigned int right) {
  if (bvh.getNodes().size() <= node) bvh.editNodes().resize(node + 1);
  bvh.getNode(node).setBBox(box);
  bvh.getNode(node).setNode(qzBBox::eAxisY, left, right, 0.0f);
}

qzGenericBVH randomBVH(const qz::qzTriMesh& mesh, unsigned int maxLeafSize, BoxKind boxes, Random& random) {
  return RandomBVHMaker(mesh, maxLeafSize, boxes, random).make();
}

Point pointOn(const qz::qzTriMesh& mesh, unsigned int triangle, float u, float v) {
  const Point a = cornerOf(mesh, triangle, 0), b = cornerOf(mesh, triangle, 1), c = cornerOf(mesh, triangle, 2);
  Point p;
  for (int axis = 0; axis < 3; ++axis) p[axis] = a[axis] + u * (b[axis] - a[axis]) + v * (c[axis] - a[axis]);
  return p;
}

std::ostream& operator<<(std::ostream& stream, const Ray& ray) {
  stream << std::hexfloat << "origin";
  for (int axis = 0; axis < 3; ++axis) stream << ' ' << ray.origin[axis];
  stream << " direction";
  for (int axis = 0; axis < 3; ++axis) stream << ' ' << ray.direction[axis];
  return stream << " tMin " << ray.tMin << " t " << ray.t << " policy " << ray.policy << std::defaultfloat;
}

const Wm4::Vector2<float> Answer::kUntouchedWeights(-7.0f, kNaN);

bool sameAnswer(const Answer& a, const Answer& b) {
  return a.hit == b.hit && sameBits(a.t, b.t) && sameBits(a.barycentric, b.barycentric) && a.triangle == b.triangle;
}

std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
  return stream << (answer.hit ? "hit" : "miss") << std::hexfloat << " t " << answer.t << " weights "
                << answer.barycentric[0] << ' ' << answer.barycentric[1] << std::defaultfloat << " triangle "
                << answer.triangle;
}

Answer cast(const qzQBVH& hierarchy, const Ray& ray) {
  Answer answer{false, ray.t};
  answer.hit = hierarchy.intersectRay(ray.origin, ray.direction, ray.tMin, answer.t, answer.barycentric,
                                      answer.triangle, qzQBVH::tIntersectionPolicy(ray.policy));
  return answer;
}

Answer cast(const qzPlain::tQBVH& hierarchy, const Ray& ray) {
  Answer answer{false, ray.t};
  answer.hit = qzPlain::intersectRay(hierarchy, ray.origin, ray.direction, ray.tMin, answer.t, answer.barycentric,
                                     answer.triangle, ray.policy);
  return answer;
}

Answer castSymmetric(const qzQBVH& hierarchy, const Ray& ray) {
  Answer answer{false, ray.t};
  answer.hit =
      hierarchy.intersectRaySymmetric(ray.origin, ray.direction, answer.t, answer.barycentric, answer.triangle);
  return answer;
}

Answer castSymmetric(const qzPlain::tQBVH& hierarchy, const Ray& ray) {
  Answer answer{false, ray.t};
  answer.hit = qzPlain::intersectRaySymmetric(hierarchy, ray.origin, ray.direction, answer.t, answer.barycentric,
                                              answer.triangle);
  return answer;
}

const std::vector<RayVariant>& rayVariants() {
  static const std::vector<RayVariant> kVariants = [] {
    std::vector<RayVariant> variants = {{"baseline ray", "baseline symmetric ray", qzDetail::castRayBaseline}};
#if defined(QZ_HAS_AVX_VARIANT)
    if (__builtin_cpu_supports("avx")) variants.push_back({"AVX ray", "AVX symmetric ray", qzDetail::castRayAvx});
#endif
    return variants;
  }();
  return kVariants;
}

namespace {

Answer traverse(const RayVariant& variant, const OpenQBVH& hierarchy, const Ray& ray,
                const qzDetail::tRayQuery& query) {
  const qzDetail::tRayHierarchy rows =
      qzDetail::viewRows(hierarchy.mNodes, hierarchy.mTriangleEquations, hierarchy.mTriangleIndices,
                         hierarchy.getNoNodes(), hierarchy.getNoTriangleQuadruplets(), hierarchy.mIsNested);
  qzDetail::tRayHit hit{ray.t};
  variant.traverse(rows, query, hit);
  if (hit.mTriangle == kNoTriangle) return {false, ray.t, Answer::kUntouchedWeights, kNoTriangle};
  return {true, hit.mT, Wm4::Vector2<float>(hit.mW, hit.mU), hit.mTriangle};
}

}  // namespace

Answer cast(const RayVariant& variant, const OpenQBVH& hierarchy, const Ray& ray) {
  return traverse(variant, hierarchy, ray, qzDetail::makeRayQuery(ray.origin, ray.direction, ray.tMin, ray.policy));
}

Answer castSymmetric(const RayVariant& variant, const OpenQBVH& hierarchy, const Ray& ray) {
  return traverse(variant, hierarchy, ray, qzDetail::makeSymmetricRayQuery(ray.origin, ray.direction));
}

Ray ordinaryRay(const qz::qzTriMesh& mesh, Random& random) {
  static const unsigned int kPolicies[] = {0, 1, 2, 3, 0xFFFFFFFFu};
  Ray ray;
  ray.policy = kPolicies[random.below(5)];
  ray.origin = random.point(-2.0f, 2.0f);
  switch (random.below(6)) {
    case 0:  // to a point of a triangle, which it reaches at 1 or so
      ray.direction = minus(anyPointOfTriangle(mesh, random), ray.origin);
      break;
    case 1:  // to a corner
      ray.direction = minus(anyCorner(mesh, random), ray.origin);
      break;
    case 2:  // from a triangle in any direction
      ray.origin = anyPointOfTriangle(mesh, random);
      ray.direction = random.point(-1.0f, 1.0f);
      break;
    case 3: {  // along an axis through a point of a triangle
      ray.origin = anyPointOfTriangle(mesh, random);
      const int axis = static_cast<int>(random.below(3));
      ray.origin[axis] = random.between(-2.0f, 2.0f);
      ray.direction = Point(0.0f, 0.0f, 0.0f);
      ray.direction[axis] = random.below(2) == 0 ? 1.0f : -1.0f;
      break;
    }
    case 4: {  // in the plane of an axis
      ray.direction = minus(anyPointOfTriangle(mesh, random), ray.origin);
      const int axis = static_cast<int>(random.below(3));
      ray.direction[axis] = random.below(2) == 0 ? 0.0f : -0.0f;
      break;
    }
    default:
      ray.direction = random.point(-1.0f, 1.0f);
      break;
  }
  if (random.below(4) == 0) ray.tMin = random.between(-1.0f, 1.0f);
  if (random.below(2) == 0) ray.t = random.between(0.0f, 3.0f);
  return ray;
}

Ray awkwardRay(const qz::qzTriMesh& mesh, Random& random) {
  Ray ray = ordinaryRay(mesh, random);
  // Makes one to three of its parts degenerate.
  for (unsigned int i = random.below(3) + 1; i > 0; --i) {
    const int axis = static_cast<int>(random.below(3));
    switch (random.below(8)) {
      case 0:
        ray.origin[axis] = random.anyFloat();
        break;
      case 1:
        ray.direction[axis] = random.anyFloat();
        break;
      case 2:
        ray.tMin = random.anyFloat();
        break;
      case 3:
        ray.t = random.anyFloat();
        break;
      case 4:
        ray.origin = anyCorner(mesh, random);
        break;
      case 5:
        ray.origin[axis] = anyCorner(mesh, random)[axis];
        break;
      case 6: {
        const float scales[] = {0.0f, -0.0f, 0x1p-149f, 0x1p-140f, 0x1p-126f, 0x1p-60f, 0x1p60f, 0x1p126f, kInf};
        const float scale = scales[random.below(9)];
        for (int a = 0; a < 3; ++a) ray.direction[a] *= scale;
        break;
      }
      default:
        ray.direction[axis] = random.below(2) == 0 ? 0.0f : -0.0f;
        break;
    }
  }
  return ray;
}

}  // namespace qzTest
