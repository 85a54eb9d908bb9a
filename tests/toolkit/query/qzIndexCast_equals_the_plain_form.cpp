// Rays cast at an index through the toolkit, beside a loop over all triangles with the kernel.

#include <doctest/doctest.h>
#include <toolkit/base/qzError.h>
#include <toolkit/base/qzNumber.h>
#include <toolkit/query/qzIndexCast.h>
#include <toolkit/run/qzThreads.h>

#include <cmath>
#include <string>
#include <vector>

#include "plain/qzPlainRayQueries.h"
#include "support/qzBits.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzRayScenes.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzCancelAt.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

/// The plain form over the triangles of a mesh.
class PlainIndex {
 public:
  explicit PlainIndex(const qz::qzTriMesh& mesh) : mQueries(viewOf(mesh)) {}
  const qzPlain::tRayQueries& operator*() const { return mQueries; }

 private:
  qzMeshQueries::Mesh viewOf(const qz::qzTriMesh& mesh) {
    for (int i = 0; i < mesh.getVertexBuffer()->getNbVertices(); ++i) {
      for (int axis = 0; axis < 3; ++axis) mCoordinates.push_back(mesh.getVertexBuffer()->Position3(i)[axis]);
    }
    const int* const indices = mesh.getIndexBuffer()->getIndices();
    mNumbers.assign(indices, indices + mesh.getIndexBuffer()->getNbIndices());
    return {mCoordinates.data(), mCoordinates.size() / 3, mNumbers.data(), mNumbers.size() / 3};
  }

  std::vector<float> mCoordinates;
  std::vector<std::uint32_t> mNumbers;
  qzPlain::tRayQueries mQueries;
};

qzMeshQueries::Ray plainRay(const qzRay& ray) {
  const Point &o = ray.mOrigin, &d = ray.mDirection;
  return {{o[0], o[1], o[2]}, ray.mTMin, {d[0], d[1], d[2]}, ray.mTMax};
}

qzMeshQueries::RayOptions plainOptions(qzQBVH::tIntersectionPolicy policy) {
  using qzMeshQueries::Faces;
  const Faces faces[] = {Faces::both, Faces::front, Faces::back};
  return {faces[policy]};
}

constexpr qzQBVH::tIntersectionPolicy kPolicies[] = {qzQBVH::eIntersectBothFaces, qzQBVH::eIntersectFrontFaces,
                                                     qzQBVH::eIntersectBackFaces};

std::vector<qzRay> someRays(const qz::qzTriMesh& mesh, int count, Random& random) {
  std::vector<qzRay> rays;
  for (int i = 0; i < count; ++i) {
    const Ray ray = i % 5 == 0 ? awkwardRay(mesh, random) : ordinaryRay(mesh, random);
    rays.push_back({ray.origin, ray.direction, ray.tMin, ray.t});
  }
  return rays;
}

bool isSame(const qzHit& hit, const qzMeshQueries::Hit& plain) {
  if (!plain) return !hit.isHit() && hit.mTriangle == -1 && hit.mDistance == kInf && std::isnan(hit.mWeights[0]);
  return hit.mTriangle == static_cast<int>(plain.triangle) && sameBits(hit.mDistance, plain.t) &&
         sameBits(hit.mWeights[0], (1.0f - plain.u) - plain.v) && sameBits(hit.mWeights[1], plain.u) &&
         sameBits(hit.mWeights[2], plain.v);
}

std::string textOf(const qzMeshQueries::Hit& hit) {
  std::string text;
  appendNumber(text, hit.t);
  text += ',' + std::to_string(hit.triangle);
  for (const float weight : {(1.0f - hit.u) - hit.v, hit.u, hit.v}) appendNumber(text += ',', weight);
  return text + '\n';
}

/// The table of answers to the rays of a file.
std::string castFile(const TemporaryFolder& folder, const std::string& rays, const qzRayQuestion& question,
                     std::size_t blockSize, qzCastCounts& counts) {
  qzRayReader reader(rays, nullptr, blockSize);
  qzTableWriter table(folder.path("answers.csv"), question.mColumns);
  counts = castRays(reader, table, question, qzThreads(2));
  table.commit();
  return folder.read("answers.csv");
}

}  // namespace

TEST_CASE("nearest hits and symmetric hits of a batch are those of the plain form, for every policy") {
  const std::uint32_t seed = 3;
  CAPTURE(seed);
  Random random(seed);
  for (const auto& mesh : {terrainMesh(7, seed), awkwardMesh(150, seed), sphereMesh(6, 9)}) {
    const PlainIndex plain(mesh);
    const qzMeshQueries::MeshIndex index = makeIndex(mesh, {});
    CHECK(index.triangleCount() == nbTrianglesOf(mesh));
    const std::vector<qzRay> rays = someRays(mesh, 1500, random);
    std::vector<qzHit> hits(rays.size());
    int nbHits = 0, nbWrong = 0, nbBehind = 0;
    for (const auto policy : kPolicies) {
      castRays(index, rays.data(), rays.size(), policy, hits.data());
      for (std::size_t i = 0; i < rays.size(); ++i) {
        nbWrong += !isSame(hits[i], (*plain).closestHit(plainRay(rays[i]), plainOptions(policy)));
        nbHits += hits[i].isHit();
      }
    }
    castRaysSymmetric(index, rays.data(), rays.size(), hits.data());
    for (std::size_t i = 0; i < rays.size(); ++i) {
      qzRay ahead = rays[i], behind = rays[i];
      ahead.mTMin = behind.mTMin = 0.0f;
      for (int axis = 0; axis < 3; ++axis) behind.mDirection[axis] = -behind.mDirection[axis];
      const qzMeshQueries::Hit a = (*plain).closestHit(plainRay(ahead), plainOptions(qzQBVH::eIntersectFrontFaces)),
                               b = (*plain).closestHit(plainRay(behind), plainOptions(qzQBVH::eIntersectBackFaces));
      const bool isBehind = b.t < a.t || (b.t == a.t && b.triangle < a.triangle);
      nbWrong += !isSame(hits[i], isBehind ? b : a);
      nbBehind += isBehind;
    }
    CHECK(nbWrong == 0);
    CHECK(nbHits > 500);
    CHECK(nbBehind > 50);
  }
}

