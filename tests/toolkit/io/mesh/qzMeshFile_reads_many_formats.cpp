#include <doctest/doctest.h>
#include <toolkit/io/mesh/qzMeshFile.h>

#include <array>
#include <cstdint>

#include "support/qzBits.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

std::vector<TriangleCorners> readCorners(const TemporaryFolder& folder, const std::string& name,
                                         const std::string& bytes) {
  return cornersOf(qzToolkit::loadMesh(folder.write(name, bytes)));
}

/// Two triangles that make the unit square, as most small files here want it.
const std::vector<TriangleCorners> kSquare = {{0, 0, 0, 1, 0, 0, 1, 1, 0}, {0, 0, 0, 1, 1, 0, 0, 1, 0}};

}  // namespace

TEST_CASE("every format gives the triangles of the file in their order") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = gridMesh(9);
  const std::vector<TriangleCorners> expected = cornersOf(mesh);
  CHECK(expected.size() == 162);
  CHECK(readCorners(folder, "mesh.obj", asObj(mesh)) == expected);
  CHECK(readCorners(folder, "text.ply", asPlyText(mesh)) == expected);
  CHECK(readCorners(folder, "little.ply", asPlyBytes(mesh, false)) == expected);
  CHECK(readCorners(folder, "big.ply", asPlyBytes(mesh, true)) == expected);
  CHECK(readCorners(folder, "text.stl", asStlText(mesh)) == expected);
  CHECK(readCorners(folder, "bytes.stl", asStlBytes(mesh)) == expected);
  CHECK(readCorners(folder, "mesh.off", asOff(mesh)) == expected);
  std::string bin;
  const std::string gltf = asGltf(mesh, "mesh.bin", bin);
  folder.write("mesh.bin", bin);
  CHECK(readCorners(folder, "mesh.gltf", gltf) == expected);
}

TEST_CASE("the extension may be in capitals") {
  const TemporaryFolder folder;
  CHECK(readCorners(folder, "MESH.OBJ", asObj(gridMesh(2))) == cornersOf(gridMesh(2)));
  CHECK(readCorners(folder, "MESH.Ply.GZ", gzip(asPlyText(gridMesh(2)))) == cornersOf(gridMesh(2)));
}

TEST_CASE("coordinates keep their bits in OBJ and in binary PLY, STL and glTF") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = terrainMesh(20, 7);
  const std::vector<TriangleCorners> expected = cornersOf(mesh);
  CHECK(readCorners(folder, "mesh.obj", asObj(mesh)) == expected);
  CHECK(readCorners(folder, "little.ply", asPlyBytes(mesh, false)) == expected);
  CHECK(readCorners(folder, "big.ply", asPlyBytes(mesh, true)) == expected);
  CHECK(readCorners(folder, "mesh.stl", asStlBytes(mesh)) == expected);
  std::string bin;
  const std::string gltf = asGltf(mesh, "mesh.bin", bin);
  folder.write("mesh.bin", bin);
  CHECK(readCorners(folder, "mesh.gltf", gltf) == expected);
}

TEST_CASE("vertices are neither merged nor split in OBJ and PLY") {
  const TemporaryFolder folder;
  const std::string twice = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 0\nv 9 9 9\nf 1 2 3\nf 4 2 3\n";
  const qz::qzTriMesh mesh = qzToolkit::loadMesh(folder.write("twice.obj", twice));
  CHECK(mesh.getVertexBuffer()->getNbVertices() == 5);
  const std::vector<int> indices(mesh.getIndexBuffer()->getIndices(), mesh.getIndexBuffer()->getIndices() + 6);
  CHECK(indices == std::vector<int>{0, 1, 2, 3, 1, 2});
  CHECK(qzToolkit::loadMesh(folder.write("grid.ply", asPlyText(gridMesh(4)))).getVertexBuffer()->getNbVertices() == 25);
}

