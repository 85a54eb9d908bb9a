// The answers of the default engine, beside a loop over all triangles with the kernel.

#include <doctest/doctest.h>
#include <sys/stat.h>
#include <toolkit/base/qzNumber.h>
#include <toolkit/io/file/qzFile.h>
#include <toolkit/io/table/qzNumpyArray.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <future>
#include <nlohmann/json.hpp>

#include "apps/qzDepthMap.h"
#include "apps/qzPicture.h"
#include "apps/qzProcess.h"
#include "plain/qzPlainRayQueries.h"
#include "support/qzBits.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

constexpr std::uint32_t kSeed = 815;

/// A closed sphere and rays through it and beside it, some odd, in memory and in files.
struct Scene {
  TemporaryFolder folder;
  qz::qzTriMesh mesh = sphereMesh(9, 13);
  std::string meshName = folder.write("mesh.ply", asPlyBytes(mesh, false)), raysName, numpyName;
  std::vector<float> coordinates;
  std::vector<std::uint32_t> numbers;
  std::vector<qzMeshQueries::Ray> rays;

  Scene() {
    for (int i = 0; i < mesh.getVertexBuffer()->getNbVertices(); ++i) {
      for (int axis = 0; axis < 3; ++axis) coordinates.push_back(mesh.getVertexBuffer()->Position3(i)[axis]);
    }
    const int* const indices = mesh.getIndexBuffer()->getIndices();
    numbers.assign(indices, indices + mesh.getIndexBuffer()->getNbIndices());
    Random random(kSeed);
    std::string text;
    std::vector<double> elements;
    for (int i = 0; i < 3000; ++i) {
      qzMeshQueries::Ray ray{{}, 0.0f, {}, kInf};
      for (int axis = 0; axis < 3; ++axis) {
        ray.origin[axis] = random.between(-2.0f, 2.0f);
        ray.direction[axis] = random.between(-1.0f, 1.0f);
      }
      if (i % 3 == 0) ray.tMin = random.between(-2.0f, 1.0f), ray.tMax = random.between(0.5f, 4.0f);
      if (i % 97 == 0) ray.direction[i / 97 % 3] = 0.0f;
      if (i == 17) ray.origin[1] = kNaN;
      rays.push_back(ray);
      for (const float number : {ray.origin[0], ray.origin[1], ray.origin[2], ray.direction[0], ray.direction[1],
                                 ray.direction[2], ray.tMin, ray.tMax}) {
        qzToolkit::appendNumber(text, number);
        text += elements.size() % 8 == 7 ? '\n' : ',';
        elements.push_back(number);
      }
    }
    raysName = folder.write("rays.csv", text);
    numpyName = folder.write("rays.npy", qzToolkit::qzNumpyArray::Encode(elements, 8));
  }

  qzPlain::tRayQueries plain() const {
    return qzPlain::tRayQueries({coordinates.data(), coordinates.size() / 3, numbers.data(), numbers.size() / 3});
  }
  Outcome cast(const std::vector<std::string>& options) const {
    std::vector<std::string> arguments = {"cast", meshName, raysName, "-o", "-"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runQuery(arguments);
  }
};

std::string textOf(const qzMeshQueries::Hit& hit) {
  if (!hit) return "inf,-1,nan,nan,nan\n";
  std::string text;
  qzToolkit::appendNumber(text, hit.t);
  text += ',' + std::to_string(hit.triangle);
  for (const float weight : {(1.0f - hit.u) - hit.v, hit.u, hit.v}) qzToolkit::appendNumber(text += ',', weight);
  return text + '\n';
}

const std::string kNames = "distance,triangle,weight0,weight1,weight2";

}  // namespace

TEST_CASE(
    "nearest, any, all and counted hits are those of the plain form, for every policy, quality and thread count") {
  const Scene scene;
  CAPTURE(kSeed);
  const qzPlain::tRayQueries plain = scene.plain();
  const std::pair<const char*, qzMeshQueries::Faces> policies[] = {{"both", qzMeshQueries::Faces::both},
                                                                   {"front", qzMeshQueries::Faces::front},
                                                                   {"back", qzMeshQueries::Faces::back}};
  for (const auto& [policy, faces] : policies) {
    CAPTURE(policy);
    std::string nearest = kNames + '\n', any = "hit\n", all = "ray," + kNames + '\n', count = "front,back\n";
    for (std::size_t i = 0; i < scene.rays.size(); ++i) {
      nearest += textOf(plain.closestHit(scene.rays[i], {faces}));
      any += plain.anyHit(scene.rays[i], {faces}) ? "1\n" : "0\n";
      for (const auto& hit : plain.allHits(scene.rays[i], {faces})) all += std::to_string(i) + ',' + textOf(hit);
      const qzMeshQueries::Crossings crossings = plain.crossings(scene.rays[i], {faces});
      count += std::to_string(crossings.front) + ',' + std::to_string(crossings.back) + '\n';
    }
    const std::vector<std::string> settings[] = {{"--policy", policy},
                                                 {"--policy", policy, "--quality", "fast", "--threads", "1"},
                                                 {"--policy", policy, "--quality", "best", "--threads", "5"}};
    for (std::vector<std::string> options : settings) {
      CHECK((scene.cast(options).output == nearest));
      options.push_back("--any");
      CHECK((scene.cast(options).output == any));
      options.back() = "--all";
      CHECK((scene.cast(options).output == all));
      options.back() = "--count";
      CHECK((scene.cast(options).output == count));
    }
  }
}

