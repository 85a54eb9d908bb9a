#include <doctest/doctest.h>
#include <fcntl.h>
#include <toolkit/io/table/qzNumpyArray.h>
#include <toolkit/io/table/qzRayFile.h>
#include <toolkit/run/qzChildProcess.h>
#include <unistd.h>

#include <algorithm>

#include "support/qzBits.h"
#include "support/qzTemporaryFolder.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

std::array<float, 8> valuesOf(const qzRay& ray) {
  return {ray.mOrigin[0],    ray.mOrigin[1],    ray.mOrigin[2], ray.mDirection[0],
          ray.mDirection[1], ray.mDirection[2], ray.mTMin,      ray.mTMax};
}

std::string errorOfRays(const TemporaryFolder& folder, const std::string& bytes, const std::string& name = "rays.csv") {
  const std::string path = folder.write(name, bytes);
  const std::string error = errorOf([&] { readRays(path); });
  return error.substr(0, path.size()) == path ? name + error.substr(path.size()) : error;
}

std::string bytesOf(const TemporaryFolder& folder, const std::string& name, const std::vector<qzHit>& hits,
                    std::optional<std::size_t> nbHits = std::nullopt) {
  const std::vector<qzColumn> columns = {
      {"distance"}, {"triangle", qzColumn::eInteger}, {"weight0"}, {"weight1"}, {"weight2"}};
  qzTableWriter writer(folder.path(name), columns, nullptr, nbHits);
  for (const qzHit& hit : hits) {
    std::string row;
    writer.encode({hit.mDistance, double(hit.mTriangle), hit.mWeights[0], hit.mWeights[1], hit.mWeights[2]}, row);
    writer.write(row, 1);
  }
  writer.commit();
  return folder.read(name);
}

qzHit hitOf(float distance, int triangle, float first, float second) {
  return qzHit(distance, static_cast<unsigned>(triangle), Wm4::Vector2<float>(first, second));
}

}  // namespace

TEST_CASE("text: six columns, with tMin 0 and tMax infinite; seven; eight") {
  const TemporaryFolder folder;
  std::vector<qzRay> rays = readRays(folder.write("six.csv", "1,2,3,4,5,6\n-1,0.5,1e3,0,0,-1\n"));
  REQUIRE(rays.size() == 2);
  CHECK(valuesOf(rays[0]) == std::array<float, 8>{1, 2, 3, 4, 5, 6, 0, kInf});
  CHECK(valuesOf(rays[1]) == std::array<float, 8>{-1, 0.5f, 1000, 0, 0, -1, 0, kInf});
  rays = readRays(folder.write("seven.csv", "1,2,3,4,5,6,7\n"));
  CHECK(valuesOf(rays.at(0)) == std::array<float, 8>{1, 2, 3, 4, 5, 6, 7, kInf});
  rays = readRays(folder.write("eight.csv", "1,2,3,4,5,6,7,8"));
  CHECK(valuesOf(rays.at(0)) == std::array<float, 8>{1, 2, 3, 4, 5, 6, 7, 8});
}

TEST_CASE("text: names of columns, blanks, blank lines and carriage returns") {
  const TemporaryFolder folder;
  const std::vector<qzRay> rays =
      readRays(folder.write("a.csv", "ox,oy,oz,dx,dy,dz\r\n 1 ,\t2,3,4,5,6\r\n\r\n1,2,3,4,5,+6\r\n\n"));
  REQUIRE(rays.size() == 2);
  CHECK(valuesOf(rays[0]) == valuesOf(rays[1]));
  CHECK(readRays(folder.write("empty.csv", "")).empty());
  CHECK(readRays(folder.write("names.csv", "ox,oy,oz,dx,dy,dz\n")).empty());
}

TEST_CASE("text: NaN and infinities are numbers") {
  const TemporaryFolder folder;
  const std::vector<qzRay> rays = readRays(folder.write("a.csv", "nan,inf,-inf,0,0,1\n"));
  REQUIRE(rays.size() == 1);
  CHECK(rays[0].mOrigin[0] != rays[0].mOrigin[0]);
  CHECK(rays[0].mOrigin[1] == kInf);
  CHECK(rays[0].mOrigin[2] == -kInf);
}

