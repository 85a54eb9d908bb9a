// The rule behind every answer: an index over n triangles answers as n indices over one triangle each would, combined
// by smallest t and number, by or, by union and by sum. So an index over parts of a mesh does, too.

#include <doctest/doctest.h>

#include <algorithm>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

/// The answers of several indices as those of one.
RayAnswers combined(const std::vector<MeshIndex>& parts, const Ray& ray, const RayOptions& options) {
  RayAnswers answers;
  for (const MeshIndex& part : parts) {
    const Hit closest = part.closestHit(ray, options);
    const bool isFirst = !answers.closest && closest;
    if (isFirst || closest.t < answers.closest.t ||
        (closest.t == answers.closest.t && closest.triangle < answers.closest.triangle))
      answers.closest = closest;
    answers.isHit = answers.isHit || part.anyHit(ray, options);
    std::vector<Hit> hits;
    part.allHits(ray, hits, options);
    answers.all.insert(answers.all.end(), hits.begin(), hits.end());
    const Crossings crossings = part.crossings(ray, options);
    answers.crossings.front += crossings.front;
    answers.crossings.back += crossings.back;
  }
  std::sort(answers.all.begin(), answers.all.end(),
            [](const Hit& a, const Hit& b) { return a.t != b.t ? a.t < b.t : a.triangle < b.triangle; });
  return answers;
}

/// Indices over so many triangles each, or over random numbers of them if size is 0.
std::vector<MeshIndex> partsOf(const QueryMesh& mesh, std::uint32_t firstTriangle, std::size_t size) {
  std::vector<MeshIndex> parts;
  Random random(500);
  for (std::size_t i = 0; i < mesh.triangleCount();) {
    const std::size_t wanted = size > 0 ? size : 1 + random.below(40);
    const std::size_t count = std::min(wanted, mesh.triangleCount() - i);
    BuildOptions options;
    options.quality = allQualities()[parts.size() % 3];
    options.threads = 1;
    options.firstTriangle = firstTriangle + static_cast<std::uint32_t>(i);
    parts.emplace_back(mesh.view(i, count), options);
    i += count;
  }
  return parts;
}

void checkParts(const QueryMesh& mesh, std::uint32_t firstTriangle, std::size_t size, std::uint32_t seed) {
  BuildOptions options;
  options.firstTriangle = firstTriangle;
  const MeshIndex whole(mesh.view(), options);
  const std::vector<MeshIndex> parts = partsOf(mesh, firstTriangle, size);
  QueryRays rays(mesh, seed);
  std::vector<Ray> batch;
  std::vector<RayAnswers> answers;
  for (int i = 0; i < 150; ++i) {
    const Ray ray = rays.any();
    RayOptions choice = rays.anyOptions();
    if (choice.skip != kNone) choice.skip += firstTriangle;
    const std::string wrong = wrongAnswer(whole, combined(parts, ray, choice), ray, choice);
    if (!wrong.empty()) FAIL_CHECK(mesh.name, ": ", wrong);
    batch.push_back(ray);
    answers.push_back(combined(parts, ray, {}));
  }
  const std::string wrong = wrongBatch(whole, answers, batch);
  if (!wrong.empty()) FAIL_CHECK(mesh.name, ": ", wrong);
}

}  // namespace

TEST_CASE("an index over n triangles answers as n indices over one triangle each, combined") {
  std::uint32_t seed = 510;
  for (const QueryMesh& mesh : difficultMeshes()) {
    ++seed;
    checkParts(mesh, seed % 2 == 0 ? 0 : 1000, 1, seed);
  }
}

TEST_CASE("indices over parts of a mesh answer together as an index over all of it") {
  std::uint32_t seed = 560;
  for (const QueryMesh& mesh : difficultMeshes()) checkParts(mesh, 7, 0, ++seed);
  const QueryMesh terrain = queryMeshOf("terrain", terrainMesh(30, 601));
  checkParts(terrain, 0, 300, 602);
  // The last number is the one before kNone.
  checkParts(terrain, kNone - static_cast<std::uint32_t>(terrain.triangleCount()), 700, 603);
}

TEST_CASE("firstTriangle is added to every reported number, and skip names a reported number") {
  const QueryMesh mesh = cubeMesh();
  const Ray ray = {{0.1f, 0.2f, -3.0f}, 0.0f, {0.0f, 0.0f, 1.0f}, kInf};
  const Hit plain = qzPlain::tRayQueries(mesh.view()).closestHit(ray);
  REQUIRE(static_cast<bool>(plain));
  for (const std::uint32_t first : {0u, 1u, 1000u, kNone - 12u}) {
    BuildOptions options;
    options.firstTriangle = first;
    const MeshIndex index(mesh.view(), options);
    const Hit hit = index.closestHit(ray);
    CHECK(hit.triangle == plain.triangle + first);
    // Numbers that other meshes have are not in the way.
    for (const std::uint32_t skip : {plain.triangle, first - 1, first + 12, kNone}) {
      RayOptions others;
      others.skip = skip;
      if (skip != hit.triangle) CHECK(sameBits(index.closestHit(ray, others), hit));
    }
    RayOptions own;
    own.skip = hit.triangle;
    const Hit next = index.closestHit(ray, own);
    CHECK(next.triangle != hit.triangle);
    CHECK(next.t > hit.t);
    Hit hits[1];
    index.closestHits(&ray, 1, hits, own);
    CHECK(sameBits(hits[0], next));
    CHECK(index.crossings(ray, own).front == 0);
    CHECK(index.crossings(ray, own).back == 1);
    std::vector<Hit> all;
    index.allHits(ray, all);
    REQUIRE(all.size() == 2);
    CHECK(sameBits(all[0], hit));
    CHECK(sameBits(all[1], next));
    const Lists<Hit> lists = index.allHits(&ray, 1);
    REQUIRE(lists.items.size() == 2);
    CHECK(sameBits(lists.items[0], hit));
    CHECK(sameBits(lists.items[1], next));
  }
}

TEST_CASE("an answer does not change with the rest of the mesh") {
  // A far vertex, other triangles behind, another place in the list: the hit on one triangle keeps its bits.
  Random random(610);
  const QueryMesh small = starMesh(1, 611);
  const QueryMesh far = transformed(icosphereMesh(1), 1e12f, 5e14f, -5e14f, 5e14f);
  const QueryMesh both = joined("", small, far);
  const QueryMesh reverse = joined("", far, small);
  const MeshIndex ofSmall(small.view()), ofBoth(both.view());
  BuildOptions options;
  options.firstTriangle = 0;
  const MeshIndex ofReverse(reverse.view(), options);
  const auto nbFar = static_cast<std::uint32_t>(far.triangleCount());
  QueryRays rays(small, 612);
  int nbHits = 0;
  for (int i = 0; i < 500; ++i) {
    const Ray ray = rays.chord();
    const Hit hit = ofSmall.closestHit(ray);
    if (!hit) continue;
    ++nbHits;
    CHECK(sameBits(ofBoth.closestHit(ray), hit));
    Hit inReverse = ofReverse.closestHit(ray);
    inReverse.triangle -= nbFar;
    CHECK(sameBits(inReverse, hit));
  }
  CHECK(nbHits > 100);
}
