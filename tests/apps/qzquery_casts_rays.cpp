#include <doctest/doctest.h>
#include <qzCommonAddOns/qbvh/qzQBVH.h>
#include <toolkit/base/qzNumber.h>
#include <toolkit/io/table/qzNumpyArray.h>
#include <toolkit/io/table/qzRayFile.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/qzProcess.h"
#include "support/qzBits.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

constexpr int kNbRays = 5000;
constexpr std::uint32_t kSeed = 4711;

/// Origin, direction, tMin, tMax of every ray; with tMin 0 for symmetric queries.
std::vector<std::array<float, 8>> randomRays(bool withTMin) {
  Random random(kSeed);
  std::vector<std::array<float, 8>> rays(kNbRays);
  for (std::array<float, 8>& ray : rays) {
    for (std::size_t k = 0; k < 3; ++k) ray[k] = random.between(-1.5f, 1.5f);
    for (std::size_t k = 3; k < 6; ++k) ray[k] = random.between(-1.0f, 1.0f);
    ray[6] = withTMin ? random.between(0.0f, 0.5f) : 0.0f;
    ray[7] = random.between(0.5f, 4.0f);
  }
  rays[17] = {0, 0, 2, 0, 0, -1, 0, kInf};
  rays[18] = {kNaN, 0, 2, 0, 0, -1, 0, kInf};
  return rays;
}

std::string asText(const std::vector<std::array<float, 8>>& rays) {
  std::string text = "ox,oy,oz,dx,dy,dz,tmin,tmax\n";
  for (const std::array<float, 8>& ray : rays) {
    for (std::size_t k = 0; k < 8; ++k) {
      qzToolkit::appendNumber(text, ray[k]);
      text += k < 7 ? ',' : '\n';
    }
  }
  return text;
}

std::string asNumpy(const std::vector<std::array<float, 8>>& rays) {
  std::vector<double> elements;
  for (const std::array<float, 8>& ray : rays) elements.insert(elements.end(), ray.begin(), ray.end());
  return qzToolkit::qzNumpyArray::Encode(elements, 8);
}

/// What the library itself answers, as text. policy 3 is the symmetric query.
std::string answers(const qz::qzTriMesh& mesh, unsigned leafSize, const std::vector<std::array<float, 8>>& rays,
                    unsigned policy) {
  qzQBVH hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, mesh, leafSize);
  std::string text = "distance,triangle,weight0,weight1,weight2\n";
  int nbHits = 0;
  for (const std::array<float, 8>& ray : rays) {
    const Wm4::Vector3<float> origin(ray[0], ray[1], ray[2]), direction(ray[3], ray[4], ray[5]);
    float t = ray[7];
    Wm4::Vector2<float> weights;
    unsigned triangle;
    const bool isHit = policy == 3 ? hierarchy.intersectRaySymmetric(origin, direction, t, weights, triangle)
                                   : hierarchy.intersectRay(origin, direction, ray[6], t, weights, triangle,
                                                            qzQBVH::tIntersectionPolicy(policy));
    if (!isHit) {
      text += "inf,-1,nan,nan,nan\n";
      continue;
    }
    ++nbHits;
    qzToolkit::appendNumber(text, t);
    text += ',' + std::to_string(triangle);
    for (float weight : {weights[0], weights[1], (1.0f - weights[0]) - weights[1]}) {
      text += ',';
      qzToolkit::appendNumber(text, weight);
    }
    text += '\n';
  }
  CHECK(nbHits > 200);
  CHECK(nbHits < kNbRays);
  return text;
}

}  // namespace

TEST_CASE("with --engine qbvh hits are those of the library to the bit, for every policy and for symmetric rays") {
  const TemporaryFolder folder;
  CAPTURE(kSeed);
  const qz::qzTriMesh mesh = soupMesh(4000, kSeed);
  const std::string meshName = folder.write("mesh.ply", asPlyBytes(mesh, false));
  const std::string rays = folder.write("rays.csv", asText(randomRays(true)));
  const std::string lines = folder.write("lines.csv", asText(randomRays(false)));
  const char* names[] = {"both", "front", "back"};
  for (unsigned policy = 0; policy < 3; ++policy) {
    const Outcome outcome =
        runQuery({"cast", meshName, rays, "-o", "-", "--engine", "qbvh", "--policy", names[policy]});
    CHECK(outcome.exitCode == 0);
    CHECK(outcome.output == answers(mesh, 4, randomRays(true), policy));
  }
  CHECK(runQuery({"cast", meshName, rays, "-o", "-", "--engine", "qbvh"}).output ==
        answers(mesh, 4, randomRays(true), 0));
  CHECK(runQuery({"cast", meshName, rays, "-o", "-", "--leaf", "13"}).output == answers(mesh, 13, randomRays(true), 0));
  CHECK(runQuery({"cast", meshName, lines, "-o", "-", "--engine", "qbvh", "--symmetric"}).output ==
        answers(mesh, 4, randomRays(false), 3));
}

