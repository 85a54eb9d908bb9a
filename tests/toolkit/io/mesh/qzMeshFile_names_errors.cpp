#include <doctest/doctest.h>
#include <toolkit/base/qzError.h>
#include <toolkit/io/mesh/qzMeshFile.h>

#include <cmath>
#include <cstring>
#include <filesystem>

#include "support/qzBits.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;

namespace {

const std::string kVertices = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";

/// What loading a file with these bytes says, without the folder in front.
std::string errorOfMesh(const TemporaryFolder& folder, const std::string& name, const std::string& bytes) {
  const std::string path = folder.write(name, bytes);
  const std::string error = errorOf([&] { qzToolkit::loadMesh(path); });
  const std::string prefix = folder.path("");
  return error.compare(0, prefix.size(), prefix) == 0 ? error.substr(prefix.size()) : error;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  REQUIRE(at != std::string::npos);
  return text.replace(at, from.size(), to);
}

std::string plyOf(const std::string& vertices, const std::string& faces) {
  return "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
         "element face 1\nproperty list uchar int vertex_indices\nend_header\n" +
         vertices + faces;
}

}  // namespace

TEST_CASE("more triangles than nodes can address are refused") {
  const TemporaryFolder folder;
  const std::string path = folder.write("two.obj", kVertices + "f 1 2 3\nf 3 2 1\n");
  CHECK(qzToolkit::loadMesh(path, nullptr, 2).getIndexBuffer()->getNbIndices() == 6);
  CHECK(errorOf([&] { qzToolkit::loadMesh(path, nullptr, 1); }) == path + ": more triangles than the limit of 1");
}

TEST_CASE("a file that is missing, a folder, and standard input") {
  const TemporaryFolder folder;
  const std::string missing = folder.path("missing.obj");
  CHECK(errorOf([&] { qzToolkit::loadMesh(missing); }) == missing + ": cannot be opened: No such file or directory");
  const std::string packed = folder.path("missing.obj.gz");
  CHECK(errorOf([&] { qzToolkit::loadMesh(packed); }) == packed + ": cannot be opened: No such file or directory");
  for (const char* name : {"folder.obj", "folder.obj.gz"}) {
    std::filesystem::create_directory(folder.path(name));
    CHECK(errorOf([&] { qzToolkit::loadMesh(folder.path(name)); }) ==
          folder.path(name) + ": cannot be read: Is a directory");
  }
  CHECK(errorOf([&] { qzToolkit::loadMesh("-"); }) ==
        "standard input: a mesh must come from a file, whose extension gives its format");
}

TEST_CASE("an empty file, in every format") {
  const TemporaryFolder folder;
  for (const char* name : {"a.obj", "a.ply", "a.stl", "a.off", "a.gltf", "a.glb", "a.dae", "a.fbx", "a.obj.gz"}) {
    CHECK(errorOfMesh(folder, name, "") == name + std::string(": the file is empty"));
  }
  CHECK(errorOfMesh(folder, "blank.obj", " \n\n") == "blank.obj: the file is empty");
  CHECK(errorOfMesh(folder, "packed.obj.gz", gzip("")) == "packed.obj.gz: the file is empty");
}

TEST_CASE("a file that is not a mesh") {
  const TemporaryFolder folder;
  const std::string prose = "This is a letter, and nothing in it has three corners.\n";
  CHECK(errorOfMesh(folder, "a.obj", prose) == "a.obj: no triangles in the file");
  CHECK(errorOfMesh(folder, "a.ply", prose) == "a.ply: not a PLY file");
  CHECK(errorOfMesh(folder, "a.stl", prose) == "a.stl: too short for an STL file");
  CHECK(errorOfMesh(folder, "b.stl", prose + prose) ==
        "b.stl: a binary STL file that announces 86764459684 bytes and has 110");
  CHECK(errorOfMesh(folder, "a.off", prose) == "a.off: not an OFF file");
  CHECK(errorOfMesh(folder, "a.txt", prose) == "a.txt: no reader for mesh files with the extension .txt");
  CHECK(errorOfMesh(folder, "letter", prose) == "letter: the file name has no extension that gives the format");
  CHECK(errorOfMesh(folder, "letter.gz", gzip(prose)) ==
        "letter.gz: the file name has no extension that gives the format");
  for (const char* name : {"a.gltf", "a.glb", "a.dae", "a.3ds", "a.fbx"}) {
    const std::string error = errorOfMesh(folder, name, prose);
    CHECK(error.substr(0, std::strlen(name) + 2) == name + std::string(": "));
    CHECK(error.find('\n') == std::string::npos);
  }
}

