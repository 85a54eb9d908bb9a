#include <doctest/doctest.h>

#include <cmath>

#include "apps/qzDepthMap.h"
#include "apps/qzPicture.h"
#include "apps/qzProcess.h"
#include "support/qzBits.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

/// Far from the origin, so that turning about anything but its middle would show.
const std::string kCube =
    "v 20 30 40\nv 22 30 40\nv 22 32 40\nv 20 32 40\nv 20 30 42\nv 22 30 42\nv 22 32 42\nv 20 32 42\n"
    "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

/// The view with this number in a sheet of so many columns.
Picture viewOf(const Picture& sheet, int columns, int view, int width, int height) {
  return sheet.part(view % columns * width, view / columns * height, width, height);
}

}  // namespace

TEST_CASE("a turntable of four from the front shows front, right, back and left, for either up axis") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube);
  const std::pair<const char*, std::vector<std::array<int, 3>>> ups[] = {
      {"z", {{128, 0, 128}, {255, 128, 128}, {128, 255, 128}, {0, 128, 128}}},
      {"y", {{128, 128, 255}, {255, 128, 128}, {128, 128, 0}, {0, 128, 128}}}};
  for (const auto& up : ups) {
    CAPTURE(up.first);
    const Picture sheet = render(
        {mesh, "--turntable", "4", "--size", "30x20", "--view", "front", "--shading", "normal", "--up", up.first});
    REQUIRE(sheet.width == 60);
    REQUIRE(sheet.height == 40);
    for (int view = 0; view < 4; ++view) {
      CAPTURE(view);
      const std::array<int, 3> color = viewOf(sheet, 2, view, 30, 20).at(15, 10);
      for (std::size_t i = 0; i < 3; ++i) {
        CHECK(std::abs(color[i] - up.second[static_cast<std::size_t>(view)][i]) < 2);
      }
    }
  }
}

TEST_CASE("a view has the same pixels in sheets of any number of views") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(soupMesh(300, 17)));
  for (const char* shading : {"facing", "normal", "depth"}) {
    CAPTURE(shading);
    const auto sheet = [&](const char* nbViews) {
      return render({mesh, "--turntable", nbViews, "--size", "36x28", "--shading", shading, "--samples", "2"});
    };
    const Picture one = sheet("1"), two = sheet("2"), four = sheet("4"), eight = sheet("8");
    CHECK(one.width == 36);
    CHECK(one.height == 28);
    CHECK(two.width == 72);
    CHECK(two.height == 28);
    CHECK(four.width == 72);
    CHECK(four.height == 56);
    CHECK(eight.width == 108);
    CHECK(eight.height == 84);
    CHECK((one.bytes == viewOf(two, 2, 0, 36, 28).bytes));
    CHECK((one.bytes == viewOf(four, 2, 0, 36, 28).bytes));
    for (int view = 0; view < 4; ++view) {
      CAPTURE(view);
      CHECK((viewOf(four, 2, view, 36, 28).bytes == viewOf(eight, 3, 2 * view, 36, 28).bytes));
      CHECK((viewOf(four, 2, view, 36, 28).bytes != viewOf(eight, 3, 2 * view + 1, 36, 28).bytes));
    }
  }
}

TEST_CASE("views fill rows from the top left, and cells after the last view are background in every shading") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube);
  for (const char* shading : {"facing", "normal", "depth", "cost"}) {
    CAPTURE(shading);
    const Picture sheet = render({mesh, "--turntable", "5", "--size", "16x10", "--shading", shading, "--samples", "1"});
    REQUIRE(sheet.width == 48);
    REQUIRE(sheet.height == 20);
    for (int view = 0; view < 5; ++view) {
      CAPTURE(view);
      CHECK(viewOf(sheet, 3, view, 16, 10).at(8, 5) != sheet.at(47, 19));
    }
    const Picture empty = viewOf(sheet, 3, 5, 16, 10);
    for (int y = 0; y < 10; ++y) {
      for (int x = 0; x < 16; ++x) CHECK(empty.at(x, y) == empty.at(0, 0));
    }
    if (shading != std::string("cost")) CHECK(empty.brightness(0, 0) > 700);
  }
}

TEST_CASE("a sheet has as many columns as rows or one more") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube);
  struct Shape {
    int nbViews, nbColumns, nbRows;
  };
  const Shape shapes[] = {{1, 1, 1}, {2, 2, 1}, {3, 2, 2}, {4, 2, 2}, {6, 3, 2}, {7, 3, 3}, {12, 4, 3}, {360, 19, 19}};
  for (const Shape& shape : shapes) {
    CAPTURE(shape.nbViews);
    const Picture sheet =
        render({mesh, "--turntable", std::to_string(shape.nbViews), "--size", "3x2", "--samples", "1"});
    CHECK(sheet.width == 3 * shape.nbColumns);
    CHECK(sheet.height == 2 * shape.nbRows);
  }
}

