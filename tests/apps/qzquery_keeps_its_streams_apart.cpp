#include <doctest/doctest.h>

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
  for (const char* name : {"info", "render", "cast"}) {
    CHECK(help.output.find(name) != std::string::npos);
    const Outcome detail = runQuery({name, "--help"});
    CHECK(detail.exitCode == 0);
    for (const char* option : {"MESH", "--leaf", "--threads", "--quiet", "--help"}) {
      CAPTURE(option);
      CHECK(detail.output.find(option) != std::string::npos);
    }
  }
}

TEST_CASE("without --verbose no log record of the library is seen, with it all of them are") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.off", asOff(gridMesh(20)));
  const Outcome plain = runQuery({"cast", mesh, "-", "-o", "-"}, "0,0,1,0,0,-1\n");
  CHECK(plain.error.find("bvh: ") == std::string::npos);
  CHECK(plain.error.find("mesh.off: 800 triangles, 441 vertices, read in ") != std::string::npos);
  const Outcome verbose = runQuery({"cast", mesh, "-", "-o", "-", "--verbose"}, "0,0,1,0,0,-1\n");
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