TEST_CASE("a file without triangles") {
  const TemporaryFolder folder;
  CHECK(errorOfMesh(folder, "a.obj", kVertices) == "a.obj: no triangles in the file");
  CHECK(errorOfMesh(folder, "b.obj", kVertices + "l 1 2\np 3\n") == "b.obj: no triangles in the file");
  CHECK(errorOfMesh(folder, "a.ply", plyOf("0 0 0\n1 0 0\n0 1 0\n", "2 0 1\n")) == "a.ply: no triangles in the file");
}

TEST_CASE("more triangles than the limit") {
  const TemporaryFolder folder;
  const std::string path = folder.write("a.obj", asObj(gridMesh(2)));
  CHECK(qzToolkit::loadMesh(path, nullptr, 8).getIndexBuffer()->getNbIndices() == 24);
  CHECK(errorOf([&] { qzToolkit::loadMesh(path, nullptr, 7); }) == path + ": more triangles than the limit of 7");
}

TEST_CASE("OBJ: errors name the line") {
  const TemporaryFolder folder;
  const auto error = [&](const std::string& bytes) { return errorOfMesh(folder, "a.obj", bytes); };
  CHECK(error(kVertices + "\nf 1 2 4\n") == "a.obj:5: the face names vertex 4, the file has 3");
  CHECK(error("f 1 2 3\nf 1 2 9\n" + kVertices) == "a.obj:2: the face names vertex 9, the file has 3");
  CHECK(error(kVertices + "f 1 2 0\n") == "a.obj:4: the face names vertex 0, the first is 1");
  CHECK(error(kVertices + "f 1 2 -4\n") == "a.obj:4: the face names vertex -4, there are 3 before it");
  CHECK(error(kVertices + "f 1 2 9999999999\n") == "a.obj:4: the vertex number is too large");
  CHECK(error(kVertices + "f 1 2 three\n") == "a.obj:4: a face corner is not a vertex number");
  CHECK(error(kVertices + "f 1 2 3x\n") == "a.obj:4: a face corner is not a vertex number");
  CHECK(error(kVertices + "f 1/1 2/1 /1\n") == "a.obj:4: a face corner is not a vertex number");
  CHECK(error(kVertices + "f 1 2\n") == "a.obj:4: a face with fewer than three corners");
  CHECK(error(kVertices + "f 1 2 3\nf") == "a.obj:5: a face with fewer than three corners");
  CHECK(error("v 0 0\n" + kVertices) == "a.obj:1: a vertex with fewer than three coordinates");
  CHECK(error("v 0 zero 0\n" + kVertices) == "a.obj:1: a vertex coordinate is not a number");
  CHECK(error("v 0 0 1.5.2\n" + kVertices) == "a.obj:1: a vertex coordinate is not a number");
  CHECK(error(kVertices + "v nan 0 0\nf 1 2 3\n") == "a.obj:4: a vertex coordinate is not finite");
  CHECK(error(kVertices + "v 0 -inf 0\nf 1 2 3\n") == "a.obj:4: a vertex coordinate is not finite");
  CHECK(error(kVertices + "v 0 0 1e39\nf 1 2 3\n") == "a.obj:4: a vertex coordinate is not finite");
}

