// A MeshIndex when an allocation fails, of operator new or of an aligned block: std::bad_alloc leaves the call, nothing
// stays behind, and the next call succeeds. Everything runs on the calling thread; the scheduler's own memory is not
// counted.

#include <qzMeshQueries/MeshIndex.h>

#include <doctest/doctest.h>

#include <array>
#include <optional>

#include "support/qzRefusals.h"
#include "support/scenes/qzNearChecks.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

BuildOptions optionsOf(Quality quality) {
  BuildOptions options;
  options.quality = quality;
  options.threads = 1;
  return options;
}

/// Rays and the answers of the plain form.
struct Probe {
  std::vector<Ray> rays;
  std::vector<RayAnswers> expected;

  explicit Probe(const QueryMesh& mesh) {
    QueryRays source(mesh, 1501);
    const qzPlain::tRayQueries plain(mesh.view());
    for (int i = 0; i < 30; ++i) {
      rays.push_back(source.any());
      expected.push_back(answersOf(plain, rays.back()));
    }
  }
};

constexpr Quality kQualities[] = {Quality::fast, Quality::good, Quality::best};

}  // namespace

TEST_CASE("a construction without memory throws, leaves nothing behind, and the next one succeeds") {
  // The larger mesh has more triangles than one part of a build, and many allocations.
  const QueryMesh small = queryMeshOf("terrain", terrainMesh(16, 1502));
  const QueryMesh large = queryMeshOf("terrain", terrainMesh(70, 1502));
  const QueryMesh cube = cubeMesh();
  const Probe smallProbe(small), largeProbe(large);
  for (int i = 0; i < 6; ++i) {
    const Quality quality = kQualities[i / 2];
    const bool isSmall = i % 2 == 0;
    const QueryMesh& mesh = isSmall ? small : large;
    const Probe& probe = isSmall ? smallProbe : largeProbe;
    const std::uint64_t step = isSmall ? 1 : 13;
    const BuildOptions options = optionsOf(quality);
    const MeshIndex whole(mesh.view(), options);  // now the scheduler has what it needs
    const std::uint64_t nbRefused = refuseEachInTurn(
        [&](const Refusal& refusal) {
          std::optional<MeshIndex> index;
          const bool isRefused = refusal.strikes([&] { index.emplace(mesh.view(), options); });
          CHECK(index.has_value() != isRefused);
          if (!isRefused) CHECK(wrongBatch(*index, probe.expected, probe.rays, {}, 1) == "");
          return isRefused;
        },
        step);
    CHECK(nbRefused >= 2);
    // An assignment from one that fails leaves the index as it was.
    refuseEachInTurn(
        [&](const Refusal& refusal) {
          MeshIndex index(cube.view(), options);
          const auto digest = index.meshDigest();
          const bool isRefused = refusal.strikes([&] { index = MeshIndex(mesh.view(), options); });
          CHECK(index.meshDigest() == (isRefused ? digest : whole.meshDigest()));
          return isRefused;
        },
        step);
  }
}

TEST_CASE("a construction without memory for an aligned block throws, and the next one succeeds") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(70, 1503));
  const Probe probe(mesh);
  for (const Quality quality : kQualities) {
    const BuildOptions options = optionsOf(quality);
    for (const RefusedAllocation::Span span : {RefusedAllocation::eOnce, RefusedAllocation::eFromThenOn}) {
      std::uint64_t number = 0;
      for (bool isRefused = true; isRefused; ++number) {
        bool hasThrown = false;
        std::size_t left;
        {
          const HeapWatch heap;
          const RefusedAllocation refused(number, span, RefusedAllocation::eAlignedBlock);
          try {
            const MeshIndex index(mesh.view(), options);
          } catch (const std::bad_alloc&) {
            hasThrown = true;
          }
          isRefused = refused.hasHappened();
          left = heap.held();
        }
        INFO("block ", number, ", quality ", int(quality));
        CHECK(hasThrown == isRefused);
        CHECK(left == 0);
      }
      CHECK(number >= 3);  // nodes and triangles at least
      CHECK(wrongBatch(MeshIndex(mesh.view(), options), probe.expected, probe.rays, {}, 1) == "");
    }
  }
}

