// Calls everything that computes and prints a line per function, "name hash of the results". Two runs of this program,
// compiled with different flags, must print the same.
//
// Its own flags must not matter for that: every float that goes in is made from integer bits, and every float that
// comes out is read as bits. Nothing here adds, multiplies or compares floats.

#include <qzCommonAddOns/qzCommonAddOns.h>
#include <qzSceneGraph/qzTriMesh.h>
#include <qzSystem/qzLog.h>
#include <xmmintrin.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/qzHash.h"
#include "support/qzStandardStream.h"

namespace {

using Point = Wm4::Vector3<float>;
using Point2 = Wm4::Vector2<float>;

using qzTest::floatFromBits;
using qzTest::Hash;
using qzTest::StandardStream;

std::map<std::string, Hash> hashes;

template <class Value>
void note(const char* function, const Value& value) {
  hashes[function].add(value);
}

/// What goes in. Floats of one kind, from raw bits.
class Source {
 public:
  enum Kind { eOrdinary, eSmall, eOdd };

  Source(Kind kind, std::uint32_t seed) : mKind(kind), mEngine(seed) {}

  std::uint32_t bits() { return static_cast<std::uint32_t>(mEngine()); }
  std::uint32_t below(std::uint32_t count) { return bits() % count; }

  float number() {
    const std::uint32_t sign = bits() & 0x80000000u, mantissa = bits() & 0x007FFFFFu;
    switch (mKind) {
      case eOrdinary:
        return floatFromBits(sign | (122u + below(6)) << 23 | mantissa);  // 2^-5 to 2
      case eSmall:
        return floatFromBits(sign | below(8) << 23 | mantissa);  // denormal to 2^-119
      case eOdd:
        break;
    }
    static const std::uint32_t kOdd[] = {0x00000000u, 0x80000000u, 0x3F800000u, 0xBF800000u, 0x7F800000u, 0xFF800000u,
                                         0x7FC00000u, 0xFFC00000u, 0x7F7FFFFFu, 0xFF7FFFFFu, 0x00000001u, 0x80000001u,
                                         0x00800000u, 0x3F000000u, 0x00400000u, 0x807FFFFFu};
    return floatFromBits(below(4) == 0 ? bits() : kOdd[below(16)]);
  }
  /// A positive number.
  float size() { return floatFromBits(qzTest::bitsOf(number()) & 0x7FFFFFFFu); }
  Point point() {
    const float x = number(), y = number(), z = number();
    return Point(x, y, z);
  }
  Point2 point2() {
    const float x = number(), y = number();
    return Point2(x, y);
  }
  qzBBox box() {
    const Point a = point(), b = point();
    return below(4) == 0 ? qzBBox::Make(a, b) : qzBBox::RobustMake(a, b);
  }
  qzBBox2D box2D() {
    const Point2 a = point2(), b = point2();
    return below(4) == 0 ? qzBBox2D::Make(a, b) : qzBBox2D::RobustMake(a, b);
  }
  qz::qzTriMesh mesh(int nbTriangles) {
    std::vector<Point> vertices;
    std::vector<int> indices;
    for (int i = 0; i < nbTriangles + 2; ++i) vertices.push_back(point());
    for (int i = 0; i < nbTriangles; ++i) {
      indices.push_back(i);
      for (int corner = 1; corner < 3; ++corner) {
        indices.push_back(below(8) == 0 ? i : static_cast<int>(below(static_cast<std::uint32_t>(vertices.size()))));
      }
    }
    return qz::qzTriMesh(qz::qzVertexBuffer(std::move(vertices)), qz::qzIndexBuffer(std::move(indices)));
  }