TEST_CASE("PLY: errors name the vertex or face") {
  const TemporaryFolder folder;
  const auto error = [&](const std::string& bytes) { return errorOfMesh(folder, "a.ply", bytes); };
  const std::string vertices = "0 0 0\n1 0 0\n0 1 0\n", face = "3 0 1 2\n";
  CHECK(error(plyOf(vertices, "3 0 1 3\n")) == "a.ply: face 0: vertex number 3 is out of range, there are 3");
  CHECK(error(plyOf(vertices, "3 0 1 -1\n")) == "a.ply: face 0: vertex number -1 is out of range, there are 3");
  CHECK(error(plyOf(vertices, "0\n")) == "a.ply: no triangles in the file");
  CHECK(error(plyOf("0 0 0\n1 nan 0\n0 1 0\n", face)) == "a.ply: vertex 1: a coordinate is not finite");
  CHECK(error(plyOf("0 0 0\n1 0 0\n0 1 inf\n", face)) == "a.ply: vertex 2: a coordinate is not finite");
  CHECK(error(replaced(plyOf(vertices + "nan 0 0\n", face), "vertex 3", "vertex 4")) ==
        "a.ply: vertex 3: a coordinate is not finite");
  CHECK(error(plyOf(vertices, "")) == "a.ply: the file is cut off or damaged at face 0 of 1");
  CHECK(error(plyOf(vertices, "3 0 1")) == "a.ply: the file is cut off or damaged at face 0 of 1");
  CHECK(error(plyOf(vertices, "x 0 1 2\n")) == "a.ply: the file is cut off or damaged at face 0 of 1");
  CHECK(error(plyOf("0 0 0\n1 0 0\n", "")) == "a.ply: the file is cut off or damaged at vertex 2 of 3");
  CHECK(error("ply\nformat ascii 1.0\nelement vertex 3\n") == "a.ply: the file is cut off in its header");
  CHECK(error(replaced(plyOf(vertices, face), "vertex 3", "vertex x")) == "a.ply:3: an element without a count");
  CHECK(error(replaced(plyOf(vertices, face), "float y", "flaot y")) == "a.ply:5: an unknown type");
  CHECK(error(replaced(plyOf(vertices, face), "list uchar", "list float64")) == "a.ply:8: an unknown type of list");
  CHECK(error(replaced(plyOf(vertices, face), "element vertex 3\n", "")) == "a.ply:3: a property of no element");
  CHECK(error(replaced(plyOf(vertices, face), "end_header", "endheader")) == "a.ply:9: an unknown line in the header");
  CHECK(error(replaced(plyOf(vertices, face), "face 1", "face 4000000000")) ==
        "a.ply: the file is cut off or damaged at face 1 of 4000000000");
}

TEST_CASE("OBJ: NaN and infinity may be kept, but no number beyond the range of float, and no index out of range") {
  const TemporaryFolder folder;
  const auto load = [&](const std::string& bytes) {
    return qzToolkit::loadMesh(folder.write("a.obj", bytes), nullptr, 9, qzToolkit::tNonFinite::eKeep);
  };
  const qz::qzTriMesh mesh = load("v nan 0 0\nv 1 inf 0\nv 0 1 -inf\nf 1 2 3\n");
  CHECK(std::isnan(mesh.getVertexBuffer()->Position3(0)[0]));
  CHECK(mesh.getVertexBuffer()->Position3(1)[1] == kInf);
  CHECK(mesh.getVertexBuffer()->Position3(2)[2] == -kInf);
  CHECK(errorOf([&] { load(kVertices + "v 0 0 1e39\nf 1 2 3\n"); }) ==
        folder.path("a.obj") + ":4: a vertex coordinate is not finite");
  CHECK(errorOf([&] { load(kVertices + "f 1 2 4\n"); }) ==
        folder.path("a.obj") + ":4: the face names vertex 4, the file has 3");
}

TEST_CASE("PLY: a negative count is an error, not a large count") {
  const TemporaryFolder folder;
  std::string ply = replaced(asPlyBytes(gridMesh(1), false), "list uchar", "list char");
  CHECK(errorOfMesh(folder, "good.ply", ply) == "nothing thrown");
  const std::size_t face = ply.find("end_header\n") + 11 + 4 * 12;
  REQUIRE(ply[face] == 3);
  ply[face] = '\xFF';              // -1, or 255 without a sign
  ply += std::string(5000, '\0');  // enough bytes for either
  CHECK(errorOfMesh(folder, "a.ply", ply) == "a.ply: the file is cut off or damaged at face 0 of 2");
}