TEST_CASE("tables of any hit, of crossings and of all hits are those of the plain form, for any block size") {
  const std::uint32_t seed = 4;
  CAPTURE(seed);
  Random random(seed);
  const qz::qzTriMesh mesh = sphereMesh(6, 9);
  const PlainIndex plain(mesh);
  const qzMeshQueries::MeshIndex index = makeIndex(mesh, {});
  const std::vector<qzRay> rays = someRays(mesh, 600, random);
  const TemporaryFolder folder;
  std::string text = "ox,oy,oz,dx,dy,dz,tmin,tmax\n";
  for (const qzRay& ray : rays) {
    for (const Point& p : {ray.mOrigin, ray.mDirection}) {
      for (int axis = 0; axis < 3; ++axis) appendNumber(text, p[axis]), text += ',';
    }
    appendNumber(text, ray.mTMin);
    appendNumber(text += ',', ray.mTMax);
    text += "\n\n";
  }
  const std::string name = folder.write("rays.csv", text);
  for (const auto policy : kPolicies) {
    CAPTURE(policy);
    std::string any = "hit\n", count = "front,back\n", all = "ray,distance,triangle,weight0,weight1,weight2\n";
    std::size_t nbHits = 0, nbRows = 0;
    for (std::size_t i = 0; i < rays.size(); ++i) {
      const qzMeshQueries::Ray ray = plainRay(rays[i]);
      const qzMeshQueries::RayOptions options = plainOptions(policy);
      const bool isHit = (*plain).anyHit(ray, options);
      const qzMeshQueries::Crossings crossings = (*plain).crossings(ray, options);
      any += isHit ? "1\n" : "0\n";
      count += std::to_string(crossings.front) + ',' + std::to_string(crossings.back) + '\n';
      for (const qzMeshQueries::Hit& hit : (*plain).allHits(ray, options)) {
        all += std::to_string(i) + ',' + textOf(hit);
        ++nbRows;
      }
      nbHits += isHit;
    }
    CHECK(nbHits > 100);
    CHECK(nbRows > nbHits - (policy != qzQBVH::eIntersectBothFaces));
    for (const std::size_t blockSize : {std::size_t(1), std::size_t(500), qzRayReader::kBlockSize}) {
      CAPTURE(blockSize);
      qzCastCounts counts;
      CHECK((castFile(folder, name, askForAny(index, policy), blockSize, counts) == any));
      CHECK(counts.mNbHits == nbHits);
      CHECK((castFile(folder, name, askForCrossings(index, policy), blockSize, counts) == count));
      CHECK(counts.mNbHits == nbHits);
      CHECK((castFile(folder, name, askForAll(index, mesh, {}, policy), blockSize, counts) == all));
      CHECK(counts.mNbHits == nbHits);
      CHECK(counts.mNbRows == nbRows);
      CHECK(counts.mNbRays == rays.size());
    }
  }
}

TEST_CASE("the point of a hit lies on the ray and in the triangle, the normal is the triangle's") {
  const qz::qzTriMesh mesh = meshOfCorners({Point(1.0f, 1.0f, 2.0f), Point(5.0f, 1.0f, 2.0f), Point(1.0f, 9.0f, 2.0f)});
  std::vector<double> row;
  appendHit(row, mesh, {true, true}, qzHit(3.0f, 0u, Wm4::Vector2<float>(0.25f, 0.5f)));
  CHECK(row == std::vector<double>{3, 0, 0.25, 0.5, 0.25, 3, 3, 2, 0, 0, 1});
  row.clear();
  appendHit(row, mesh, {false, true}, qzHit(3.0f, 0u, Wm4::Vector2<float>(0.25f, 0.5f)));
  CHECK(row == std::vector<double>{3, 0, 0.25, 0.5, 0.25, 0, 0, 1});
  row.clear();
  appendHit(row, mesh, {true, true}, qzHit());
  REQUIRE(row.size() == 11);
  for (std::size_t i = 2; i < 11; ++i) CHECK(std::isnan(row[i]));
  CHECK(hitColumns({true, false}).size() == 8);
  CHECK(hitColumns({true, true}).back().mName == "nz");
}

TEST_CASE("an index refuses coordinates beyond 1e15 by the triangle, and can be cancelled") {
  const qz::qzTriMesh mesh =
      meshOfCorners({Point(0.0f, 0.0f, 0.0f), Point(1.0f, 0.0f, 0.0f), Point(0.0f, 2e15f, 0.0f)});
  CHECK(errorOf([&] { makeIndex(mesh, {}); }).find("triangle 0: ") == 0);
  qzMeshQueries::BuildOptions options;
  const CancelAt cancel(1);
  options.cancel = &cancel;
  CHECK_THROWS_AS(makeIndex(terrainMesh(60, 1), options), qzInterrupted);
}
