#include <doctest/doctest.h>

#include <nlohmann/json.hpp>

#include "apps/qzProcess.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

TEST_CASE("help and version go to standard output, with exit code 0") {
  const Outcome version = runQuery({"--version"});
  CHECK(version.exitCode == 0);
  CHECK(version.output == "qzquery " QZ_VERSION "\n");
  CHECK(version.error.empty());
  const Outcome help = runQuery({"--help"});
  CHECK(help.exitCode == 0);
  CHECK(help.error.empty());
  CHECK(help.output.find("\nExit codes: 0 on success; 2 when ") != std::string::npos);
  for (const char* name : {"info", "inspect", "render", "cast"}) {
    CHECK(help.output.find(name) != std::string::npos);
    const Outcome detail = runQuery({name, "--help"});
    CHECK(detail.exitCode == 0);
    for (const char* option : {"MESH", "--leaf", "--threads", "--quiet", "--json", "--help"}) {
      CAPTURE(option);
      CHECK(detail.output.find(option) != std::string::npos);
    }
  }
}

TEST_CASE("log records of the library appear with --verbose only") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.off", asOff(gridMesh(20)));
  const Outcome plain = runQuery({"cast", mesh, "-", "-o", "-", "--engine", "qbvh"}, "0,0,1,0,0,-1\n");
  CHECK(plain.error.find("bvh: ") == std::string::npos);
  CHECK(plain.error.find("mesh.off: 800 triangles, 441 vertices, read in ") != std::string::npos);
  const Outcome verbose = runQuery({"cast", mesh, "-", "-o", "-", "--engine", "qbvh", "--verbose"}, "0,0,1,0,0,-1\n");
  CHECK(verbose.error.find("bvh: ") != std::string::npos);
  CHECK(verbose.output == plain.output);
}

TEST_CASE("--quiet leaves standard error empty") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.off", asOff(gridMesh(3)));
  CHECK(runQuery({"cast", mesh, "-", "-o", "-", "--quiet"}, "0,0,1,0,0,-1\n").error.empty());
  CHECK(runQuery({"render", mesh, "-o", folder.path("a.png"), "--size", "9x9", "--quiet"}).error.empty());
  CHECK(runQuery({"info", mesh, "--quiet"}).error.empty());
}

TEST_CASE("progress is shown on a terminal, unless --quiet, and nowhere else") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.off", asOff(gridMesh(30)));
  const std::vector<std::string> render = {"render", mesh, "-o", folder.path("a.png"), "--size", "64x64"};
  std::vector<std::string> quiet = render;
  quiet.push_back("--quiet");
  CHECK(runQueryOnTerminal(render).find("\rcasting rays ") != std::string::npos);
  CHECK(runQueryOnTerminal(quiet).empty());
  CHECK(runQuery(render).error.find('\r') == std::string::npos);
  CHECK(runQuery(render).error.find("casting") == std::string::npos);
}

TEST_CASE("the progress of casting ends at 100 % of the rays") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.off", asOff(gridMesh(3)));
  std::string rays;
  for (int i = 0; i < 1000; ++i) rays += "0.125,0.25,1,0,0,-1\n";
  const std::string shown =
      runQueryOnTerminal({"cast", mesh, folder.write("rays.csv", rays), "-o", folder.path("hits.csv")});
  CHECK(shown.find("\rcasting rays 100 %") != std::string::npos);  // one block, and the first is always shown
}

TEST_CASE("with --json standard output has one object and standard error nothing, --quiet or not") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.off", asOff(gridMesh(3)));
  const std::string rays = folder.write("rays.csv", "0.1,0.3,1,0,0,-1\n0.1,0.3,1,0,0,1\n");
  const std::vector<std::string> commands[] = {
      {"info", mesh},
      {"cast", mesh, rays, "-o", folder.path("hits.csv"), "--threads", "2"},
      {"render", mesh, "-o", folder.path("a.png"), "--size", "9x8"},
      {"cast", mesh, rays, "-o", folder.path("hits.csv"), "--threads", "2", "--engine", "qbvh"}};
  for (std::vector<std::string> command : commands) {
    CAPTURE(command[0]);
    command.push_back("--json");
    for (int i = 0; i < 2; ++i) {
      const Outcome outcome = runQuery(command);
      CHECK(outcome.exitCode == 0);
      CHECK(outcome.error.empty());
      const nlohmann::json answer = nlohmann::json::parse(outcome.output);
      CHECK(answer["file"] == mesh);
      CHECK(answer["triangles"] == 18);
      CHECK(answer["vertices"] == 16);
      if (command[0] == "info" || command.back() == "qbvh" || command[command.size() - 2] == "qbvh" ||
          command[command.size() - 3] == "qbvh") {
        CHECK(answer["builder"] == "linear");
        CHECK(answer["leafSize"] == 4);
        CHECK(answer["nodes"].is_number_unsigned());
        if (command[0] != "info") CHECK(answer["engine"] == "qbvh");
      } else {
        CHECK(answer["engine"] == "index");
        CHECK(answer["quality"] == "good");
        CHECK(answer["bytes"].is_number_unsigned());
        CHECK(answer.find("builder") == answer.end());
      }
      CHECK(answer["buildSeconds"].is_number_float());
      if (command[0] == "cast") {
        CHECK(answer["rays"] == 2);
        CHECK(answer["hits"] == 1);
        CHECK(answer["threads"] == 2);
        CHECK(answer["castSeconds"].get<double>() >= 0.0);
      }
      if (command[0] == "render") {
        CHECK(answer["width"] == 9);
        CHECK(answer["height"] == 8);
        CHECK(answer["cameraRays"] == 9 * 8 * 3 * 3);
        CHECK(answer["cameraHits"].get<int>() > 0);
        CHECK(answer["cameraHits"].get<int>() < 9 * 8 * 3 * 3);
        CHECK(answer.find("meanVisits") == answer.end());
      }
      command.push_back("--quiet");
    }
  }
}

TEST_CASE("with data on standard output the object goes to standard error, and the data stay the same") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.off", asOff(gridMesh(3))), ray = "0,0,1,0,0,-1\n";
  const Outcome hits = runQuery({"cast", mesh, "-", "-o", "-", "--json"}, ray);
  CHECK(hits.exitCode == 0);
  CHECK(hits.output == runQuery({"cast", mesh, "-", "-o", "-"}, ray).output);
  CHECK(nlohmann::json::parse(hits.error)["rays"] == 1);
  const std::vector<std::string> render = {"render", mesh, "-o", "-", "--size", "9x8", "--shading", "cost"};
  std::vector<std::string> asJson = render;
  asJson.push_back("--json");
  const Outcome picture = runQuery(asJson);
  CHECK(picture.exitCode == 0);
  CHECK((picture.output == runQuery(render).output));
  const nlohmann::json answer = nlohmann::json::parse(picture.error);
  CHECK(answer["meanVisits"].get<double>() > 0.0);
  CHECK(answer["maxPixelVisits"].get<double>() >= answer["meanVisits"].get<double>());
}

TEST_CASE("a failure with --json is a line on standard error and no object") {
  const TemporaryFolder folder;
  const std::string mesh = folder.path("missing.off");
  const Outcome outcome = runQuery({"cast", mesh, "-", "-o", "-", "--json"});
  CHECK(outcome.exitCode == 2);
  CHECK(outcome.output.empty());
  CHECK(outcome.error == "qzquery: " + mesh + ": cannot be opened: No such file or directory\n");
}
