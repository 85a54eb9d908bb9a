// Compiled with the flags of the caller, -ffast-math and others: nothing here may add, multiply or compare floats.
// The library's results are read as bits.

#include "everywhere/qzFingerprints.h"

#include "everywhere/qzRayCaster.h"
#include "support/access/qzOpenQBVH.h"
#include "support/qzHash.h"
#include "support/qzObservers.h"
#include "support/qzStandardStream.h"

#include <qzCommonAddOns/qzCommonAddOns.h>

#include <sstream>

namespace qzTest {

// Of each of seven kinds, and regions.
const std::size_t kFewRays = 500, kAllRays = 20000, kFewRegions = 100, kAllRegions = 1000;

namespace {

using Point2 = Wm4::Vector2<float>;

void add(Hash& hash, const RayAnswer& answer) {
  hash.addAll(answer.hit, answer.t, answer.weights[0], answer.weights[1], answer.triangle);
}

std::uint64_t hashOfFloats(const Words& words) {
  Hash hash;
  for (const std::uint32_t word : words) hash.addFloatBits(word);
  return hash.value();
}

std::uint64_t hashOfWords(const Words& words) {
  Hash hash;
  for (const std::uint32_t word : words) hash.add(word);
  return hash.value();
}

// The four arrays of a four-wide hierarchy, and the rest: counts, flags and the box of the root.
struct FourWideHashes {
  std::uint64_t nodes, vertices, equations, triangles, root;

  explicit FourWideHashes(const OpenQBVH& hierarchy)
      : nodes(hashOfNodes(hierarchy.nodeWords())),
        vertices(hashOfFloats(hierarchy.vertexWords())),
        equations(hashOfFloats(hierarchy.equationWords())),
        triangles(hashOfWords(hierarchy.indexWords())),
        root(hashOfRoot(hierarchy)) {}

  std::uint64_t all() const {
    Hash hash;
    for (const std::uint64_t part : {nodes, vertices, equations, triangles, root}) {
      hash.addAll(static_cast<std::uint32_t>(part), static_cast<std::uint32_t>(part >> 32));
    }
    return hash.value();
  }