TEST_CASE("compressed files of several formats give the same mesh as plain ones") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = gridMesh(9);
  const std::vector<TriangleCorners> expected = cornersOf(mesh);
  CHECK(readCorners(folder, "mesh.obj.gz", gzip(asObj(mesh))) == expected);
  CHECK(readCorners(folder, "mesh.ply.gz", gzip(asPlyBytes(mesh, false))) == expected);
  CHECK(readCorners(folder, "mesh.stl.gz", gzip(asStlBytes(mesh))) == expected);
  CHECK(readCorners(folder, "mesh.off.gz", gzip(asOff(mesh))) == expected);
  const std::string obj = asObj(mesh);
  CHECK(readCorners(folder, "parts.obj.gz", gzip(obj.substr(0, 100)) + gzip(obj.substr(100))) == expected);
}

TEST_CASE("transforms of nodes are applied, in glTF and in COLLADA") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = gridMesh(3);
  std::vector<TriangleCorners> expected = cornersOf(mesh);
  std::string bin;
  const std::string gltf = asGltf(mesh, "mesh.bin", bin, R"(, "translation": [4, 0, -8], "scale": [2, 2, 2])");
  folder.write("mesh.bin", bin);
  for (TriangleCorners& corners : expected) {
    for (std::size_t k = 0; k < 9; ++k)
      corners[k] = 2.0f * corners[k] + (k % 3 == 0 ? 4.0f : k % 3 == 2 ? -8.0f : 0.0f);
  }
  CHECK(readCorners(folder, "mesh.gltf", gltf) == expected);

  expected = cornersOf(mesh);
  for (TriangleCorners& corners : expected) {
    for (std::size_t k = 2; k < 9; k += 3) corners[k] += 8.0f;
  }
  CHECK(readCorners(folder, "mesh.dae", asCollada(mesh)) == expected);
}

TEST_CASE("a transform close to the identity is applied") {
  const TemporaryFolder folder;
  std::string bin;
  const std::string gltf = asGltf(gridMesh(1), "mesh.bin", bin, R"(, "scale": [1.0078125, 1, 1])");
  folder.write("mesh.bin", bin);
  CHECK(readCorners(folder, "mesh.gltf", gltf)[0][3] == 0.25f * 1.0078125f);
}

TEST_CASE("a mesh that two nodes refer to is there twice") {
  const TemporaryFolder folder;
  std::string bin;
  std::string gltf =
      asGltf(gridMesh(1), "mesh.bin", bin, R"(, "children": [1]}, {"mesh": 0, "translation": [8, 0, 0])");
  folder.write("mesh.bin", bin);
  const std::vector<TriangleCorners> corners = readCorners(folder, "mesh.gltf", gltf);
  CHECK(corners.size() == 4);
  CHECK(corners[2][0] == corners[0][0] + 8.0f);
}

TEST_CASE("the transform of a node is relative to its parent") {
  const TemporaryFolder folder;
  std::string bin;
  const std::string gltf = asGltf(gridMesh(1), "mesh.bin", bin,
                                  R"(, "scale": [2, 2, 2], "children": [1]}, {"mesh": 0, "translation": [8, 0, 0])");
  folder.write("mesh.bin", bin);
  const std::vector<TriangleCorners> corners = readCorners(folder, "mesh.gltf", gltf);
  REQUIRE(corners.size() == 4);
  CHECK(corners[0][0] == -0.5f);
  CHECK(corners[2][0] == 15.5f);  // 2 * (-0.25 + 8)
}

TEST_CASE("polygons are triangulated in file order, in OBJ, PLY and OFF") {
  const TemporaryFolder folder;
  const std::string vertices = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n", faces = "3 0 1 2\n4 0 1 2 3\n3 2 3 0\n";
  const std::vector<TriangleCorners> expected = {kSquare[0], kSquare[0], kSquare[1], {1, 1, 0, 0, 1, 0, 0, 0, 0}};
  CHECK(readCorners(folder, "mesh.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3\nf 1 2 3 4\nf 3 4 1\n") ==
        expected);
  CHECK(readCorners(folder, "mesh.off", "OFF\n4 3 0\n" + vertices + faces) == expected);
  CHECK(readCorners(folder, "mesh.ply",
                    "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
                    "element face 3\nproperty list uchar int vertex_indices\nend_header\n" +
                        vertices + faces) == expected);
}