TEST_CASE("every ray from far away meets as many fronts as backs of a closed mesh") {
  const TemporaryFolder folder;
  const qz::qzTriMesh sphere = sphereMesh(9, 13);
  std::vector<Wm4::Vector3<float>> corners;  // with the corners at the lower pole in one place
  for (unsigned triangle = 0; triangle < nbTrianglesOf(sphere); ++triangle) {
    for (int corner = 0; corner < 3; ++corner) {
      Wm4::Vector3<float> p = cornerOf(sphere, triangle, corner);
      for (int axis = 0; axis < 3; ++axis) p[axis] = std::abs(p[axis]) < 1e-9f ? 0.0f : p[axis];
      corners.push_back(p);
    }
  }
  const std::string meshName = folder.write("mesh.ply", asPlyBytes(meshOfCorners(corners), false));
  std::string rays;
  Random random(5);
  for (std::size_t i = 0; i < 2000; ++i) {
    const Wm4::Vector3<float> vertex = corners[i % corners.size()];
    for (int axis = 0; axis < 3; ++axis) qzToolkit::appendNumber(rays, vertex[axis] * 4.0f), rays += ',';
    for (int axis = 0; axis < 3; ++axis) {
      qzToolkit::appendNumber(rays, i % 2 == 0 ? -vertex[axis] : random.between(-1.0f, 1.0f));
      rays += axis < 2 ? ',' : '\n';
    }
  }
  const std::string counts = runQuery({"cast", meshName, "-", "-o", "-", "--count", "--quiet"}, rays).output;
  int nbHit = 0, nbRows = 0;
  for (std::size_t at = counts.find('\n') + 1; at < counts.size(); at = counts.find('\n', at) + 1) {
    int front = 0, back = 0;
    REQUIRE(std::sscanf(counts.c_str() + at, "%d,%d", &front, &back) == 2);
    CHECK(front == back);
    nbHit += front > 0;
    ++nbRows;
  }
  CHECK(nbRows == 2000);
  CHECK(nbHit >= 1000);  // those aimed at a vertex through the middle
}

TEST_CASE("point and normal of hits, in text, in .npy, and of all hits") {
  const Scene scene;
  const auto hits = [&](const std::string& name, std::vector<std::string> options) {
    options.insert(options.begin(), {"cast", scene.meshName, scene.numpyName, "-o", scene.folder.path(name), "--quiet",
                                     "--point", "--normal"});
    CHECK(runQuery(options).exitCode == 0);
    return scene.folder.read(name);
  };
  CHECK(hits("a.csv", {}).find(kNames + ",x,y,z,nx,ny,nz\n") == 0);
  CHECK(hits("a.csv", {"--all"}).find("ray," + kNames + ",x,y,z,nx,ny,nz\n") == 0);
  for (const char* engine : {"index", "qbvh"}) {
    CAPTURE(engine);
    const std::string bytes = hits("a.npy", {"--engine", engine});
    const qzToolkit::qzNumpyArray table("a.npy", bytes);
    REQUIRE(table.getNbColumns() == 11);
    REQUIRE(table.getNbRows() == scene.rays.size());
    int nbHits = 0, nbFar = 0;
    for (std::size_t i = 0; i < table.getNbRows(); ++i) {
      if (table.getElement(i, 1) < 0.0) {
        for (std::size_t column = 5; column < 11; ++column) CHECK(std::isnan(table.getElement(i, column)));
        continue;
      }
      ++nbHits;
      // On the ray; and on a sphere the normal points away from the middle, as does the point.
      double outwards = 0.0, length = 0.0;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const double point = table.getElement(i, 5 + axis), normal = table.getElement(i, 8 + axis);
        const double onRay = scene.rays[i].origin[axis] + table.getElement(i, 0) * scene.rays[i].direction[axis];
        nbFar += std::abs(point - onRay) > 1e-5;
        outwards += point * normal;
        length += normal * normal;
      }
      nbFar += outwards < 0.8 || std::abs(length - 1.0) > 1e-6;
    }
    CHECK(nbHits > 300);
    CHECK(nbFar == 0);
  }
}