TEST_CASE("binary PLY and STL: an index out of range, NaN and infinity") {
  const TemporaryFolder folder;
  const auto withVertex0 = [](float x) {
    return qz::qzTriMesh(qz::qzVertexBuffer({{x, 0.0f, 0.0f}, {1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}}),
                         qz::qzIndexBuffer({1, 2, 0}));
  };
  for (float x : {kNaN, kInf, -kInf}) {
    CHECK(errorOfMesh(folder, "a.ply", asPlyBytes(withVertex0(x), false)) ==
          "a.ply: vertex 0: a coordinate is not finite");
    CHECK(errorOfMesh(folder, "a.stl", asStlBytes(withVertex0(x))) == "a.stl: vertex 2: a coordinate is not finite");
  }
  const qz::qzTriMesh wild(qz::qzVertexBuffer({{0.0f, 0.0f, 0.0f}, {1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}}),
                           qz::qzIndexBuffer({0, 1, 77}));
  CHECK(errorOfMesh(folder, "b.ply", asPlyBytes(wild, false)) ==
        "b.ply: face 0: vertex number 77 is out of range, there are 3");
}

TEST_CASE("OFF: errors name the line") {
  const TemporaryFolder folder;
  const auto error = [&](const std::string& bytes) { return errorOfMesh(folder, "a.off", bytes); };
  const std::string vertices = "0 0 0\n1 0 0\n0 1 0\n";
  CHECK(error("OFF\n3 1 0\n" + vertices + "3 0 1 3\n") ==
        "a.off:6: the face names vertex 3, the file has 3 vertex lines");
  CHECK(error("OFF\n3 1 0\n" + vertices + "3 0 1\n") == "a.off:6: not a count and as many vertex numbers");
  CHECK(error("OFF\n3 1 0\n" + vertices + "three 0 1 2\n") == "a.off:6: not a count and as many vertex numbers");
  CHECK(error("OFF\n3 2 0\n" + vertices + "3 0 1 2\n") == "a.off: the file is cut off after 1 face line of 2");
  CHECK(error("OFF\n3 1 0\n0 0 0\n1 0 0\n") == "a.off: the file is cut off after 2 vertex lines of 3");
  CHECK(error("OFF\n3 1 0\n0 0 0\n1 0\n0 1 0\n3 0 1 2\n") == "a.off:4: not three coordinates");
  CHECK(error("OFF\n3 1 0\n0 0 0\n1 nan 0\n0 1 0\n3 0 1 2\n") == "a.off: vertex 1: a coordinate is not finite");
  CHECK(error("OFF\nthree one none\n" + vertices) == "a.off:2: no counts of vertices and faces");
  CHECK(error("OFF\n") == "a.off: the file is cut off in its header");
}

TEST_CASE("STL: a text file without its end, a wrong number of facets, invalid coordinates") {
  const TemporaryFolder folder;
  const std::string text = asStlText(gridMesh(1)), bytes = asStlBytes(gridMesh(1));
  CHECK(errorOfMesh(folder, "a.stl", text.substr(0, text.find("endsolid"))) ==
        "a.stl: the file is cut off: its last line is not 'endsolid'");
  CHECK(errorOfMesh(folder, "b.stl", bytes + "more") ==
        "b.stl: a binary STL file that announces 184 bytes and has 188");
  CHECK(errorOfMesh(folder, "c.stl", replaced(text, "vertex -0.25", "vertex nan")) ==
        "c.stl: vertex 0: a coordinate is not finite");
}

