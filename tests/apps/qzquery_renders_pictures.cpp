#include <doctest/doctest.h>

#include <array>
#include <cmath>
#include <set>

#include "apps/qzPicture.h"
#include "apps/qzProcess.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

TEST_CASE("a sphere on a light background is a disc that fills the picture") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(sphereMesh(60, 120)));
  for (const char* shading : {"facing", "normal", "depth"}) {
    CAPTURE(shading);
    const Picture picture = render({mesh, "--size", "120x90", "--view", "front", "--shading", shading});
    CHECK(picture.width == 120);
    CHECK(picture.height == 90);
    const std::array<int, 3> background = picture.at(0, 0);
    for (int channel : background) CHECK(channel > 200);
    // "facing" has a shadow on the floor, which is seen in the lower half.
    const bool hasShadow = shading == std::string("facing");
    const int nbRowsWithoutShadow = hasShadow ? 45 : 90;
    int nbCovered = 0, nbShadow = 0;
    for (int y = 0; y < 90; ++y) {
      for (int x = 0; x < 120; ++x) {
        const bool isBackground = picture.at(x, y) == background;
        const double fromMiddle = std::hypot(x - 59.5, y - 44.5);
        if (fromMiddle < 38.0) CHECK_FALSE(isBackground);
        if (fromMiddle > 45.0 && y < nbRowsWithoutShadow) CHECK(isBackground);
        nbCovered += fromMiddle <= 45.0 && !isBackground;
        nbShadow += fromMiddle > 45.0 && !isBackground;
      }
    }
    CHECK(nbCovered > 4536);  // a disc of radius 38
    CHECK(nbCovered < 6361);  // and one of radius 45
    CHECK((nbShadow > 100) == hasShadow);
  }
}

TEST_CASE("facing is brightest where the surface faces the camera") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(sphereMesh(60, 120)));
  const Picture picture = render({mesh, "--size", "100x100", "--view", "front"});
  CHECK(picture.brightness(50, 50) > picture.brightness(15, 50) + 60);
  CHECK(picture.brightness(50, 50) > picture.brightness(50, 88) + 60);
}

TEST_CASE("normal shows the axes as red, green and blue from every side") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(sphereMesh(90, 180)));
  const std::pair<const char*, std::array<int, 3>> views[] = {
      {"right", {255, 128, 128}}, {"left", {0, 128, 128}},   {"back", {128, 255, 128}},  {"front", {128, 0, 128}},
      {"top", {128, 128, 255}},   {"bottom", {128, 128, 0}}, {"5,0,0", {255, 128, 128}}, {"-1,0,0", {0, 128, 128}}};
  for (const auto& expected : views) {
    const char* const view = expected.first;
    const std::array<int, 3>& color = expected.second;
    CAPTURE(view);
    const Picture picture = render({mesh, "--size", "41x41", "--shading", "normal", "--view", view});
    for (std::size_t channel = 0; channel < 3; ++channel) {
      CHECK(std::abs(picture.at(20, 20)[channel] - color[channel]) < 8);
    }
  }
  const Picture lying = render({mesh, "--size", "41x41", "--shading", "normal", "--view", "front", "--up", "y"});
  CHECK(lying.at(20, 20)[2] > 247);  // +z is in front when y is up
}

TEST_CASE("depth is darker near than far") {
  const TemporaryFolder folder;
  // A square that lies on the ground, seen from the front and above.
  const std::string mesh = folder.write("mesh.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n");
  const Picture picture = render({mesh, "--size", "60x60", "--shading", "depth", "--view", "0,-1,1"});
  CHECK(picture.brightness(30, 38) < picture.brightness(30, 30));
  CHECK(picture.brightness(30, 30) < picture.brightness(30, 22));
}

TEST_CASE("meshes that are flat, a line, a point or huge give a picture in every shading and from every side") {
  const TemporaryFolder folder;
  const std::string meshes[] = {folder.write("flat.obj", "v 0 0 0\nv 1 0 0\nv 0 0 1\nf 1 2 3\n"),
                                folder.write("line.obj", "v 0 0 0\nv 1 0 0\nv 2 0 0\nf 1 2 3\n"),
                                folder.write("point.obj", "v 1 2 3\nf 1 1 1\n"),
                                folder.write("huge.obj", "v -3e38 0 0\nv 3e38 0 0\nv 0 3e38 3e38\nf 1 2 3\n"),
                                folder.write("tiny.obj", "v -1e-38 0 0\nv 1e-38 0 0\nv 0 1e-38 1e-38\nf 1 2 3\n")};
  for (const std::string& mesh : meshes) {
    for (const char* shading : {"facing", "normal", "depth", "cost"}) {
      for (const char* view : {"", "front", "left", "top"}) {
        // An index refuses the huge one.
        const char* const engine = mesh == meshes[3] || shading == std::string("cost") ? "qbvh" : "index";
        const Picture picture =
            render({mesh, "--size", "8x8", "--shading", shading, "--view", view, "--engine", engine});
        CHECK(picture.width == 8);
      }
    }
  }
  // The flat one fills its picture in one shade.
  const Picture picture = render({meshes[0], "--size", "40x40", "--shading", "depth", "--view", "front"});
  CHECK(picture.brightness(10, 30) < 200);
  CHECK(std::abs(picture.brightness(10, 30) - picture.brightness(15, 20)) < 8);
}

