// Batches of rays against the plain form, ray by ray: any number, any order, on any number of threads, coherent or
// scattered, for trees of every quality and for every instruction set.

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "meshqueries/qzQueryBuilds.h"
#include "support/scenes/qzQueryChecks.h"

using namespace qzMeshQueries;
using namespace qzTest;

namespace {

/// Rays with the answers of the plain form.
struct Batch {
  std::vector<Ray> rays;
  std::vector<RayAnswers> expected;

  Batch() = default;
  Batch(const QueryMesh& mesh, const std::vector<Ray>& of, const RayOptions& options = {}) : rays(of) {
    const qzPlain::tRayQueries plain(mesh.view());
    for (const Ray& ray : rays) expected.push_back(answersOf(plain, ray, options));
  }

  Batch part(std::size_t first, std::size_t count) const {
    Batch result;
    for (std::size_t i = 0; i < count; ++i) {
      result.rays.push_back(rays[(first + i) % rays.size()]);
      result.expected.push_back(expected[(first + i) % rays.size()]);
    }
    return result;
  }
  Batch shuffled(std::uint32_t seed) const {
    Random random(seed);
    std::vector<std::size_t> order(rays.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    for (std::size_t i = order.size(); i > 1; --i)
      std::swap(order[i - 1], order[random.below(static_cast<std::uint32_t>(i))]);
    Batch result;
    for (const std::size_t i : order) {
      result.rays.push_back(rays[i]);
      result.expected.push_back(expected[i]);
    }
    return result;
  }
};

void append(std::vector<Ray>& rays, const std::vector<Ray>& more) {
  rays.insert(rays.end(), more.begin(), more.end());
}

/// Rays of all kinds in runs: pictures, parallel rays, scattered ones, the same ray many times.
std::vector<Ray> mixedRays(const QueryMesh& mesh, std::uint32_t seed) {
  QueryRays source(mesh, seed);
  std::vector<Ray> rays;
  append(rays, source.camera(64, 12));
  append(rays, source.many(300));
  append(rays, source.parallel(33, 20));
  append(rays, source.camera(17, 16));
  append(rays, std::vector<Ray>(300, source.chord()));
  append(rays, source.many(1000));
  append(rays, source.parallel(16, 16));
  while (rays.size() < 5000) rays.push_back(source.chord());
  return rays;
}

const std::vector<QueryMesh>& someMeshes() {
  static const std::vector<QueryMesh> meshes = {queryMeshOf("terrain", terrainMesh(16, 701)),
                                                queryMeshOf("awkward", awkwardMesh(300, 702)), gridBoxMesh(5)};
  return meshes;
}

}  // namespace

TEST_CASE("batches of every size, on any number of threads, answer as the plain form") {
  static const std::size_t kSizes[] = {0, 1, 2, 3, 7, 8, 9, 31, 32, 33, 255, 256, 257, 1000, 5000};
  std::uint32_t seed = 710;
  for (const QueryMesh& mesh : someMeshes()) {
    const Batch all(mesh, mixedRays(mesh, ++seed));
    Random random(++seed);
    forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
      for (const int threads : {1, 2, 3, 0}) {
        for (const std::size_t size : kSizes) {
          const Batch batch = all.part(size == 5000 ? 0 : random.below(5000), size);
          const std::string wrong = wrongBatch(index, batch.expected, batch.rays, {}, threads);
          if (!wrong.empty()) FAIL_CHECK(mesh.name, ", ", what, ", ", threads, " threads: ", wrong);
        }
      }
    });
  }
}

TEST_CASE("a shuffled batch gives the shuffled answers") {
  std::uint32_t seed = 720;
  for (const QueryMesh& mesh : someMeshes()) {
    ++seed;
    const Batch batch = Batch(mesh, mixedRays(mesh, seed)).shuffled(seed);
    forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
      for (const int threads : {1, 3}) {
        const std::string wrong = wrongBatch(index, batch.expected, batch.rays, {}, threads);
        if (!wrong.empty()) FAIL_CHECK(mesh.name, ", ", what, ", ", threads, " threads: ", wrong);
      }
    });
  }
}

TEST_CASE("batches on difficult meshes answer as the plain form, coherent or not") {
  std::uint32_t seed = 730;
  for (const QueryMesh& mesh : difficultMeshes()) {
    QueryRays source(mesh, ++seed);
    std::vector<Ray> rays = source.many(400);
    append(rays, source.camera(32, 24));
    append(rays, source.parallel(25, 16));
    append(rays, source.camera(5, 64));
    const Batch batch(mesh, rays);
    forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
      const std::string wrong = wrongBatch(index, batch.expected, batch.rays, {}, 1);
      if (!wrong.empty()) FAIL_CHECK(mesh.name, ", ", what, ": ", wrong);
    });
  }
}