TEST_CASE("glTF and COLLADA: broken geometry that assimp only logs is an error") {
  const TemporaryFolder folder;
  const qz::qzTriMesh good = gridMesh(1);
  const qz::qzTriMesh wild(*good.getVertexBuffer(), qz::qzIndexBuffer({0, 1, 2, 0, 1, 9}));
  std::string bin;
  const std::string gltf = asGltf(wild, "a.bin", bin);
  folder.write("a.bin", bin);
  CHECK(errorOfMesh(folder, "a.gltf", gltf) ==
        "a.gltf: Some faces had out-of-range indices. Those faces were dropped.");
  const std::string five =
      replaced(asGltf(good, "five.bin", bin), R"("SCALAR", "count": 6)", R"("SCALAR", "count": 5)");
  folder.write("five.bin", bin);
  CHECK(errorOfMesh(folder, "five.gltf", five) ==
        "five.gltf: The number of vertices was not compatible with the TRIANGLES mode. Some vertices were dropped.");
  const std::string cut = asGltf(good, "b.bin", bin);
  folder.write("b.bin", bin.substr(0, bin.size() - 4));
  CHECK(errorOfMesh(folder, "b.gltf", cut).substr(0, 10) == "b.gltf: GL");
  CHECK(errorOfMesh(folder, "c.gltf", asGltf(good, "missing.bin", bin)).substr(0, 8) == "c.gltf: ");
  CHECK(errorOfMesh(folder, "a.dae", asCollada(wild)).substr(0, 7) == "a.dae: ");
  CHECK(errorOfMesh(folder, "b.dae", replaced(asCollada(good), "<p>0", "<p>O")) ==
        "b.dae:9: something other than numbers among the vertex numbers");
  const std::string twice = replaced(asCollada(good), "</p></triangles>",
                                     "</p></triangles>\n<triangles count=\"1\"><input semantic=\"VERTEX\" "
                                     "source=\"#v\" offset=\"0\"/><p>0 l 2</p></triangles>");
  CHECK(errorOfMesh(folder, "c.dae", twice) == "c.dae:10: something other than numbers among the vertex numbers");
}

TEST_CASE("AC3D: a file that is cut off, of which assimp keeps the beginning") {
  const TemporaryFolder folder;
  const std::string surface = "SURF 0x0\nmat 0\nrefs 3\n0 0 0\n1 0 0\n2 0 0\n";
  const std::string text =
      "AC3Db\nOBJECT world\nkids 1\n"
      "OBJECT poly\nnumvert 3\n0 0 0\n1 0 0\n0 1 0\nnumsurf 2\n" +
      surface;
  CHECK(errorOfMesh(folder, "whole.ac", text + surface + "kids 0\n") == "nothing thrown");
  CHECK(errorOfMesh(folder, "cut.ac", text) == "cut.ac: AC3D: Unexpected EOF: surface is incomplete");
}

TEST_CASE("bones give no triangles") {
  const TemporaryFolder folder;
  const std::string skeleton =
      "HIERARCHY\nROOT hip\n{\n OFFSET 0 0 0\n CHANNELS 3 Zrotation Xrotation Yrotation\n JOINT knee\n {\n"
      "  OFFSET 0 1 0\n  CHANNELS 3 Zrotation Xrotation Yrotation\n  End Site\n  {\n   OFFSET 0 1 0\n  }\n }\n}\n"
      "MOTION\nFrames: 1\nFrame Time: 0.1\n0 0 0 0 0 0\n";
  CHECK(errorOfMesh(folder, "a.bvh", skeleton) == "a.bvh: no triangles in the file");
}

TEST_CASE("gzip: truncated, damaged and uncompressed data") {
  const TemporaryFolder folder;
  const std::string packed = gzip(asObj(gridMesh(20)));
  for (std::size_t length : {std::size_t(12), packed.size() / 2, packed.size() - 9, packed.size() - 1}) {
    CAPTURE(length);
    CHECK(errorOfMesh(folder, "a.obj.gz", packed.substr(0, length)) ==
          "a.obj.gz: the file is cut off: the gzip data end too early");
  }
  std::string damaged = packed;
  damaged[packed.size() / 2] = static_cast<char>(damaged[packed.size() / 2] ^ 0x55);
  CHECK(errorOfMesh(folder, "b.obj.gz", damaged).substr(0, 30) == "b.obj.gz: damaged gzip data: i");
  damaged = packed;
  damaged[packed.size() - 6] = static_cast<char>(damaged[packed.size() - 6] ^ 1);
  CHECK(errorOfMesh(folder, "c.obj.gz", damaged) == "c.obj.gz: damaged gzip data: incorrect data check");
  CHECK(errorOfMesh(folder, "d.obj.gz", asObj(gridMesh(1))) == "d.obj.gz: not a gzip file");
  CHECK(errorOfMesh(folder, "e.obj.gz", gzip(kVertices + "f 1 2 9\n")) ==
        "e.obj.gz:4: the face names vertex 9, the file has 3");
}