TEST_CASE("the builder changes the hierarchy, not the hits") {
  const TemporaryFolder folder;
  CAPTURE(kSeed);
  const std::string mesh = folder.write("mesh.ply", asPlyBytes(soupMesh(4000, kSeed), false));
  const std::string rays = folder.write("rays.csv", asText(randomRays(true)));
  const Outcome sah = runQuery({"cast", mesh, rays, "-o", "-", "--json", "--builder", "sah"}),
                linear = runQuery({"cast", mesh, rays, "-o", "-", "--json", "--builder", "linear"});
  CHECK(sah.exitCode == 0);
  CHECK(linear.exitCode == 0);
  CHECK(sah.output == linear.output);
  const nlohmann::json sahWork = nlohmann::json::parse(sah.error), linearWork = nlohmann::json::parse(linear.error);
  CHECK(sahWork["builder"] == "sah");
  CHECK(linearWork["builder"] == "linear");
  CHECK(sahWork["nodes"] != linearWork["nodes"]);
  CHECK(sahWork["hits"] == linearWork["hits"]);
}

TEST_CASE("files, streams and .npy give the same hits") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = soupMesh(4000, kSeed);
  const std::string meshName = folder.write("mesh.obj.gz", gzip(asObj(mesh)));
  const std::string text = asText(randomRays(true)), numpy = asNumpy(randomRays(true));
  const std::string textRays = folder.write("rays.csv", text), numpyRays = folder.write("rays.npy", numpy);
  const std::string expected = answers(mesh, 4, randomRays(true), 0);

  CHECK(runQuery({"cast", meshName, textRays, "-o", folder.path("a.csv"), "--engine", "qbvh"}).exitCode == 0);
  CHECK(folder.read("a.csv") == expected);
  CHECK(runQuery({"cast", meshName, numpyRays, "-o", folder.path("b.csv"), "--engine", "qbvh"}).exitCode == 0);
  CHECK(folder.read("b.csv") == expected);
  CHECK(runQuery({"cast", meshName, "-", "-o", "-", "--leaf", "4"}, text).output == expected);
  CHECK(runQuery({"cast", meshName, "-", "-o", "-", "--engine", "qbvh"}, numpy).output == expected);

  CHECK(runQuery({"cast", meshName, numpyRays, "--output", folder.path("c.npy"), "--engine", "qbvh"}).exitCode == 0);
  const std::string bytes = folder.read("c.npy");
  const qzToolkit::qzNumpyArray hits("c.npy", bytes);
  REQUIRE(hits.getNbRows() == kNbRays);
  REQUIRE(hits.getNbColumns() == 5);
  std::string fromNumpy = "distance,triangle,weight0,weight1,weight2\n";
  for (std::size_t row = 0; row < hits.getNbRows(); ++row) {
    for (std::size_t column = 0; column < 5; ++column) {
      if (column > 0) fromNumpy += ',';
      if (column == 1) {
        fromNumpy += std::to_string(static_cast<int>(hits.getElement(row, column)));
      } else {
        qzToolkit::appendNumber(fromNumpy, static_cast<float>(hits.getElement(row, column)));
      }
    }
    fromNumpy += '\n';
  }
  CHECK(fromNumpy == expected);
}

TEST_CASE("hits are the same bytes for 1 to 8 threads") {
  const TemporaryFolder folder;
  const std::string meshName = folder.write("mesh.stl", asStlBytes(terrainMesh(40, 3)));
  std::vector<std::array<float, 8>> rays;
  for (int i = 0; i < 6; ++i) {  // several blocks of work
    const std::vector<std::array<float, 8>> more = randomRays(true);
    rays.insert(rays.end(), more.begin(), more.end());
  }
  const std::string raysName = folder.write("rays.csv", asText(rays));
  const std::string expected = runQuery({"cast", meshName, raysName, "-o", "-"}).output;
  CHECK(expected.size() > 30000 * 18);
  for (int threads = 1; threads <= 8; ++threads) {
    CAPTURE(threads);
    const Outcome outcome = runQuery({"cast", meshName, raysName, "-o", "-", "--threads", std::to_string(threads)});
    CHECK(outcome.exitCode == 0);
    CHECK((outcome.output == expected));
    CHECK(outcome.error.find("by " + std::to_string(threads) + " thread") != std::string::npos);
  }
}

TEST_CASE("no rays give no hits") {
  const TemporaryFolder folder;
  const std::string meshName = folder.write("mesh.off", asOff(gridMesh(1)));
  const Outcome outcome = runQuery({"cast", meshName, "-", "-o", "-"});
  CHECK(outcome.exitCode == 0);
  CHECK(outcome.output == "distance,triangle,weight0,weight1,weight2\n");
  CHECK(outcome.error.find("\nrays: 0, 0 hit (0 %), cast in ") != std::string::npos);
}

TEST_CASE("the summary counts rays and hits") {
  const TemporaryFolder folder;
  const std::string meshName = folder.write("mesh.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  const Outcome outcome =
      runQuery({"cast", meshName, "-", "-o", "-"}, "0.25,0.25,1,0,0,-1\n0.25,0.25,1,0,0,1\n0.5,0.25,3,0,0,-2\n");
  CHECK(outcome.output ==
        "distance,triangle,weight0,weight1,weight2\n1,0,0.5,0.25,0.25\ninf,-1,nan,nan,nan\n"
        "1.5,0,0.25,0.5,0.25\n");
  CHECK(outcome.error.find("\nrays: 3, 2 hit (66.7 %), cast in ") != std::string::npos);
}