TEST_CASE("pictures of any width answer as the plain form, also with other rays between theirs") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(12, 740));
  QueryRays source(mesh, 741);
  Random random(742);
  const std::vector<Quality>& qualities = allQualities();
  std::size_t picture = 0;
  for (const int width : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 64, 100}) {
    BuildOptions options;
    options.quality = qualities[picture++ % qualities.size()];
    const MeshIndex index(mesh.view(), options);
    for (int kind = 0; kind < 6; ++kind) {
      const int height = 1 + static_cast<int>(random.below(700)) / width;
      std::vector<Ray> rays = kind % 2 == 0 ? source.camera(width, height) : source.parallel(width, height);
      switch (kind / 2) {
        case 0:
          break;
        case 1:  // some rays are something else: not valid, scattered, the other way
          for (Ray& ray : rays) {
            if (random.below(20) == 0) ray = source.odd();
            if (random.below(40) == 0)
              for (float& component : ray.direction) component = -component;
          }
          break;
        default:  // every ray has limits of its own
          for (Ray& ray : rays) {
            ray.tMin = random.between(-1.0f, 3.0f);
            ray.tMax = ray.tMin + random.between(-0.1f, 3.0f);
          }
          break;
      }
      RayOptions choice;
      choice.faces = static_cast<Faces>(random.below(3));
      const Batch batch(mesh, rays, choice);
      for (const std::string& name : detail::instructionSets()) {
        const UsedInstructionSet used(name);
        const std::string wrong = wrongBatch(index, batch.expected, batch.rays, choice, 1);
        if (!wrong.empty()) FAIL_CHECK(width, " x ", height, ", kind ", kind, ", ", name, ": ", wrong);
      }
    }
  }
}

TEST_CASE("bundles of rays at one vertex, edge or face answer as the plain form, also where they end at their hits") {
  Random random(745);
  std::uint32_t seed = 746;
  std::size_t nbHits = 0;
  for (const QueryMesh& mesh : difficultMeshes()) {
    QueryRays source(mesh, ++seed);
    const qzPlain::tRayQueries plain(mesh.view());
    std::vector<Ray> rays;
    for (int bundle = 0; bundle < 60; ++bundle) {
      // Sixteen rays beside each other; some leave from one point, some run side by side.
      const Ray first = source.line();
      const float spread = std::ldexp(random.unit(), -4 - static_cast<int>(random.below(24)));
      const bool isParallel = random.below(3) == 0, isCone = random.below(3) == 0;
      for (int i = 0; i < 16; ++i) {
        Ray ray = first;
        for (std::size_t axis = 0; axis < 3; ++axis) {
          const float beside = random.between(-spread, spread) * std::fabs(first.direction[axis]);
          if (!isCone && i > 0) ray.origin[axis] += beside;
          if (!isParallel && i > 0) ray.direction[axis] -= beside;
        }
        if (bundle % 2 == 0) {
          const std::vector<Hit> hits = plain.allHits(ray);
          if (!hits.empty()) ray.tMin = ray.tMax = hits[random.below(static_cast<std::uint32_t>(hits.size()))].t;
        }
        rays.push_back(ray);
      }
    }
    const Batch batch(mesh, rays);
    for (const RayAnswers& answers : batch.expected) nbHits += answers.isHit;
    forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
      const std::string wrong = wrongBatch(index, batch.expected, batch.rays, {}, 1);
      if (!wrong.empty()) FAIL_CHECK(mesh.name, ", ", what, ": ", wrong);
    });
  }
  CHECK(nbHits > 10000);
}

TEST_CASE("options hold for every ray of a batch") {
  const QueryMesh mesh = joined("two solids", icosphereMesh(2), starMesh(1, 750));
  const std::vector<Ray> rays = mixedRays(mesh, 751);
  const MeshIndex index(mesh.view());
  for (const Faces faces : {Faces::both, Faces::front, Faces::back}) {
    RayOptions options;
    options.faces = faces;
    // Leave out a triangle that many rays hit first.
    std::vector<std::size_t> nbHits(mesh.triangleCount());
    const qzPlain::tRayQueries plain(mesh.view());
    for (const Ray& ray : rays)
      if (const Hit hit = plain.closestHit(ray, options)) ++nbHits[hit.triangle];
    const auto most = std::max_element(nbHits.begin(), nbHits.end());
    REQUIRE(*most > 5);
    options.skip = static_cast<std::uint32_t>(most - nbHits.begin());
    const Batch batch(mesh, rays, options);
    for (const std::string& name : detail::instructionSets()) {
      const UsedInstructionSet used(name);
      for (const int threads : {1, 2}) CHECK(wrongBatch(index, batch.expected, batch.rays, options, threads) == "");
    }
  }
}

