// qzLargeRun [triangles]: builds, checks and queries hierarchies over a terrain and a soup of that many triangles,
// ten million unless told otherwise. Prints a line per step, and what is wrong; exit code 1 if anything is.

#include <qzCommonAddOns/builders/qzBVHTriangleContainer.h>
#include <qzCommonAddOns/builders/qzLinearGenericBVHBuilder.h>
#include <toolkit/build/qzFeeder2D.h>
#include <toolkit/build/qzSAHFeeder.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "large/qzTreeCheck.h"
#include "plain/qzPlainHull.h"
#include "support/qzHash.h"
#include "support/qzObservers.h"
#include "support/scenes/qzBoxScenes.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"

using namespace qzTest;

namespace {

constexpr int kNbRays = 20000, kNbRaysAtAll = 100, kNbRegions = 2000;
bool isAllRight = true;

void complain(const std::string& what) {
  std::printf("  WRONG: %s\n", what.c_str());
  isAllRight = false;
}

/// Seconds since it was asked last.
double seconds() {
  static auto last = std::chrono::steady_clock::now();
  const auto now = std::chrono::steady_clock::now();
  const double result = std::chrono::duration<double>(now - last).count();
  last = now;
  return result;
}

void report(const char* tree, double buildSeconds, const TreeCheck& check) {
  std::printf(
      "  %-14s %9zu nodes  %9zu leaves of up to %zu  %3zu levels  %016llx  built in %.1f s, checked in %.1f s\n", tree,
      check.nbNodes, check.nbLeaves, check.largestLeaf, check.depth + 1,
      static_cast<unsigned long long>(check.fingerprint), buildSeconds, seconds());
  if (!check.fault.empty()) complain(std::string(tree) + ": " + check.fault);
  std::fflush(stdout);
}

qzGenericBVH checkLinear(const qz::qzTriMesh& mesh, const std::vector<qzBBox>& boxes) {
  const qzBVHTriangleContainer triangles(mesh);
  qzLinearGenericBVHBuilder builder;
  qzGenericBVH tree;
  seconds();
  builder.build(triangles, tree, nullptr, 20);
  const double buildSeconds = seconds();
  report("linear", buildSeconds, checkTree(tree, boxes, eAllReached));
  return tree;
}

void checkSurfaceArea(const qz::qzTriMesh& mesh, const std::vector<qzBBox>& boxes) {
  qzToolkit::qzSAHFeeder feeder;
  feeder.setMesh(mesh);
  qzGenericBVH tree;
  seconds();
  feeder.build(tree);
  const double buildSeconds = seconds();
  report("surface area", buildSeconds, checkTree(tree, boxes, eSomeSpare));
}

void check2D(const std::vector<qzBBox>& boxes) {
  std::vector<qzBBox2D> flat;
  flat.reserve(boxes.size());
  for (const qzBBox& box : boxes) {
    const Point &min = box.getMinPoint(), &max = box.getMaxPoint();
    flat.push_back(qzBBox2D::Make(min[0], min[1], max[0], max[1]));
  }
  qzToolkit::qzFeeder2D feeder;
  feeder.setPrimitives(flat);
  qzGenericBVH2D tree;
  seconds();
  feeder.build(tree, 16);
  const double buildSeconds = seconds();
  report("linear 2D", buildSeconds, checkTree(tree, flat, eAllReached));
}

// A cube of any half side around a point of the mesh, or beside it.
qzPlain::Planes anyCube(const qz::qzTriMesh& mesh, Random& random) {
  const Point center =
      random.below(2) == 0 ? pointOn(mesh, random.below(nbTrianglesOf(mesh)), 0.3f, 0.3f) : random.point(-1.2f, 1.2f);
  const float half = random.between(0.0f, 0.02f);
  qzPlain::Planes planes;
  for (int axis = 0; axis < 3; ++axis) {
    for (const float sign : {1.0f, -1.0f}) {
      float coefficients[3] = {0.0f, 0.0f, 0.0f};
      coefficients[axis] = sign;
      planes.emplace_back(coefficients[0], coefficients[1], coefficients[2], half - sign * center[axis]);
    }
  }
  return planes;
}

void checkRays(const OpenQBVH& hierarchy, const qzPlain::tQBVH& plain, const qz::qzTriMesh& mesh) {
  Random random(3);
  Hash hash;
  int nbHits = 0, nbDifferent = 0;
  for (int i = 0; i < kNbRays; ++i) {
    const Ray ray = ordinaryRay(mesh, random);
    const Answer answer = cast(hierarchy, ray);
    nbDifferent += !sameAnswer(answer, cast(plain, ray));
    nbDifferent += !sameAnswer(castSymmetric(hierarchy, ray), castSymmetric(plain, ray));
    nbHits += answer.hit;
    hash.add(answer.triangle);
    hash.add(answer.t);
  }
  std::printf("  %d rays, %d of them hit, compared with the plain form  %016llx  %.1f s\n", kNbRays, nbHits,
              static_cast<unsigned long long>(hash.value()), seconds());
  if (nbDifferent != 0) complain(std::to_string(nbDifferent) + " rays have another answer in the plain form");
  if (nbHits < kNbRays / 4) complain("too few rays hit");
}

// The plain form without its nodes is one leaf of all triangles. Of equal distances either may be met first.
void checkRaysAtAll(const OpenQBVH& hierarchy, qzPlain::tQBVH& plain, const qz::qzTriMesh& mesh) {
  Random random(5);
  plain.mNoNodes = 0;
  int nbHits = 0, nbDifferent = 0;
  for (int i = 0; i < kNbRaysAtAll; ++i) {
    const Ray ray = ordinaryRay(mesh, random);
    const Answer answer = cast(hierarchy, ray), expected = cast(plain, ray);
    nbDifferent += answer.hit != expected.hit || !sameBits(answer.t, expected.t);
    nbHits += answer.hit;
  }
  std::printf("  %d rays, %d of them hit, compared with all triangles  %.1f s\n", kNbRaysAtAll, nbHits, seconds());
  if (nbDifferent != 0) complain(std::to_string(nbDifferent) + " rays have another answer over all triangles");
  if (nbHits < kNbRaysAtAll / 4) complain("too few rays hit");
}

void checkRegions(const OpenQBVH& hierarchy, const qzPlain::tQBVH& plain, const qz::qzTriMesh& mesh) {
  Random random(4);
  int nbYes = 0, nbDifferent = 0;
  for (int i = 0; i < kNbRegions; ++i) {
    const qzPlain::Planes planes = anyCube(mesh, random);
    qzQBVH::tSOASinglePlaneEqn set[6];
    qzQBVH::InitSOAPlaneEquationSet(planes.data(), set, 6);
    const bool answer = hierarchy.intersectConvexHull(set, 6);
    nbDifferent += answer != qzPlain::intersectConvexHull(plain, planes);
    nbYes += answer;
  }
  std::printf("  %d regions, %d of them intersected, compared with the plain form  %.1f s\n", kNbRegions, nbYes,
              seconds());
  if (nbDifferent != 0) complain(std::to_string(nbDifferent) + " regions have another answer in the plain form");
  if (nbYes == 0 || nbYes == kNbRegions) complain("all regions have the same answer");
}

void checkFourWide(const qz::qzTriMesh& mesh, const qzGenericBVH& tree) {
  OpenQBVH hierarchy;
  seconds();
  buildFromMesh(hierarchy, kBothArrays, mesh, 4);
  const double buildSeconds = seconds();
  qzPlain::tQBVH plain = qzPlain::convert(kBothArrays, tree, mesh);
  const std::string fault = difference(hierarchy, plain);
  Hash hash;
  for (const std::uint32_t word : plain.mNodes) hash.add(word);
  for (const std::uint32_t word : plain.mIndices) hash.add(word);
  std::printf("  %-14s %9u nodes  %9u quadruplets  %016llx  built in %.1f s, compared with the plain form in %.1f s\n",
              "four-wide", hierarchy.getNoNodes(), hierarchy.getNoTriangleQuadruplets(),
              static_cast<unsigned long long>(hash.value()), buildSeconds, seconds());
  if (!fault.empty()) complain("four-wide: " + fault);
  std::fflush(stdout);
  checkRays(hierarchy, plain, mesh);
  checkRegions(hierarchy, plain, mesh);
  checkRaysAtAll(hierarchy, plain, mesh);
}

void checkMesh(const char* name, const qz::qzTriMesh& mesh) {
  std::printf("%s, %u triangles, made in %.1f s\n", name, nbTrianglesOf(mesh), seconds());
  std::fflush(stdout);
  const std::vector<qzBBox> boxes = boxesOf(mesh);
  const qzGenericBVH tree = checkLinear(mesh, boxes);
  checkSurfaceArea(mesh, boxes);
  check2D(boxes);
  checkFourWide(mesh, tree);
}

}  // namespace

int main(int argc, char** argv) {
  const int nbTriangles = argc > 1 ? std::atoi(argv[1]) : 10000000;
  if (argc > 2 || nbTriangles < 1000 || nbTriangles > 100000000) {
    std::fprintf(stderr, "usage: qzLargeRun [triangles, 1000 to 100000000]\n");
    return 2;
  }
  const LogCapture quiet(false);
  seconds();
  checkMesh("terrain", terrainMesh(static_cast<int>(std::ceil(std::sqrt(nbTriangles / 2.0))), 1));
  checkMesh("soup", soupMesh(nbTriangles, 2));
  std::printf(isAllRight ? "all right\n" : "something is WRONG\n");
  return isAllRight ? 0 : 1;
}