TEST_CASE("the depth map of a sheet has the depth of every view, and infinity after the last one") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube);
  const DepthMap map = measureDepth({mesh, "--turntable", "3", "--size", "20x16", "--view", "0,-1,0.5"});
  REQUIRE(map.width == 40);
  REQUIRE(map.height == 32);
  CHECK(map.part(20, 16, 20, 16) == std::vector<float>(20 * 16, kInf));
  for (int view = 0; view < 3; ++view) CHECK(map.at(view % 2 * 20 + 10, view / 2 * 16 + 8) < 100.0f);
  CHECK(map.answer["views"] == 3);
  CHECK(map.answer["columns"] == 2);
  CHECK(map.answer["cameras"].size() == 3);
  CHECK(map.answer["cameraRays"] == 3 * 20 * 16 * 9);

  const DepthMap one = measureDepth({mesh, "--turntable", "1", "--size", "20x16", "--view", "0,-1,0.5"});
  CHECK(one.values == map.part(0, 0, 20, 16));
  CHECK(one.answer["cameras"][0] == map.answer["cameras"][0]);
}

TEST_CASE("a cube looks the same after every quarter turn, in size, position and distance") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", kCube);
  const DepthMap map = measureDepth({mesh, "--turntable", "8", "--size", "40x30"});
  for (int view = 2; view < 8; view += 2) {
    CAPTURE(view);
    int nbDifferent = 0, nbHits = 0;
    for (int y = 0; y < 30; ++y) {
      for (int x = 0; x < 40; ++x) {
        const float first = map.at(x, y), other = map.at(view % 3 * 40 + x, view / 3 * 30 + y);
        nbHits += first < kInf;
        nbDifferent += first < kInf && other < kInf ? std::abs(first - other) > 1e-4f : first != other;
      }
    }
    CHECK(nbHits > 200);
    CHECK(nbDifferent <= 2);  // at most a line of sight along an edge or two
  }
}

TEST_CASE("a sheet is the same bytes for any number of threads") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(soupMesh(300, 19)));
  for (const char* shading : {"facing", "cost"}) {
    const auto make = [&](const char* threads) {
      const Outcome outcome =
          runQuery({"render", mesh, "-o", folder.path("a.png"), "--depth", folder.path("a.pfm"), "--turntable", "5",
                    "--size", "25x19", "--samples", "2", "--shading", shading, "--threads", threads});
      CHECK(outcome.exitCode == 0);
      CHECK(outcome.error.find("\nsheet: 5 views in 3 columns, 75x38 pixels\n") != std::string::npos);
      return folder.read("a.png") + folder.read("a.pfm");
    };
    const std::string expected = make("1");
    for (const char* threads : {"2", "3", "8"}) CHECK((make(threads) == expected));
  }
}

TEST_CASE("an invalid or too large turntable is refused before any work") {
  const TemporaryFolder folder;
  const auto failure = [&](const std::string& nbViews, const std::string& size) {
    const Outcome outcome = runQuery(
        {"render", folder.path("missing.obj"), "-o", folder.path("a.png"), "--turntable", nbViews, "--size", size});
    CHECK(outcome.exitCode == 2);
    CHECK(outcome.output.empty());
    return outcome.error;
  };
  for (const char* nbViews : {"0", "-1", "361", "3.5", "many", "99999999999", ""}) {
    const std::string line = failure(nbViews, "8x8");
    CHECK(line.find("qzquery: ") == 0);
    CHECK(line.find("--turntable") != std::string::npos);
    CHECK(line.find('\n') == line.size() - 1);
  }
  const std::string limits = "; a picture has up to 16384 a side and 67108864 pixels\n";
  CHECK(failure("360", "1280x960") ==
        "qzquery: --turntable: 360 views of 1280x960 make a sheet of 24320x18240" + limits);
  CHECK(failure("5", "10x8193") == "qzquery: --turntable: 5 views of 10x8193 make a sheet of 30x16386" + limits);
  CHECK(failure("4", "8192x4097") == "qzquery: --turntable: 4 views of 8192x4097 make a sheet of 16384x8194" + limits);
  const std::string allowed = failure("4", "4096x4096");  // just as large as a picture may be
  CHECK(allowed == "qzquery: " + folder.path("missing.obj") + ": cannot be opened: No such file or directory\n");
  CHECK(folder.names().empty());
}