TEST_CASE("cost is dark without boxes and brighter in the mesh, and its scale is printed") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(sphereMesh(40, 80)));
  const Picture picture = render({mesh, "--size", "60x60", "--shading", "cost", "--view", "front"});
  CHECK(picture.brightness(0, 0) < 200);
  CHECK(picture.brightness(30, 20) > picture.brightness(0, 0));
  const Outcome outcome = runQuery({"render", mesh, "-o", "-", "--size", "60x60", "--shading", "cost"});
  CHECK(outcome.error.find("\ncost: ") != std::string::npos);
  CHECK(outcome.error.find(" nodes a ray, ") != std::string::npos);
}

TEST_CASE("the shadow is on the floor below the mesh, for either up axis") {
  const TemporaryFolder folder;
  // A plate that floats over the lowest point, as it is and turned so that y points up.
  const auto plate = [&](const char* name, bool isYUp) {
    std::string text;
    for (const auto& [x, y, z] : {std::array<int, 3>{-2, -2, 1}, {2, -2, 1}, {2, 2, 1}, {-2, 2, 1}, {0, 0, 0}}) {
      const std::array<int, 3> p = isYUp ? std::array<int, 3>{x, z, -y} : std::array<int, 3>{x, y, z};
      text += "v " + std::to_string(p[0]) + ' ' + std::to_string(p[1]) + ' ' + std::to_string(p[2]) + '\n';
    }
    return folder.write(name, text + "f 1 2 3 4\nf 5 5 5\n");
  };
  const Picture z = render({plate("z.obj", false), "--size", "60x45"}),
                y = render({plate("y.obj", true), "--size", "60x45", "--up", "y"});
  int nbShadows = 0, nbOthers = 0;
  for (int row = 0; row < 45; ++row) {
    for (int column = 0; column < 60; ++column) {
      const int brightness = z.brightness(column, row);
      nbShadows += brightness > 450 && brightness < z.brightness(0, 0) - 20;
      nbOthers += std::abs(brightness - y.brightness(column, row)) > 30;
    }
  }
  CHECK(nbShadows > 100);
  CHECK(nbOthers < 30);
}

TEST_CASE("a plate that faces the camera is as bright as its light says, and free of its own shadow") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", "v -1 0 -1\nv 1 0 -1\nv 1 0 1\nv -1 0 1\nf 1 2 3 4\n");
  const Picture picture = render({mesh, "--size", "21x21", "--view", "front"});
  const std::array<int, 3> expected = {175, 185, 197};  // 0.925 of the surface's colour, as sRGB
  for (std::size_t channel = 0; channel < 3; ++channel) {
    CHECK(std::abs(picture.at(10, 10)[channel] - expected[channel]) < 4);
  }
}

TEST_CASE("a symmetric mesh gives a picture whose columns mirror each other") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", "v -1 0 -1\nv 1 0 -1\nv 1 0 1\nv -1 0 1\nf 1 2 3 4\n");
  for (const char* samples : {"2", "4"}) {
    CAPTURE(samples);
    const Picture picture =
        render({mesh, "--size", "40x40", "--shading", "normal", "--view", "front", "--samples", samples});
    const int contrast = picture.brightness(0, 20) - picture.brightness(20, 20);
    int difference = 0;
    for (int column = 0; column < 20; ++column) {
      int sum = 0;
      for (int row = 0; row < 40; ++row) sum += picture.brightness(column, row) - picture.brightness(39 - column, row);
      difference += std::abs(sum);
    }
    CHECK(contrast > 200);
    CHECK(difference < contrast * 40 / 4);  // a quarter of a pixel
  }
}

TEST_CASE("edges are antialiased") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.obj", "v -1 0 -1\nv 1 0 -0.8\nv 0.7 0 1\nv -1.2 0 0.9\nf 1 2 3 4\n");
  const auto nbColors = [&](const char* samples) {
    const Picture picture =
        render({mesh, "--size", "50x50", "--shading", "normal", "--view", "front", "--samples", samples});
    std::set<std::array<int, 3>> colors;
    for (int y = 0; y < 50; ++y) {
      for (int x = 0; x < 50; ++x) colors.insert(picture.at(x, y));
    }
    return colors.size();
  };
  CHECK(nbColors("1") == 2);
  CHECK(nbColors("3") > 4);
}

TEST_CASE("a picture is the same bytes for any number of threads") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(soupMesh(500, 9)));
  for (const char* shading : {"facing", "cost"}) {
    const std::vector<std::string> arguments = {"render", mesh,      "-o",        "-",    "--size",
                                                "80x60",  "--quiet", "--shading", shading};
    const std::string expected = runQuery(arguments).output;
    CHECK(expected.size() > 1000);
    for (const char* threads : {"1", "2", "3", "8"}) {
      std::vector<std::string> more = arguments;
      more.insert(more.end(), {"--threads", threads});
      CHECK((runQuery(more).output == expected));
    }
  }
}

TEST_CASE("the summary counts camera rays and hits") {
  const TemporaryFolder folder;
  const std::string mesh = folder.write("mesh.stl", asStlBytes(sphereMesh(40, 80)));
  const Outcome outcome = runQuery({"render", mesh, "-o", folder.path("a.png"), "--size", "40x20", "--samples", "2"});
  CHECK(outcome.exitCode == 0);
  CHECK(outcome.output.empty());
  CHECK(outcome.error.find("mesh.stl: 6240 triangles") != std::string::npos);
  CHECK(outcome.error.find("\nindex: ") != std::string::npos);
  CHECK(outcome.error.find("\ncamera rays: 3200, ") != std::string::npos);
  CHECK(folder.names() == std::set<std::string>{"mesh.stl", "a.png"});
  CHECK(decode(folder.read("a.png")).width == 40);
}