TEST_CASE("text: errors name the line") {
  const TemporaryFolder folder;
  CHECK(errorOfRays(folder, "1,2,3,4,5,6\n1,2,three,4,5,6\n") == "rays.csv:2: 'three' is not a number");
  CHECK(errorOfRays(folder, "1,2,three,4,5,6\n") == "rays.csv:1: 'three' is not a number");
  CHECK(errorOfRays(folder, "ox,oy,oz,dx,dy,dz\nox,oy,oz,dx,dy,dz\n") == "rays.csv:2: 'ox' is not a number");
  CHECK(errorOfRays(folder, "1,2,3,4,5,\n") == "rays.csv:1: '' is not a number");
  CHECK(errorOfRays(folder, "1,2,3,4,5,6\n\n1,2,3,4,5,1e39\n") ==
        "rays.csv:3: '1e39' is beyond the range of single precision");
  CHECK(errorOfRays(folder, "1,2,3,4,5\n") ==
        "rays.csv:1: 5 columns instead of 6 (origin, direction), 7 (tMin too) or 8 (tMin and tMax)");
  CHECK(errorOfRays(folder, "1 2 3 4 5 6\n").substr(0, 34) == "rays.csv:1: 1 column instead of 6 ");
  CHECK(errorOfRays(folder, "1,2,3,4,5,6,7,8,9\n").substr(0, 22) == "rays.csv:1: 9 columns ");
  CHECK(errorOfRays(folder, "1,2,3,4,5,6\n1,2,3,4,5,6,7\n") == "rays.csv:2: 7 columns after lines of 6");
  CHECK(errorOfRays(folder, std::string("1,2,3,4,5,\x1b[31m\n")) == "rays.csv:1: ' [31m' is not a number");
  const std::string missing = folder.path("missing.csv");
  CHECK(errorOf([&] { readRays(missing); }) == missing + ": cannot be opened: No such file or directory");
}

TEST_CASE(".npy: the same columns as text") {
  const TemporaryFolder folder;
  std::vector<qzRay> rays = readRays(folder.write("a.npy", qzNumpyArray::Encode({1, 2, 3, 4, 5, 6, 7, 8}, 8)));
  REQUIRE(rays.size() == 1);
  CHECK(valuesOf(rays[0]) == std::array<float, 8>{1, 2, 3, 4, 5, 6, 7, 8});
  rays = readRays(folder.write("named.otherwise", qzNumpyArray::Encode({1, 2, 3, 4, 5, 6, 0.1, 2, 3, 4, 5, 6}, 6)));
  REQUIRE(rays.size() == 2);
  CHECK(valuesOf(rays[1]) == std::array<float, 8>{0.1f, 2, 3, 4, 5, 6, 0, kInf});
}

TEST_CASE(".npy: errors name the row") {
  const TemporaryFolder folder;
  CHECK(errorOfRays(folder, qzNumpyArray::Encode({1, 2, 3, 4, 5}, 5), "rays.npy").substr(0, 31) ==
        "rays.npy: 5 columns instead of ");
  CHECK(errorOfRays(folder, qzNumpyArray::Encode({1, 2, 3, 4, 5, 6, 1, 2, 1e39, 4, 5, 6}, 6), "rays.npy") ==
        "rays.npy: row 1: column 2 is beyond the range of single precision");
  CHECK(errorOfRays(folder, qzNumpyArray::Encode({-1e39, 2, 3, 4, 5, 6}, 6), "rays.npy") ==
        "rays.npy: row 0: column 0 is beyond the range of single precision");
  CHECK(errorOfRays(folder, "1,2,3,4,5,6\n", "rays.npy") == "rays.npy: not a .npy file");
}

TEST_CASE("errors in rays from standard input name it") {
  const TemporaryFolder folder;
  folder.write("rays.csv", "1,2,3,4,5,down\n");
  std::string error(37, ' ');
  qzChildProcess process({10, std::size_t(1) << 30}, [&](const qzChildProcess::tOutput& output) {
    const int file = ::open(folder.path("rays.csv").c_str(), O_RDONLY | O_CLOEXEC);
    ::dup2(file, STDIN_FILENO);
    const std::string text = errorOf([&] { readRays("-"); });
    output.write(text.data(), std::min(text.size(), error.size()));
  });
  process.read(error.data(), error.size());
  CHECK(error == "standard input:1: 'down' is not a num");
}

TEST_CASE("hits as text: one line each, also for no hit") {
  const TemporaryFolder folder;
  CHECK(bytesOf(folder, "hits.csv", {hitOf(2.5f, 7, 0.25f, 0.5f), qzHit()}) ==
        "distance,triangle,weight0,weight1,weight2\n2.5,7,0.25,0.5,0.25\ninf,-1,nan,nan,nan\n");
  CHECK(bytesOf(folder, "hits.csv", {}) == "distance,triangle,weight0,weight1,weight2\n");
}