TEST_CASE("triangles without area are kept") {
  const TemporaryFolder folder;
  const std::string vertices = "v 0 0 0\nv 1 0 0\nv 2 0 0\nv 0 1 0\n";
  CHECK(readCorners(folder, "mesh.obj", vertices + "f 1 1 1\nf 1 2 3\nf 1 2 4\nf 1 2 4\n").size() == 4);
}

TEST_CASE("OBJ: groups, objects and materials that are continued later keep file order") {
  const TemporaryFolder folder;
  const std::string text =
      "mtllib missing.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\n"
      "o a\nusemtl red\nf 1/1/1 2/1/1 3/1/1\no b\nusemtl blue\nf 1//1 3//1 4//1\no a\nusemtl red\nf 2/1 3/1 4/1\n";
  const std::vector<TriangleCorners> corners = readCorners(folder, "mesh.obj", text);
  CHECK(corners.size() == 3);
  CHECK(std::vector<TriangleCorners>(corners.begin(), corners.begin() + 2) == kSquare);
  CHECK(corners.back() == TriangleCorners{1, 0, 0, 1, 1, 0, 0, 1, 0});
}

TEST_CASE("OBJ: blanks, comments, carriage returns, short numbers, negative indices, continued and unknown lines") {
  const TemporaryFolder folder;
  const std::string text =
      "# a square\r\n  v 0 0 0  # first\r\nv 1. +0 -0\r\nv\t1e0 1.0E+0\t.0 0.5 0.5 0.5\r\nv 0 1 0 1\r\n\r\n"
      "curv 0 1 2\r\np 1\r\nl 1 2\r\ng\r\ns off\r\n\tf -4 \\\r\n 2 3\r\nf 1 -2 -1";
  std::vector<TriangleCorners> corners = readCorners(folder, "mesh.obj", text);
  CHECK(corners.size() == 2);
  CHECK(corners == kSquare);
  CHECK(readCorners(folder, "backwards.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nf -3 -2 -1\nv 0 1 0\nf -4 -2 -1\n") ==
        kSquare);
  const std::string four = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";
  CHECK(readCorners(folder, "words.obj", four + "f 1 2\\\n3\nf 1\\\n\\\n3 4\n") == kSquare);
  CHECK(readCorners(folder, "end.obj", four + "f 1 2 3\nf 1 3 4\\") == kSquare);
  CHECK(readCorners(folder, "ahead.obj", "f 1 2 3\nf 1 3 4\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n") == kSquare);
}

TEST_CASE("points and lines are dropped") {
  const TemporaryFolder folder;
  const std::string ply =
      "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
      "element face 4\nproperty list uchar int vertex_indices\nend_header\n"
      "0 0 0\n1 0 0\n1 1 0\n0 1 0\n3 0 1 2\n2 0 1\n1 3\n3 0 2 3\n";
  CHECK(readCorners(folder, "mesh.ply", ply) == kSquare);
}

TEST_CASE("PLY: other elements and properties, short indices, leading lists and carriage returns are accepted") {
  const TemporaryFolder folder;
  const std::string ply =
      "ply\r\nformat ascii 1.0\r\ncomment made by hand\r\nelement vertex 4\r\nproperty double x\r\nproperty float y\r\n"
      "property float z\r\nproperty uchar red\r\nelement face 2\r\nproperty list uchar ushort vertex_indices\r\n"
      "property uchar kind\r\nelement edge 1\r\nproperty int vertex1\r\nproperty int vertex2\r\nend_header\r\n"
      "0 0 0 255\r\n1 0 0 255\r\n1 1 0 255\r\n0 1 0 255\r\n3 0 1 2 7\r\n3 0 2 3 7\r\n0 1\r\n";
  CHECK(readCorners(folder, "mesh.ply", ply) == kSquare);
}