TEST_CASE("allHits without memory throws, and the next one gives all hits") {
  const QueryMesh mesh = joined("", starMesh(2, 1504), transformed(starMesh(2, 1505), 0.9f, 0.0f, 0.1f, 0.0f));
  const MeshIndex index(mesh.view(), optionsOf(Quality::good));
  const Ray ray = {{-3.0f, 0.05f, 0.02f}, 0.0f, {1.0f, 0.0f, 0.0f}, kInf};
  const std::vector<Hit> expected = qzPlain::tRayQueries(mesh.view()).allHits(ray);
  REQUIRE(expected.size() >= 4);
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    std::vector<Hit> hits;
    const bool isRefused = refusal.strikes([&] { index.allHits(ray, hits); });
    index.allHits(ray, hits);
    CHECK(sameHits(hits, expected));
    return isRefused;
  });
  CHECK(nbRefused >= 1);
}

TEST_CASE("batches without memory throw, and the next ones give all answers") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(12, 1506));
  QueryRays source(mesh, 1507);
  std::vector<Ray> rays = source.camera(32, 20);
  while (rays.size() < 5000) rays.push_back(source.chord());
  std::vector<RayAnswers> expected;
  const qzPlain::tRayQueries plain(mesh.view());
  for (const Ray& ray : rays) expected.push_back(answersOf(plain, ray));
  const MeshIndex index(mesh.view(), optionsOf(Quality::good));
  REQUIRE(wrongBatch(index, expected, rays, {}, 1) == "");

  const std::uint64_t nbOfLists = refuseEachInTurn([&](const Refusal& refusal) {
    Lists<Hit> lists;
    return refusal.strikes([&] { lists = index.allHits(rays.data(), rays.size(), {}, 1); });
  });
  CHECK(nbOfLists >= 2);
  std::vector<Hit> hits(rays.size());
  std::vector<std::uint8_t> isHit(rays.size());
  std::vector<Crossings> crossings(rays.size());
  refuseEachInTurn([&](const Refusal& refusal) {
    return refusal.strikes([&] { index.closestHits(rays.data(), rays.size(), hits.data(), {}, 1); });
  });
  refuseEachInTurn([&](const Refusal& refusal) {
    return refusal.strikes([&] { index.anyHits(rays.data(), rays.size(), isHit.data(), {}, 1); });
  });
  refuseEachInTurn([&](const Refusal& refusal) {
    return refusal.strikes([&] { index.crossings(rays.data(), rays.size(), crossings.data(), {}, 1); });
  });
  CHECK(wrongBatch(index, expected, rays, {}, 1) == "");
}

TEST_CASE("single questions without lists allocate nothing") {
  QueryMesh mesh = starMesh(2, 1508);
  mesh.triangles.resize(mesh.triangles.size() - 30);
  const MeshIndex index(mesh.view(), optionsOf(Quality::good));
  CHECK(!index.isClosed());  // finds the boundary
  QueryRays source(mesh, 1509);
  const std::vector<Ray> rays = source.many(200);
  std::size_t nbAllocations, nbHits = 0;
  std::vector<Hit> room(1000);
  {
    const HeapWatch heap;
    for (const Ray& ray : rays) {
      nbHits += static_cast<bool>(index.closestHit(ray));
      nbHits += index.anyHit(ray);
      nbHits += index.crossings(ray).front;
      nbHits += static_cast<bool>(index.nearest(ray.origin));
      nbHits += index.windingNumber(ray.origin) > 0.1;
      nbHits += index.contains(ray.origin);
      nbHits += index.signedDistance(ray.origin) < 0.0f;
      index.allHits(ray, room);  // has room already
    }
    nbAllocations = heap.nbAllocations();
  }
  CHECK(nbHits > 100);
  CHECK(nbAllocations == 0);
}