TEST_CASE("all hits as .npy have a row per hit, into a file and through a pipe") {
  const Scene scene;
  const std::string text = scene.cast({"--all"}).output;
  CHECK(runQuery({"cast", scene.meshName, scene.numpyName, "-o", scene.folder.path("all.npy"), "--all"}).exitCode == 0);
  const std::string bytes = scene.folder.read("all.npy");
  const qzToolkit::qzNumpyArray table("all.npy", bytes);
  REQUIRE(table.getNbColumns() == 6);
  CHECK(table.getNbRows() == static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) - 1);
  std::string fromNumpy = "ray," + kNames + '\n';
  for (std::size_t row = 0; row < table.getNbRows(); ++row) {
    for (std::size_t column = 0; column < 6; ++column) {
      if (column > 0) fromNumpy += ',';
      const double value = table.getElement(row, column);
      if (column == 0 || column == 2) {
        fromNumpy += std::to_string(static_cast<long>(value));
      } else {
        qzToolkit::appendNumber(fromNumpy, static_cast<float>(value));
      }
    }
    fromNumpy += '\n';
  }
  CHECK((fromNumpy == text));

  const std::string pipe = scene.folder.path("pipe.npy");
  REQUIRE(::mkfifo(pipe.c_str(), 0600) == 0);
  std::future<std::string> piped = std::async(std::launch::async, [&] { return qzToolkit::readFile(pipe); });
  CHECK(runQuery({"cast", scene.meshName, scene.numpyName, "-o", pipe, "--all", "--quiet"}).exitCode == 0);
  CHECK((piped.get() == bytes));
}

TEST_CASE("the summary names the engine and counts rows") {
  const Scene scene;
  const auto answerOf = [&](const std::vector<std::string>& options) {
    std::vector<std::string> all = options;
    all.push_back("--json");
    return nlohmann::json::parse(scene.cast(all).error);
  };
  const nlohmann::json nearest = answerOf({}), all = answerOf({"--all", "--quality", "fast"}),
                       other = answerOf({"--engine", "qbvh"}), implied = answerOf({"--builder", "sah"});
  CHECK(nearest["engine"] == "index");
  CHECK(nearest["quality"] == "good");
  CHECK(nearest["rows"] == scene.rays.size());
  CHECK(nearest.find("nodes") == nearest.end());
  CHECK(all["quality"] == "fast");
  CHECK(all["hits"] == nearest["hits"]);
  CHECK(all["rows"].get<int>() > nearest["hits"].get<int>());
  CHECK(other["engine"] == "qbvh");
  CHECK(other["nodes"].get<int>() > 0);
  CHECK(other.find("quality") == other.end());
  CHECK(implied["engine"] == "qbvh");
}

TEST_CASE("both engines render nearly the same picture and depth; cost is of a qbvh") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(terrainMesh(24, 5)));
  const std::vector<std::string> arguments = {mesh, "--size", "80x60", "--view", "1,-2,1.5", "--samples", "1"};
  const auto with = [&](const char* engine) {
    std::vector<std::string> all = arguments;
    all.insert(all.end(), {"--engine", engine});
    return all;
  };
  const DepthMap ofIndex = measureDepth(with("index")), ofQbvh = measureDepth(with("qbvh")),
                 byDefault = measureDepth(arguments);
  CHECK(ofIndex.answer["engine"] == "index");
  CHECK(ofQbvh.answer["engine"] == "qbvh");
  CHECK(byDefault.answer["engine"] == "index");
  REQUIRE(ofIndex.values.size() == ofQbvh.values.size());
  int nbFar = 0, nbHits = 0;
  for (std::size_t i = 0; i < ofIndex.values.size(); ++i) {
    CHECK(sameBits(ofIndex.values[i], byDefault.values[i]));
    nbFar += !(std::abs(ofIndex.values[i] - ofQbvh.values[i]) < 1e-4f || ofIndex.values[i] == ofQbvh.values[i]);
    nbHits += !std::isinf(ofIndex.values[i]);
  }
  CHECK(nbHits > 1000);
  CHECK(nbFar < 5);  // edges
  const Picture a = render(with("index")), b = render(with("qbvh"));
  int nbDifferent = 0;
  for (int y = 0; y < 60; ++y) {
    for (int x = 0; x < 80; ++x) nbDifferent += std::abs(a.brightness(x, y) - b.brightness(x, y)) > 4;
  }
  CHECK(nbDifferent < 60);
  std::vector<std::string> cost = arguments;
  cost.insert(cost.end(), {"--shading", "cost"});
  CHECK(measureDepth(cost).answer["engine"] == "qbvh");
}