TEST_CASE("every truncation of a PLY, STL, OFF or gzip file is an error") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = gridMesh(1);  // few vertices: no number in the text can lose a digit
  const std::pair<const char*, std::string> files[] = {{"little.ply", asPlyBytes(mesh, false)},
                                                       {"big.ply", asPlyBytes(mesh, true)},
                                                       {"text.ply", asPlyText(mesh)},
                                                       {"bytes.stl", asStlBytes(mesh)},
                                                       {"text.stl", asStlText(mesh)},
                                                       {"text.off", asOff(mesh)},
                                                       {"mesh.ply.gz", gzip(asPlyBytes(mesh, false))}};
  for (const auto& file : files) {
    const char* const name = file.first;
    const std::string& bytes = file.second;
    CAPTURE(name);
    std::size_t end = bytes.size();
    if (bytes.back() == '\n') --end;
    if (std::string(name) == "text.stl") end = bytes.rfind("endsolid") + 8;  // the name after it may be cut
    for (std::size_t length = 0; length < end; ++length) {
      CAPTURE(length);
      const std::string error = errorOfMesh(folder, name, bytes.substr(0, length));
      CHECK(error.substr(0, std::strlen(name)) == name);
      CHECK(error.find('\n') == std::string::npos);
    }
    CHECK(errorOfMesh(folder, name, bytes) == "nothing thrown");
  }
}

TEST_CASE("files with random changes give an error or a valid mesh") {
  const TemporaryFolder folder;
  const qz::qzTriMesh mesh = gridMesh(2);
  const std::pair<const char*, std::string> files[] = {
      {"mesh.obj", asObj(mesh)},       {"little.ply", asPlyBytes(mesh, false)}, {"text.ply", asPlyText(mesh)},
      {"bytes.stl", asStlBytes(mesh)}, {"text.stl", asStlText(mesh)},           {"text.off", asOff(mesh)}};
  const std::uint32_t seed = 20240611;
  CAPTURE(seed);
  Random random(seed);
  int nbErrors = 0, nbMeshes = 0;
  for (const auto& file : files) {
    const char* const name = file.first;
    const std::string& bytes = file.second;
    for (int round = 0; round < 60; ++round) {
      CAPTURE(name);
      CAPTURE(round);
      std::string changed = bytes;
      for (std::uint32_t i = 0; i <= random.below(3); ++i) {
        changed[random.below(static_cast<std::uint32_t>(changed.size()))] = static_cast<char>(random.below(256));
      }
      const std::string path = folder.write(name, changed);
      try {
        const qz::qzTriMesh result = qzToolkit::loadMesh(path);
        ++nbMeshes;
        CHECK(result.getIndexBuffer()->getNbIndices() > 0);
        const int nbVertices = result.getVertexBuffer()->getNbVertices();
        for (int i = 0; i < result.getIndexBuffer()->getNbIndices(); ++i) {
          const int index = result.getIndexBuffer()->getIndices()[i];
          REQUIRE((index >= 0 && index < nbVertices));
          for (int axis = 0; axis < 3; ++axis) CHECK(std::isfinite(result.getVertexBuffer()->Position3(index)[axis]));
        }
      } catch (const qzToolkit::qzError& error) {
        ++nbErrors;
        const std::string text = error.what();
        CHECK(text.substr(0, path.size()) == path);
        CHECK(text.find('\n') == std::string::npos);
      }
    }
  }
  CHECK(nbErrors > 20);  // both happen
  CHECK(nbMeshes > 20);
}

TEST_CASE("damaged COLLADA files on which assimp 5.2.5 crashes are errors") {
  const TemporaryFolder folder;
  const std::string mesh = asCollada(gridMesh(1));
  for (const char* count : {"co5nt=", "coun0=", "= count="}) {
    CAPTURE(count);
    const std::string error = errorOfMesh(folder, "a.dae", replaced(mesh, "count=", count));
    CHECK(error.substr(0, 7) == "a.dae: ");
    CHECK(error.size() > 10);
    CHECK(error.find('\n') == std::string::npos);
  }
}