 private:
  // Rows 0 to 5 of a node are its boxes, rows 6 and 7 words.
  static std::uint64_t hashOfNodes(const Words& words) {
    Hash hash;
    for (std::size_t i = 0; i < words.size(); ++i) i % 32 < 24 ? hash.addFloatBits(words[i]) : hash.add(words[i]);
    return hash.value();
  }
  static std::uint64_t hashOfRoot(const OpenQBVH& hierarchy) {
    Hash hash;
    hash.addAll(hierarchy.getNoNodes(), hierarchy.getNoTriangleQuadruplets(), hierarchy.flags(), hierarchy.mRootBBox);
    return hash.value();
  }
};

/// The surface-area builder over the triangles of a mesh.
class SurfaceAreaBuilder : public qzGenericBVHBuilder {
 public:
  explicit SurfaceAreaBuilder(const qzBVHTriangleContainer& container) {
    resizeItems(static_cast<int>(container.getQuantity()));
    for (unsigned int i = 0; i < container.getQuantity(); ++i) {
      mItemBBoxes[i] = *container.getBBox(i);
      mItemIndices[i] = i;
      mSceneBBox.selfUnion(*container.getBBox(i));
    }
  }
};

/// The builder in the plane over the triangles of a mesh, seen along an axis: the first corner is the point.
class PlaneBuilder : public qzLinearGenericBVH2DBuilder {
 public:
  PlaneBuilder(const EverywhereScene& scene, int axis) {
    const int x = (axis + 1) % 3, y = (axis + 2) % 3;
    mNbPrimitives = scene.nbTriangles();
    for (unsigned int i = 0; i < mNbPrimitives; ++i) {
      qzBBox2D box;
      for (unsigned int corner = 0; corner < 3; ++corner) {
        const Point point = scene.corner(i, corner);
        box.selfExpand(Point2(point[x], point[y]));
        if (corner == 0) mPoints.emplace_back(point[x], point[y]);
      }
      mBBoxes.push_back(box);
      mBounds.selfExpand(mPoints.back());
      mIndices.push_back(i);
    }
  }
};

/// Counts of leaves, the split planes of all nodes, and the two texts.
std::uint64_t hashOfStatistics(const qzGenericBVH& tree) {
  Hash hash;
  const StandardStream output;
  int nbNodes, nbLeaves, minPrimitives, maxPrimitives;
  float avgPrimitives;
  tree.getBVHInfo(nbNodes, nbLeaves, minPrimitives, maxPrimitives, avgPrimitives);
  hash.addAll(nbNodes, nbLeaves, minPrimitives, maxPrimitives, avgPrimitives);
  for (qzGNode node : tree.getNodes()) {
    if (node.isLeaf()) continue;
    const unsigned int position = static_cast<unsigned int>(nbLeaves) % 16;  // builders leave it at 0
    node.setNode(qzBBox::tAxis(node.getAxis()), 0, position << 28, avgPrimitives);
    hash.add(node.getSplitPlane());
  }
  std::ostringstream summary;
  summary << tree;
  hash.addAll(summary.str(), output.text());
  return hash.value();
}

std::uint64_t hashOfDump(const qzGenericBVH& tree) {
  Hash hash;
  const StandardStream output;
  tree.print();
  hash.add(output.text());
  return hash.value();
}

std::uint64_t hashOfPlaneTree(const EverywhereScene& scene, int axis, unsigned int bits, unsigned int maxPrimitives) {
  PlaneBuilder builder(scene, axis);
  builder.setMaxPrimitivesPerLeaf(maxPrimitives);
  qzGenericBVH2D tree;
  builder.build(tree, bits);
  Hash hash;
  for (const qzGNode2D& node : tree.getNodes()) {
    hash.addAll(node.getBBox(), node.isLeaf(), node.getPrimStartIdx(), node.getNoPrimitives());
  }
  for (unsigned int i = 0; i < scene.nbTriangles(); ++i) hash.add(tree.getPrimitive(i));
  int nbNodes, nbLeaves, minNumber, maxNumber;
  float average;
  tree.getBVHInfo(nbNodes, nbLeaves, minNumber, maxNumber, average);
  hash.addAll(nbNodes, nbLeaves, minNumber, maxNumber, average);
  return hash.value();
}

/// Every member of the boxes.
std::uint64_t hashOfBoxes(const std::vector<BoxProbe>& probes) {
  Hash hash;
  const qzDefaultSAH cost;
  for (const BoxProbe& probe : probes) {
    const Point &p = probe.corners[3], &d = probe.direction, *t = probe.triangle;
    const qzBBox box = qzBBox::RobustMake(probe.corners[0], probe.corners[1]);
    const qzBBox other = qzBBox::Make(probe.corners[2], p);
    const float number = probe.number;
    hash.addAll(box, other, box.getExtents(), box.getCenter(), box.volume(), box.halfArea(), cost.f(other, 7));
    qzBBox::tAxis axis;
    const float maxExtent = box.getMaxExtent(axis);
    hash.addAll(maxExtent, static_cast<std::uint32_t>(axis));
    const float minExtent = other.getMinExtent(axis);
    hash.addAll(minExtent, static_cast<std::uint32_t>(axis));
    hash.addAll(other.isEmpty(), other.hasExtent(), box.contains(p), box.strictlyContains(p), box.contains(other),
                box.overlaps(other), box.strictlyOverlaps(other), box.overlapsPlane(d, number),
                box.overlapsSphere(p, number), box.overlapsTriangle(t[0], t[1], t[2]));
    float tMin = number, tMax = p[1];
    const bool isHit = box.intersectRay(p, d, tMin, tMax);
    hash.addAll(isHit, tMin, tMax);
    hash.addAll(box.bboxUnion(other), box.bboxIntersection(other), box.expand(p), box.grow(number),
                box.projectOntoBBox(p), box.projectOntoBBox(Wm4::Vector4<float>(p[0], p[1], p[2], number)));
    for (const qzBBox::tAxis across : {qzBBox::eAxisX, qzBBox::eAxisY, qzBBox::eAxisZ}) {
      hash.addAll(box.getExtent(across), box.splitLeft(across, number), box.splitRight(across, number));
    }
    const Wm4::Box3<float> oriented = box.convert();
    hash.addAll(oriented.Center, oriented.Axis[0], oriented.Axis[1], oriented.Axis[2], oriented.Extent[0],
                oriented.Extent[1], oriented.Extent[2]);
  }
  return hash.value();
}

std::uint64_t hashOfBoxes2D(const std::vector<BoxProbe>& probes) {
  Hash hash;
  const auto flat = [](const Point& point) { return Point2(point[0], point[2]); };
  for (const BoxProbe& probe : probes) {
    const Point2 p = flat(probe.corners[3]);
    const qzBBox2D box = qzBBox2D::RobustMake(flat(probe.corners[0]), flat(probe.corners[1]));
    const qzBBox2D other = qzBBox2D::Make(flat(probe.corners[2]), p);
    hash.addAll(box, other, box.extentX(), box.extentY(), box.getCenter(), box.area(), other.isEmpty(),
                other.hasExtent(), box.contains(p), box.strictlyContains(p), box.overlaps(other),
                box.strictlyOverlaps(other), box.intersectSegment(p, flat(probe.triangle[0])), box.bboxUnion(other),
                box.bboxIntersection(other), box.expand(p), box.grow(probe.number), box.projectOntoBBox(p));
  }
  return hash.value();
}

/// Takes the fingerprints of one scene.
class Taker {
 public:
  Taker(const EverywhereScene& scene, const FingerprintEffort& effort) : mScene(scene), mEffort(effort) {}