TEST_CASE("hits as .npy: the same columns, exactly") {
  const TemporaryFolder folder;
  const float third = 1.0f / 3.0f;
  const std::string bytes = bytesOf(folder, "hits.npy", {qzHit(), hitOf(third, 100000001, third, 0.1f)});
  const qzNumpyArray array("hits", bytes);
  REQUIRE(array.getNbRows() == 2);
  REQUIRE(array.getNbColumns() == 5);
  CHECK(array.getElement(0, 0) == kInf);
  CHECK(array.getElement(0, 1) == -1.0);
  for (std::size_t column = 2; column < 5; ++column) CHECK(std::isnan(array.getElement(0, column)));
  CHECK(array.getElement(1, 0) == double(third));
  CHECK(array.getElement(1, 1) == 100000001.0);
  CHECK(array.getElement(1, 2) == double(third));
  CHECK(array.getElement(1, 3) == double(0.1f));
  CHECK(array.getElement(1, 4) == double((1.0f - third) - 0.1f));
}

TEST_CASE("the extension selects the format of hits") {
  const TemporaryFolder folder;
  const std::vector<qzHit> hits = {hitOf(1.0f, 0, 0.5f, 0.5f)};
  const std::string text = bytesOf(folder, "hits.csv", hits), numpy = bytesOf(folder, "hits.npy", hits);
  CHECK(text == "distance,triangle,weight0,weight1,weight2\n1,0,0.5,0.5,0\n");
  CHECK(qzNumpyHeader::Recognizes(numpy));
  CHECK(bytesOf(folder, "HITS.NPY", hits) == numpy);
  CHECK(bytesOf(folder, "hits", hits) == text);
}

TEST_CASE("a .npy file is the same whether its number of rows was known before or not") {
  const TemporaryFolder folder;
  for (const std::size_t nbHits : {std::size_t(0), std::size_t(1), std::size_t(12345)}) {
    const std::vector<qzHit> hits(nbHits, hitOf(1.0f, 0, 0.5f, 0.5f));
    std::vector<double> elements;
    for (std::size_t i = 0; i < nbHits; ++i) elements.insert(elements.end(), {1.0, 0.0, 0.5, 0.5, 0.0});
    const std::string expected = qzNumpyArray::Encode(elements, 5);
    CHECK((bytesOf(folder, "hits.npy", hits) == expected));
    CHECK((bytesOf(folder, "hits.npy", hits, nbHits) == expected));
  }
}

TEST_CASE("a block knows the number of its first ray, whatever the size of blocks, blank lines and column names") {
  const TemporaryFolder folder;
  const std::string row = "1,2,3,4,5,6\n";
  std::string many = "x,y,z,x,y,z\n\n", plain, blanks = "\r\n \n";
  for (int i = 0; i < 300; ++i) {
    many += row + (i % 7 == 0 ? "\n \t\r\n" : "");
    plain += row;
    blanks += row + "\n";
  }
  const std::string files[] = {folder.write("many.csv", many), folder.write("plain.csv", plain),
                               folder.write("blanks.csv", blanks), folder.write("nothing.csv", "x,y,z,x,y,z\n"),
                               folder.write("a.npy", qzNumpyArray::Encode(std::vector<double>(300 * 6, 1.0), 6))};
  for (const std::string& name : files) {
    CAPTURE(name);
    for (const std::size_t blockSize : {std::size_t(1), std::size_t(20), std::size_t(1000), qzRayReader::kBlockSize}) {
      CAPTURE(blockSize);
      qzRayReader reader(name, nullptr, blockSize);
      std::size_t nbRays = 0, nbWrong = 0;
      for (qzRayBlock block; reader.read(block);) {
        nbWrong += block.mFirstRay != nbRays;
        reader.decode(block, [&](const qzRay&) { ++nbRays; });
      }
      CHECK(nbWrong == 0);
      CHECK(nbRays == (name == files[3] ? 0 : 300));
    }
  }
}

TEST_CASE("a table has any columns: integers without a point, floats that read back, as .npy the same values") {
  const TemporaryFolder folder;
  const std::vector<qzColumn> columns = {{"ray", qzColumn::eInteger}, {"t"}};
  for (const char* name : {"a.csv", "a.npy"}) {
    qzTableWriter writer(folder.path(name), columns);
    std::string rows;
    writer.encode({9007199254740992.0, 0.1f}, rows);
    writer.encode({0, -kInf}, rows);
    writer.write(rows, 2);
    writer.commit();
  }
  CHECK(folder.read("a.csv") == "ray,t\n9007199254740992,0.1\n0,-inf\n");
  const std::string bytes = folder.read("a.npy");
  const qzNumpyArray array("a.npy", bytes);
  REQUIRE(array.getNbRows() == 2);
  REQUIRE(array.getNbColumns() == 2);
  CHECK(array.getElement(0, 0) == 9007199254740992.0);
  CHECK(array.getElement(0, 1) == double(0.1f));
  CHECK(array.getElement(1, 1) == -double(kInf));
}