TEST_CASE("PLY: elements of every type and counts of any size, in either byte order") {
  const TemporaryFolder folder;
  const auto number = [](std::uint64_t bits, std::size_t size, bool isBigEndian) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
      bytes += static_cast<char>(bits >> 8 * (isBigEndian ? size - 1 - i : i) & 255);
    }
    return bytes;
  };
  const std::pair<const char*, std::size_t> types[] = {{"char", 1},  {"uchar", 1},   {"int8", 1},   {"uint8", 1},
                                                       {"short", 2}, {"ushort", 2},  {"int16", 2},  {"uint16", 2},
                                                       {"int", 4},   {"uint", 4},    {"int32", 4},  {"uint32", 4},
                                                       {"float", 4}, {"float32", 4}, {"double", 8}, {"float64", 8}};
  for (const bool isBigEndian : {false, true}) {
    for (const auto& [countType, countSize] : types) {
      if (countSize == 8 || countType[0] == 'f') continue;
      CAPTURE(isBigEndian);
      CAPTURE(countType);
      std::string header = std::string("ply\nformat binary_") + (isBigEndian ? "big" : "little") +
                           "_endian 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n";
      std::string vertexRest;
      for (const auto& [type, size] : types) {
        header += std::string("property ") + type + " extra_" + type + "\n";
        vertexRest += std::string(size, '\0');
      }
      header += std::string("element face 2\nproperty list ") + countType + " int vertex_indices\nend_header\n";
      std::string body;
      for (const auto& [x, y] : {std::pair(0, 0), std::pair(1, 0), std::pair(1, 1), std::pair(0, 1)}) {
        for (int coordinate : {x, y, 0}) body += number(coordinate == 0 ? 0 : 0x3F800000u, 4, isBigEndian);
        body += vertexRest;
      }
      for (const auto& corners : {std::array<unsigned, 3>{0, 1, 2}, std::array<unsigned, 3>{0, 2, 3}}) {
        body += number(3, countSize, isBigEndian);
        for (unsigned corner : corners) body += number(corner, 4, isBigEndian);
      }
      CHECK(readCorners(folder, "mesh.ply", header + body) == kSquare);
      const std::string cut = folder.write("cut.ply", header + body.substr(0, body.size() - 1));
      CHECK(errorOf([&] { qzToolkit::loadMesh(cut); }) == cut + ": the file is cut off or damaged at face 1 of 2");
    }
  }
}

TEST_CASE("PLY: an element without properties takes no time, whatever its count") {
  const TemporaryFolder folder;
  std::string ply = asPlyText(gridMesh(1));
  ply.insert(ply.find("end_header"), "element nothing 4000000000\n");
  CHECK(readCorners(folder, "mesh.ply", ply) == cornersOf(gridMesh(1)));
}

TEST_CASE("STL: the comment of a binary file may start like a text file") {
  const TemporaryFolder folder;
  std::string stl = asStlBytes(gridMesh(2));
  stl.replace(0, 9, "solid of ");
  CHECK(readCorners(folder, "mesh.stl", stl) == cornersOf(gridMesh(2)));
}

TEST_CASE("OFF: comments, colours and counts after the keyword are accepted") {
  const TemporaryFolder folder;
  CHECK(readCorners(folder, "mesh.off",
                    "OFF # square\n# counts\n4 2 0\n\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n3 0 1 2 0.5 0.5 0.5\n3 0 2 3\n") ==
        kSquare);
  CHECK(readCorners(folder, "coloured.off",
                    "COFF\n4 2 0\n0 0 0 9 9 9 9\n1 0 0 9 9 9 9\n1 1 0 9 9 9 9\n0 1 0 9 9 9 9\n3 0 1 2\n3 0 2 3\n") ==
        kSquare);
}

TEST_CASE("reading leaves no file behind") {
  const TemporaryFolder folder;
  readCorners(folder, "mesh.obj.gz", gzip(asObj(gridMesh(2))));
  CHECK(folder.names() == std::set<std::string>{"mesh.obj.gz"});
}