  FingerprintResult take() {
    const qzBVHTriangleContainer container(mScene.mesh);
    takeInput(container);
    takeLinearTrees(container);
    qzGenericBVH surfaceAreaTree;
    SurfaceAreaBuilder(container).build(surfaceAreaTree);
    note("surface-area-tree", hashOfTree(surfaceAreaTree));
    note("surface-area-statistics", hashOfStatistics(surfaceAreaTree));

    OpenQBVH linear, surfaceArea;
    {
      const LogCapture quiet(false);
      linear.buildFromMesh(kBothArrays, mScene.mesh, 4);
      surfaceArea.buildFromBVH(kBothArrays, surfaceAreaTree, mScene.mesh);
    }
    const FourWideHashes hashes(linear);
    note("four-wide-nodes", hashes.nodes);
    note("four-wide-vertices", hashes.vertices);
    note("four-wide-equations", hashes.equations);
    note("four-wide-triangles", hashes.triangles);
    note("four-wide-root", hashes.root);
    note("four-wide-of-surface-area", FourWideHashes(surfaceArea).all());

    const RayBatch camera = cameraRays(mScene, kAllRays);
    const std::vector<RayAnswer> answers = cast("camera-rays", linear, camera);
    cast("bounce-rays", linear, bounceRays(mScene, camera, answers));
    cast("chord-rays", linear, chords(mScene, RayBatch::eFront, kAllRays));
    cast("edge-rays", linear, edgeRays(mScene, kAllRays));
    cast("axis-rays", linear, axisRays(mScene, kAllRays));
    cast("symmetric-rays", linear, chords(mScene, RayBatch::eSymmetric, kAllRays));
    cast("surface-area-rays", surfaceArea, chords(mScene, RayBatch::eBoth, kAllRays));
    takeRegions("regions", linear);
    takeRegions("surface-area-regions", surfaceArea);
    takeRest();
    return mResult;
  }

 private:
  void note(const std::string& part, std::uint64_t hash) { mResult.fingerprints.push_back({part, hash}); }