 private:
  Kind mKind;
  std::mt19937 mEngine;
};

/// The log of the builds.
class Log : public qz::qzLog {
 public:
  bool isLogTypeEnabled(qz::qzLogType) const override { return true; }
  void write(qz::qzLogType, const std::string& category, const std::string& text) override {
    note("log records", category + text);
  }
};

void callBoxes(Source& source) {
  for (int i = 0; i < 3000; ++i) {
    const qzBBox box = source.box(), o = source.box();
    const Point p = source.point(), q = source.point(), r = source.point();
    const float v = source.number(), w = source.number();
    note("qzBBox::qzBBox", qzBBox());
    note("qzBBox::qzBBox of a point", qzBBox(p));
    note("qzBBox::Make", qzBBox::Make(p, q));
    note("qzBBox::Make of six", qzBBox::Make(p[0], p[1], p[2], q[0], q[1], q[2]));
    note("qzBBox::RobustMake", qzBBox::RobustMake(p, q));
    note("qzBBox::RobustMake of six", qzBBox::RobustMake(p[0], p[1], p[2], q[0], q[1], q[2]));
    note("qzBBox::xMin and others", Point(box.xMin(), box.yMin(), box.zMin()));
    note("qzBBox::xMax and others", Point(box.xMax(), box.yMax(), box.zMax()));
    note("qzBBox::extentX", box.extentX());
    note("qzBBox::extentY", box.extentY());
    note("qzBBox::extentZ", box.extentZ());
    note("qzBBox::getExtents", box.getExtents());
    note("qzBBox::getCenter", box.getCenter());
    note("qzBBox::volume", box.volume());
    note("qzBBox::halfArea", box.halfArea());
    qzBBox::tAxis axis;
    note("qzBBox::getMaxExtent", box.getMaxExtent(axis));
    note("qzBBox::getMaxExtent", std::uint32_t(axis));
    note("qzBBox::getMinExtent", box.getMinExtent(axis));
    note("qzBBox::getMinExtent", std::uint32_t(axis));
    note("qzBBox::isEmpty", box.isEmpty());
    note("qzBBox::hasExtent", box.hasExtent());
    note("qzBBox::contains", box.contains(p));
    note("qzBBox::strictlyContains", box.strictlyContains(p));
    note("qzBBox::contains a box", box.contains(o));
    note("qzBBox::overlaps", box.overlaps(o));
    note("qzBBox::strictlyOverlaps", box.strictlyOverlaps(o));
    note("qzBBox::overlapsPlane", box.overlapsPlane(p, v));
    note("qzBBox::overlapsSphere", box.overlapsSphere(p, v));
    note("qzBBox::overlapsTriangle", box.overlapsTriangle(p, q, r));
    float tMin = v, tMax = w;
    note("qzBBox::intersectRay", box.intersectRay(p, q, tMin, tMax));
    note("qzBBox::intersectRay", tMin);
    note("qzBBox::intersectRay", tMax);
    note("qzBBox::bboxUnion", box.bboxUnion(o));
    note("qzBBox::bboxIntersection", box.bboxIntersection(o));
    note("qzBBox::expand", box.expand(p));
    note("qzBBox::grow", box.grow(v));
    qzBBox changed = box;
    note("qzBBox::selfExpand", changed.selfExpand(p));
    note("qzBBox::selfUnion", changed.selfUnion(o));
    note("qzBBox::selfGrow", changed.selfGrow(v));
    note("qzBBox::selfIntersection", changed.selfIntersection(box));
    note("qzBBox::projectOntoBBox", box.projectOntoBBox(p));
    note("qzBBox::projectOntoBBox of four", box.projectOntoBBox(Wm4::Vector4<float>(p[0], p[1], p[2], v)));
    for (const qzBBox::tAxis a : {qzBBox::eAxisX, qzBBox::eAxisY, qzBBox::eAxisZ}) {
      note("qzBBox::getExtent", box.getExtent(a));
      note("qzBBox::splitLeft", box.splitLeft(a, v));
      note("qzBBox::splitRight", box.splitRight(a, v));
      changed = box;
      note("qzBBox::split", changed.split(a, v));
      note("qzBBox::split", changed);
      qzGNode node;
      node.setBBox(box);
      const std::uint32_t left = source.bits(), right = source.bits();
      node.setNode(a, left, right, v);
      note("qzGNode::getSplitPlane", node.getSplitPlane());
    }
    const Wm4::Box3<float> converted = box.convert();
    note("qzBBox::convert", converted.Center);
    for (int k = 0; k < 3; ++k) {
      note("qzBBox::convert", converted.Axis[k]);
      note("qzBBox::convert", converted.Extent[k]);
    }
    note("qzDefaultSAH::f", qzDefaultSAH().f(box, source.below(100)));
  }
}

void callBoxes2D(Source& source) {
  for (int i = 0; i < 3000; ++i) {
    const qzBBox2D box = source.box2D(), o = source.box2D();
    const Point2 p = source.point2(), q = source.point2();
    const float v = source.number();
    note("qzBBox2D::qzBBox2D", qzBBox2D());
    note("qzBBox2D::qzBBox2D of a point", qzBBox2D(p));
    note("qzBBox2D::Make", qzBBox2D::Make(p, q));
    note("qzBBox2D::Make of four", qzBBox2D::Make(p[0], p[1], q[0], q[1]));
    note("qzBBox2D::RobustMake", qzBBox2D::RobustMake(p, q));
    note("qzBBox2D::RobustMake of four", qzBBox2D::RobustMake(p[0], p[1], q[0], q[1]));
    note("qzBBox2D::xMin and others", Wm4::Vector4<float>(box.xMin(), box.yMin(), box.xMax(), box.yMax()));
    note("qzBBox2D::extentX", box.extentX());
    note("qzBBox2D::extentY", box.extentY());
    note("qzBBox2D::getCenter", box.getCenter());
    note("qzBBox2D::area", box.area());
    note("qzBBox2D::isEmpty", box.isEmpty());
    note("qzBBox2D::hasExtent", box.hasExtent());
    note("qzBBox2D::contains", box.contains(p));
    note("qzBBox2D::strictlyContains", box.strictlyContains(p));
    note("qzBBox2D::overlaps", box.overlaps(o));
    note("qzBBox2D::strictlyOverlaps", box.strictlyOverlaps(o));
    note("qzBBox2D::intersectSegment", box.intersectSegment(p, q));
    note("qzBBox2D::bboxUnion", box.bboxUnion(o));
    note("qzBBox2D::bboxIntersection", box.bboxIntersection(o));
    note("qzBBox2D::expand", box.expand(p));
    note("qzBBox2D::grow", box.grow(v));
    qzBBox2D changed = box;
    note("qzBBox2D::selfExpand", changed.selfExpand(p));
    note("qzBBox2D::selfUnion", changed.selfUnion(o));
    note("qzBBox2D::selfGrow", changed.selfGrow(v));
    note("qzBBox2D::selfIntersection", changed.selfIntersection(box));
    note("qzBBox2D::projectOntoBBox", box.projectOntoBBox(p));
  }
}

void noteTree(const char* function, const qzGenericBVH& bvh) {
  const std::uint64_t hash = qzTest::hashOfTree(bvh);
  note(function, static_cast<std::uint32_t>(hash));
  note(function, static_cast<std::uint32_t>(hash >> 32));
}

/// Leaf statistics and the dump.
void callStatistics(const qzGenericBVH& bvh) {
  const StandardStream output;
  int nbNodes, nbLeaves, minPrimitives, maxPrimitives;
  float avgPrimitives;
  bvh.getBVHInfo(nbNodes, nbLeaves, minPrimitives, maxPrimitives, avgPrimitives);
  for (const int number : {nbNodes, nbLeaves, minPrimitives, maxPrimitives}) note("qzGenericBVH::getBVHInfo", number);
  note("qzGenericBVH::getBVHInfo", avgPrimitives);
  bvh.print();
  note("qzGenericBVH::print", output.text());
  std::ostringstream summary;
  summary << bvh;
  note("operator<< of a qzGenericBVH", summary.str());
}

/// Items of the surface-area builder are the boxes of a container.
class SurfaceAreaBuilder : public qzGenericBVHBuilder {
 public:
  SurfaceAreaBuilder(const qzBVHTriangleContainer& container) {
    resizeItems(static_cast<int>(container.getQuantity()));
    for (unsigned int i = 0; i < container.getQuantity(); ++i) {
      mItemBBoxes[i] = *container.getBBox(i);
      mItemIndices[i] = i;
      mSceneBBox.selfUnion(*container.getBBox(i));
    }
  }
};

class Builder2D : public qzLinearGenericBVH2DBuilder {
 public:
  Builder2D(Source& source, unsigned int n) {
    for (unsigned int i = 0; i < n; ++i) {
      mBBoxes.push_back(source.box2D());
      mPoints.push_back(source.point2());
      mBounds.selfExpand(mPoints.back());
      mIndices.push_back(i);
    }
    mNbPrimitives = n;
  }
};

void callTrees2D(Source& source) {
  for (const unsigned int bits : {4u, 12u, 16u}) {
    Builder2D builder(source, 500);
    qzGenericBVH2D bvh;
    builder.build(bvh, bits);
    for (const qzGNode2D& node : bvh.getNodes()) {
      note("qzLinearGenericBVH2DBuilder::build", node.getBBox());
      note("qzLinearGenericBVH2DBuilder::build", node.getPrimStartIdx());
      note("qzLinearGenericBVH2DBuilder::build", node.getNoPrimitives());
    }
    for (unsigned int i = 0; i < 500; ++i) note("qzLinearGenericBVH2DBuilder::build", bvh.getPrimitive(i));
    int nbNodes, nbLeaves, minPrimitives, maxPrimitives;
    float avgPrimitives;
    bvh.getBVHInfo(nbNodes, nbLeaves, minPrimitives, maxPrimitives, avgPrimitives);
    note("qzGenericBVH2D::getBVHInfo", nbLeaves);
    note("qzGenericBVH2D::getBVHInfo", avgPrimitives);
  }
}

void callQueries(const qzQBVH& qbvh, const char* ray, const char* symmetric, const char* hull, Source& source) {
  for (int i = 0; i < 400; ++i) {
    const Point origin = source.point(), direction = source.point();
    const float nearest = floatFromBits(source.below(2) == 0 ? 0u : 0xFF800000u);
    for (const auto policy : {qzQBVH::eIntersectBothFaces, qzQBVH::eIntersectFrontFaces, qzQBVH::eIntersectBackFaces}) {
      float t = floatFromBits(0x7F7FFFFFu);
      Point2 weights = source.point2();
      unsigned int triangle = 7;
      note(ray, qbvh.intersectRay(origin, direction, nearest, t, weights, triangle, policy));
      note(ray, t);
      note(ray, weights);
      note(ray, triangle);
    }
    float t = source.size();
    Point2 weights = source.point2();
    unsigned int triangle = 7;
    note(symmetric, qbvh.intersectRaySymmetric(origin, direction, t, weights, triangle));
    note(symmetric, t);
    note(symmetric, weights);
    note(symmetric, triangle);

    Wm4::Vector4<float> planes[5];
    for (Wm4::Vector4<float>& plane : planes) {
      for (int k = 0; k < 4; ++k) plane[k] = source.number();
    }
    const unsigned int nbPlanes = 1 + source.below(5);
    qzQBVH::tSOASinglePlaneEqn* set = qzQBVH::CreateSOAPlaneEquationSet(planes, nbPlanes);
    note(hull, qbvh.intersectConvexHull(set, nbPlanes));
    qzQBVH::DeleteSOAPlaneEquationSet(set);
  }
}

void callTrees(Source& source) {
  for (const int nbTriangles : {1, 3, 40, 1500}) {
    qz::qzTriMesh mesh = source.mesh(nbTriangles);
    const qzBVHTriangleContainer container(mesh);
    for (unsigned int i = 0; i < container.getQuantity(); ++i) note("qzBVHTriangleContainer", *container.getBBox(i));
    const qzBVHMeshContainer meshes({&mesh});
    note("qzBVHMeshContainer", *meshes.getBBox(0));

    for (const unsigned int bits : {5u, 10u, 20u, 21u}) {
      qzGenericBVH bvh;
      qzLinearGenericBVHBuilder builder;
      builder.setMaxPrimitivesPerLeaf(bits % 5);
      note("qzLinearGenericBVHBuilder::build", builder.build(container, bvh, nullptr, bits));
      noteTree("qzLinearGenericBVHBuilder::build", bvh);
      callStatistics(bvh);
      qzQBVH qbvh;
      qbvh.buildFromBVH(qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations, bvh, mesh);
      note("qzQBVH::buildFromBVH", qbvh.getNoNodes());
      note("qzQBVH::buildFromBVH", qbvh.getNoTriangleQuadruplets());
      callQueries(qbvh, "qzQBVH::intersectRay", "qzQBVH::intersectRaySymmetric", "qzQBVH::intersectConvexHull", source);
    }

    qzGenericBVH bvh;
    SurfaceAreaBuilder(container).build(bvh);
    noteTree("qzGenericBVHBuilder::build", bvh);
    callStatistics(bvh);

    qzQBVH qbvh;
    qbvh.buildFromMesh(qzQBVH::eTrianglesVertices | qzQBVH::eTrianglesEquations, mesh, 4);
    note("qzQBVH::buildFromMesh", qbvh.getNoNodes());
    callQueries(qbvh, "qzQBVH::intersectRay after buildFromMesh", "qzQBVH::intersectRaySymmetric after buildFromMesh",
                "qzQBVH::intersectConvexHull after buildFromMesh", source);
  }
}

}  // namespace

int main() {
  Log log;
  qz::qzLog::msInstance = &log;

  // For the reader, and so that the test knows that the flags did something: the processor's mode as main found it.
  std::printf("mode %04x\n", _mm_getcsr() & 0xFFC0u);

  std::uint32_t seed = 101;
  for (const Source::Kind kind : {Source::eOrdinary, Source::eSmall, Source::eOdd}) {
    Source source(kind, seed++);
    callBoxes(source);
    callBoxes2D(source);
    callTrees(source);
    callTrees2D(source);
    const char* names[] = {"ordinary", "small", "odd"};
    for (const auto& [function, hash] : hashes) {
      std::printf("%s, %s floats: %016llx\n", function.c_str(), names[kind],
                  static_cast<unsigned long long>(hash.value()));
    }
    hashes.clear();
  }
  return 0;
}