TEST_CASE("lists of many hits per ray are complete and in order") {
  QueryMesh mesh;
  Random random(760);
  for (std::uint32_t i = 0; i < 200; ++i) {
    const float z = random.below(3) == 0 ? 0.25f : random.unit();
    const std::uint32_t a = mesh.addVertex(-9.0f, -9.0f, z), b = mesh.addVertex(9.0f, -9.0f, z),
                        c = mesh.addVertex(0.0f, 9.0f, z);
    i % 2 == 0 ? mesh.addTriangle(a, b, c) : mesh.addTriangle(a, c, b);
  }
  QueryRays source(mesh, 761);
  std::vector<Ray> rays;
  for (int i = 0; i < 1500; ++i) {
    const float x = random.between(-1.0f, 1.0f), y = random.between(-1.0f, 1.0f);
    rays.push_back({{x, y, i % 5 == 0 ? 9.0f : -1.0f}, 0.0f, {0.0f, 0.01f * x, 1.0f}, kInf});
  }
  const Batch batch(mesh, rays);
  CHECK(batch.expected[1].all.size() == 200);
  CHECK(batch.expected[0].all.empty());
  forEachIndex(mesh.view(), {}, [&](const MeshIndex& index, const std::string& what) {
    INFO(what);
    CHECK(wrongBatch(index, batch.expected, batch.rays, {}, 1) == "");
    CHECK(wrongBatch(index, batch.expected, batch.rays, {}, 3) == "");
  });
}

TEST_CASE("batches on a large mesh answer as single questions") {
  const QueryMesh mesh = queryMeshOf("terrain", terrainMesh(150, 770));
  QueryRays source(mesh, 771);
  std::vector<Ray> rays = source.camera(128, 100);
  append(rays, source.parallel(120, 100));
  while (rays.size() < 40000) rays.push_back(source.chord());
  for (const Quality quality : allQualities()) {
    BuildOptions options;
    options.quality = quality;
    const MeshIndex index(mesh.view(), options);
    std::vector<Hit> expected, hits(rays.size());
    for (const Ray& ray : rays) expected.push_back(index.closestHit(ray));
    CHECK(std::count_if(expected.begin(), expected.end(), [](const Hit& hit) { return bool(hit); }) > 10000);
    for (const std::string& name : detail::instructionSets()) {
      const UsedInstructionSet used(name);
      for (const int threads : {1, 0}) {
        index.closestHits(rays.data(), rays.size(), hits.data(), {}, threads);
        INFO(nameOf(quality), ", ", name, ", ", threads, " threads");
        CHECK(sameHits(hits, expected));
        std::vector<std::uint8_t> isHit(rays.size());
        index.anyHits(rays.data(), rays.size(), isHit.data(), {}, threads);
        std::size_t nbWrong = 0;
        for (std::size_t i = 0; i < rays.size(); ++i) nbWrong += (isHit[i] != 0) != bool(expected[i]);
        CHECK(nbWrong == 0);
      }
    }
  }
}

TEST_CASE("an empty batch reads and writes nothing") {
  const QueryMesh mesh = cubeMesh();
  for (const bool isEmpty : {false, true}) {
    const MeshIndex index = isEmpty ? MeshIndex() : MeshIndex(mesh.view());
    for (const int threads : {0, 1, 5}) {
      index.closestHits(nullptr, 0, nullptr, {}, threads);
      index.anyHits(nullptr, 0, nullptr, {}, threads);
      index.crossings(nullptr, 0, static_cast<Crossings*>(nullptr), {}, threads);
      const Lists<Hit> lists = index.allHits(nullptr, 0, {}, threads);
      CHECK(lists.starts == std::vector<std::size_t>{0});
      CHECK(lists.items.empty());
    }
  }
}

TEST_CASE("an index without triangles answers every batch with misses") {
  const QueryMesh mesh = cubeMesh();
  QueryRays source(mesh, 780);
  const std::vector<Ray> rays = source.many(300);
  const std::vector<RayAnswers> misses(rays.size());
  const std::uint32_t unused[] = {0, 1, 2};
  for (const std::string& name : detail::instructionSets()) {
    const UsedInstructionSet used(name);
    CHECK(wrongBatch(MeshIndex(), misses, rays) == "");
    CHECK(wrongBatch(MeshIndex(Mesh{}), misses, rays) == "");
    CHECK(wrongBatch(MeshIndex(Mesh{nullptr, 0, unused, 0}), misses, rays) == "");
  }
}