  void takeInput(const qzBVHTriangleContainer& container) {
    Hash corners, boxes, box;
    for (unsigned int i = 0; i < mScene.nbTriangles(); ++i) {
      for (unsigned int k = 0; k < 3; ++k) corners.add(mScene.corner(i, k));
      boxes.add(*container.getBBox(i));
    }
    note("mesh", corners.value());
    note("triangle-boxes", boxes.value());
    qz::qzTriMesh mesh = mScene.mesh;
    box.add(*qzBVHMeshContainer({&mesh}).getBBox(0));
    note("mesh-box", box.value());
  }

  void takeLinearTrees(const qzBVHTriangleContainer& container) {
    qzLinearGenericBVHBuilder builder;
    qzGenericBVH tree;
    {
      const LogCapture log;
      builder.build(container, tree, nullptr, 20);
      Hash records;
      for (const Record& record : log.records()) records.addAll(int(record.type), record.category, record.text);
      note("log", records.value());
    }
    note("linear-tree", hashOfTree(tree));
    note("linear-statistics", hashOfStatistics(tree));
    if (mScene.nbTriangles() < kTooManyToPrint) note("linear-dump", hashOfDump(tree));

    const LogCapture quiet(false);
    builder.setMaxPrimitivesPerLeaf(8);
    builder.build(container, tree, nullptr, 10);
    note("linear-tree-10-bits", hashOfTree(tree));
    builder.setMaxPrimitivesPerLeaf(1);
    builder.build(container, tree, nullptr, 21);
    note("linear-tree-21-bits", hashOfTree(tree));
  }

  /// Casts the rays and takes the fingerprint of the first few and of all.
  std::vector<RayAnswer> cast(const std::string& part, const qzQBVH& hierarchy, const RayBatch& batch) {
    const std::size_t count = mEffort.isShort ? kFewRays : kAllRays;
    std::vector<RayAnswer> answers = castAll(hierarchy, batch, count, mEffort.nbThreads);
    Hash hash;
    for (std::size_t i = 0; i < answers.size(); ++i) {
      add(hash, answers[i]);
      mResult.nbHits += answers[i].hit;
      if (i + 1 == kFewRays || i + 1 == kAllRays) note(part + "-" + std::to_string(i + 1), hash.value());
    }
    mResult.nbRays += answers.size();
    return answers;
  }

  void takeRegions(const std::string& part, const qzQBVH& hierarchy) {
    Hash hash;
    std::size_t count = 0;
    for (const auto& planes : regions(mScene, mEffort.isShort ? kFewRegions : kAllRegions)) {
      const unsigned int nbPlanes = static_cast<unsigned int>(planes.size());
      qzQBVH::tSOASinglePlaneEqn* set = qzQBVH::CreateSOAPlaneEquationSet(planes.data(), nbPlanes);
      hash.add(hierarchy.intersectConvexHull(set, nbPlanes));
      qzQBVH::DeleteSOAPlaneEquationSet(set);
      ++count;
      if (count == kFewRegions || count == kAllRegions) note(part + "-" + std::to_string(count), hash.value());
    }
    mResult.nbRegions += count;
  }

  void takeRest() {
    const std::vector<BoxProbe> probes = boxProbes(mScene, 500);
    note("boxes", hashOfBoxes(probes));
    note("plane-boxes", hashOfBoxes2D(probes));
    note("plane-tree-16-bits", hashOfPlaneTree(mScene, 2, 16, 1));
    note("plane-tree-10-bits", hashOfPlaneTree(mScene, 0, 10, 4));
  }

  static constexpr unsigned int kTooManyToPrint = 50000;

  const EverywhereScene& mScene;
  const FingerprintEffort mEffort;
  FingerprintResult mResult;
};

}  // namespace

FingerprintResult takeFingerprints(const EverywhereScene& scene, const FingerprintEffort& effort) {
  return Taker(scene, effort).take();
}

}  // namespace qzTest