TEST_CASE("the first question for the boundary throws without memory, and the next one answers") {
  QueryMesh mesh = starMesh(2, 1510);
  mesh.triangles.resize(mesh.triangles.size() - 30);
  const MeshIndex probe(mesh.view(), optionsOf(Quality::good));
  const float point[3] = {0.01f, 0.02f, 0.03f};
  const double winding = probe.windingNumber(point);
  const float distance = probe.signedDistance(point);
  REQUIRE(winding > 0.5);
  REQUIRE(distance < 0.0f);
  int question = 0;
  const auto ask = [&](const MeshIndex& index) {
    switch (question) {
      case 0:
        return !index.isClosed();
      case 1:
        return sameBits(index.windingNumber(point), winding);
      case 2:
        return index.contains(point);
      default:
        return sameBits(index.signedDistance(point), distance);
    }
  };
  for (; question < 4; ++question) {
    const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
      const MeshIndex index(mesh.view(), optionsOf(Quality::good));
      const std::size_t before = index.memoryUsed();
      bool isRight = true;
      const bool isRefused = refusal.strikes([&] { isRight = ask(index); });
      CHECK(isRight);
      CHECK((index.memoryUsed() == before) == isRefused);
      CHECK(ask(index));
      CHECK(index.memoryUsed() > before);
      return isRefused;
    });
    CHECK(nbRefused >= 10);
  }
}

TEST_CASE("batches of points without memory throw, and the next ones give all answers") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(6, 1511));
  const MeshIndex index(mesh.view(), optionsOf(Quality::good));
  std::vector<std::array<float, 3>> places(3000);
  Random random(1512);
  for (auto& place : places)
    for (float& coordinate : place) coordinate = random.between(-1.0f, 1.0f);
  const auto points = reinterpret_cast<const float(*)[3]>(places.data());
  std::vector<double> windings(places.size());
  std::vector<float> distances(places.size());
  index.windingNumbers(points, places.size(), windings.data(), 1);  // now the boundary is known
  const std::uint64_t nbOfWindings = refuseEachInTurn([&](const Refusal& refusal) {
    return refusal.strikes([&] { index.windingNumbers(points, places.size(), windings.data(), 1); });
  });
  const std::uint64_t nbOfDistances = refuseEachInTurn([&](const Refusal& refusal) {
    return refusal.strikes([&] { index.signedDistances(points, places.size(), distances.data(), 1); });
  });
  CHECK(nbOfWindings >= 1);
  CHECK(nbOfDistances > nbOfWindings);
  int nbWrong = 0;
  for (std::size_t i = 0; i < places.size(); ++i)
    nbWrong += !sameBits(windings[i], index.windingNumber(points[i])) ||
               !sameBits(distances[i], index.signedDistance(points[i]));
  CHECK(nbWrong == 0);
}

TEST_CASE("lists of triangles without memory throw, and the next ones are whole") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(20, 1513));
  const MeshIndex index(mesh.view(), optionsOf(Quality::good));
  const qzPlain::tNearQueries plain(mesh.view());
  NearQuestions questions(mesh, 1514);
  NearQuestion question = questions.any();
  for (NearAnswers expected;; question = questions.any()) {
    expected = nearAnswersOf(plain, question);
    if (expected.inBox.size() < 300 || expected.inSphere.size() < 300 || expected.inRegion.size() < 300) continue;
    const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
      const bool isRefused = refusal.strikes([&] { nearAnswersOf(index, question); });
      CHECK(wrongAnswer(index, expected, question) == "");
      return isRefused;
    });
    CHECK(nbRefused >= 6);
    break;
  }
}

TEST_CASE("a batch of nearest points without memory throws, and the next one is whole") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(6, 1515));
  const MeshIndex index(mesh.view(), optionsOf(Quality::good));
  const qzPlain::tNearQueries plain(mesh.view());
  const std::vector<Place> points = NearQuestions(mesh, 1516).grid(9);
  std::vector<Nearest> expected, nearest(points.size());
  for (const Place& point : points) expected.push_back(plain.nearest(point.data()));
  const std::uint64_t nbRefused = refuseEachInTurn([&](const Refusal& refusal) {
    return refusal.strikes([&] {
      index.nearests(reinterpret_cast<const float(*)[3]>(points.data()), points.size(), nearest.data(), kInf, 1);
    });
  });
  CHECK(nbRefused >= 2);
  CHECK(wrongBatch(index, expected, points, kInf, 1) == "");
}
