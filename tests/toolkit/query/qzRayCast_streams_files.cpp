// Files of rays cast block by block, beside a plain form that has all of them at once.

#include <doctest/doctest.h>
#include <sys/stat.h>
#include <toolkit/base/qzError.h>
#include <toolkit/base/qzNumber.h>
#include <toolkit/io/table/qzNumpyArray.h>
#include <toolkit/io/table/qzRayFile.h>
#include <toolkit/query/qzRayCast.h>
#include <toolkit/run/qzProgress.h>
#include <toolkit/run/qzThreads.h>

#include <atomic>
#include <filesystem>
#include <future>

#include "support/qzBits.h"
#include "support/qzFileSizeLimit.h"
#include "support/qzTemporaryFolder.h"
#include "support/scenes/qzTestMeshes.h"
#include "toolkit/qzAllowedThreads.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using namespace qzToolkit;

namespace {

using tQuery = std::function<qzHit(const qzRay&)>;
using tRows = std::vector<std::array<float, 8>>;

constexpr std::size_t kBlockSizes[] = {1, 7, 64, 1000, qzRayReader::kBlockSize};

qzHit miss(const qzRay&) {
  return qzHit();
}

/// Casts a batch ray by ray.
tBatchCaster batchesOf(const tQuery& query) {
  return
      [query](const qzRay* rays, std::size_t count, qzHit* hits) { std::transform(rays, rays + count, hits, query); };
}

qzCastCounts castFile(const std::string& rays, const std::string& hits, const tQuery& query, int nbThreads,
                      std::size_t blockSize, const std::function<void(const qzRay&)>& check = nullptr) {
  const AllowedThreads allowed(nbThreads);
  const qzThreads threads(nbThreads);
  CHECK(threads.getNbThreads() == nbThreads);
  struct tSum : qzProgress {
    std::atomic<std::size_t> bytes{0};
    void advance(std::size_t count) override { bytes += count; }
  } progress;
  qzRayReader reader(rays, nullptr, blockSize);
  const qz::qzTriMesh mesh = gridMesh(1);
  qzRayQuestion question = askForHits(mesh, {}, batchesOf(query));
  question.mCheck = check;
  qzTableWriter writer(hits, question.mColumns, nullptr, reader.getNbRays());
  const qzCastCounts counts = castRays(reader, writer, question, threads, nullptr, &progress);
  CHECK(counts.mNbRows == counts.mNbRays);
  CHECK(progress.bytes <= reader.getSize());
  CHECK((progress.bytes > 0 || counts.mNbRays == 0));
  writer.commit();
  return counts;
}

tRows randomRows(std::size_t count, std::uint32_t seed) {
  Random random(seed);
  tRows rows(count);
  for (std::array<float, 8>& row : rows) {
    for (std::size_t k = 0; k < 3; ++k) row[k] = random.between(-1.5f, 1.5f);
    for (std::size_t k = 3; k < 6; ++k) row[k] = random.between(-1.0f, 1.0f);
    row[6] = random.between(0.0f, 0.5f);
    row[7] = random.between(0.5f, 4.0f);
  }
  return rows;
}

/// With column names, some blank lines and carriage returns, and no newline at the end.
std::string asText(const tRows& rows) {
  std::string text = "ox,oy,oz,dx,dy,dz,tmin,tmax\r\n";
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t k = 0; k < 8; ++k) {
      if (k > 0) text += i % 5 == 0 ? " ,\t" : ",";
      appendNumber(text, rows[i][k]);
    }
    if (i + 1 < rows.size()) text += i % 3 == 0 ? "\r\n" : i % 7 == 0 ? "\n\n \r\n" : "\n";
  }
  return text;
}

template <class tElement>
std::string asNumpy(const tRows& rows) {
  std::vector<tElement> elements;
  for (const std::array<float, 8>& row : rows) elements.insert(elements.end(), row.begin(), row.end());
  return qzNumpyArray::Encode(elements, 8);
}

/// The expected result of casting rows: the bytes of both file formats.
struct tPlainHits {
  std::string mText = "distance,triangle,weight0,weight1,weight2\n", mNumpy;
  qzCastCounts mCounts;

  tPlainHits(const tRows& rows, const tQuery& query) {
    std::vector<double> elements;
    for (const std::array<float, 8>& v : rows) {
      const qzHit hit = query({{v[0], v[1], v[2]}, {v[3], v[4], v[5]}, v[6], v[7]});
      ++mCounts.mNbRays;
      mCounts.mNbHits += hit.isHit();
      appendNumber(mText, hit.mDistance);
      mText += ',' + std::to_string(hit.mTriangle);
      for (float weight : hit.mWeights) appendNumber(mText += ',', weight);
      mText += '\n';
      elements.insert(elements.end(), {hit.mDistance, static_cast<double>(hit.mTriangle), hit.mWeights[0],
                                       hit.mWeights[1], hit.mWeights[2]});
    }
    mNumpy = qzNumpyArray::Encode(elements, 5);
  }
};

/// The numbers of rays, which can be compared.
tRows valuesOf(const std::vector<qzRay>& rays) {
  tRows values;
  for (const qzRay& ray : rays) {
    values.push_back({ray.mOrigin[0], ray.mOrigin[1], ray.mOrigin[2], ray.mDirection[0], ray.mDirection[1],
                      ray.mDirection[2], ray.mTMin, ray.mTMax});
  }
  return values;
}

/// Reads a named pipe to its end.
std::future<std::string> readPipe(const std::string& name) {
  REQUIRE(::mkfifo(name.c_str(), 0600) == 0);
  return std::async(std::launch::async, [name] { return readFile(name); });
}

}  // namespace

TEST_CASE("hits are the same bytes for any block size, number of threads and file format") {
  const std::uint32_t seed = 11;
  CAPTURE(seed);
  const TemporaryFolder folder;
  qzQBVH hierarchy;
  hierarchy.buildFromMesh(qzQBVH::eTrianglesEquations, soupMesh(20000, seed), 4);
  const tQuery query = [&](const qzRay& ray) { return castRay(hierarchy, ray, qzQBVH::eIntersectBothFaces); };
  const tRows rows = randomRows(500, seed);
  const tPlainHits plain(rows, query);
  CHECK(plain.mCounts.mNbHits > 20);
  CHECK(plain.mCounts.mNbHits < 480);
  const std::string sources[] = {folder.write("rays.csv", asText(rows)),
                                 folder.write("float.npy", asNumpy<float>(rows)),
                                 folder.write("double.npy", asNumpy<double>(rows) + "and more behind it")};
  for (const std::string& source : sources) {
    CAPTURE(source);
    for (const std::size_t blockSize : kBlockSizes) {
      CAPTURE(blockSize);
      for (int nbThreads = 1; nbThreads <= 8; ++nbThreads) {
        CAPTURE(nbThreads);
        for (const char* name : {"hits.csv", "hits.npy"}) {
          const qzCastCounts counts = castFile(source, folder.path(name), query, nbThreads, blockSize);
          CHECK(counts.mNbRays == rows.size());
          CHECK(counts.mNbHits == plain.mCounts.mNbHits);
        }
        CHECK((folder.read("hits.csv") == plain.mText));
        CHECK((folder.read("hits.npy") == plain.mNumpy));
      }
    }
  }
}

TEST_CASE("block boundaries have no effect: blank lines, both line endings, no rays, no newline at the end") {
  const TemporaryFolder folder;
  const std::string a = "1,2,3,4,5,6", b = " 7 ,8,9,10,11,+12 ", names = "ox,oy,oz,dx,dy,dz";
  const std::pair<std::string, std::size_t> texts[] = {
      {"", 0},
      {"\n", 0},
      {"\r\n \n\t\r\n\n", 0},
      {names, 0},
      {names + "\n", 0},
      {names + "\r\n\r\n", 0},
      {a, 1},
      {a + "\n" + b, 2},
      {names + "\n" + a + "\n\n\n" + b + "\r\n", 2},
      {std::string(300, '\n') + a + "\r\n" + std::string(300, ' ') + b, 2},
      {std::string(1000, ' ') + a + "\n" + b + "\n", 2}};
  const tRows both = {{1, 2, 3, 4, 5, 6, 0, kInf}, {7, 8, 9, 10, 11, 12, 0, kInf}};
  for (const auto& [text, count] : texts) {
    CAPTURE(text);
    const std::string path = folder.write("rays.csv", text);
    for (const std::size_t blockSize : kBlockSizes) {
      CAPTURE(blockSize);
      CHECK((valuesOf(readRays(path, blockSize)) == tRows(both.begin(), both.begin() + static_cast<int>(count))));
    }
  }
}

TEST_CASE("the first of several invalid lines is named for any blocks and threads, and no file is written") {
  const TemporaryFolder folder;
  const std::string path = folder.path("rays.csv");
  std::string lines;
  for (int i = 0; i < 100; ++i) lines += "1,2,3,4,5," + std::to_string(i) + (i % 10 == 0 ? "\n\n" : "\n");  // 110 lines
  const std::string row = "1,2,3,4,5,6\n", bad = "1,2,bad,4,5,6\n", seven = "1,2,3,4,5,6,7\n", worse = "1,2,worse\n";
  const std::string lineFailures[][2] = {
      {lines + bad + lines + "1,2,other,4,5,6\n", ":111: 'bad' is not a number"},
      {lines + seven + row + bad, ":111: 7 columns after lines of 6"},
      {std::string(200, '\n') + seven + row + seven + bad, ":202: 6 columns after lines of 7"},
      {lines + lines + "1,2,3,4,1e39,5\n" + worse, ":221: '1e39' is beyond the range of single precision"},
      {lines + worse + bad, ":111: 3 columns instead of 6 (origin, direction), 7 (tMin too) or 8 (tMin and tMax)"},
      {"a,b,c,d,e,f\na,b,c,d,e,f\n" + lines + bad, ":2: 'a' is not a number"}};
  folder.write("hits.csv", "precious");
  for (const auto& [text, message] : lineFailures) {
    folder.write("rays.csv", text);
    for (const std::size_t blockSize : kBlockSizes) {
      CAPTURE(blockSize);
      for (int nbThreads = 1; nbThreads <= 8; ++nbThreads) {
        CAPTURE(nbThreads);
        for (const char* name : {"hits.csv", "hits.npy"}) {
          CHECK(errorOf([&] { castFile(path, folder.path(name), miss, nbThreads, blockSize); }) == path + message);
        }
      }
    }
  }
  CHECK(folder.read("hits.csv") == "precious");
  CHECK(folder.names() == std::set<std::string>{"hits.csv", "rays.csv"});
}

TEST_CASE("the first of several invalid .npy rows is named before the truncation of the file") {
  const TemporaryFolder folder;
  const std::string path = folder.path("rays.npy");
  tRows rows = randomRows(200, 1);
  const std::string good = asNumpy<float>(rows);
  std::vector<double> elements(200 * 6, 1.0);
  elements[120 * 6 + 3] = -1e39;
  elements[121 * 6 + 2] = 1e300;
  const std::string bad = qzNumpyArray::Encode(elements, 6);
  const std::string failures[][2] = {
      {bad, ": row 120: column 3 is beyond the range of single precision"},
      {bad.substr(0, bad.size() - 1), ": row 120: column 3 is beyond the range of single precision"},
      {bad.substr(0, 128 + 121 * 48), ": row 120: column 3 is beyond the range of single precision"},
      {bad.substr(0, 128 + 120 * 48), ": the file is cut off: 720 elements instead of 200 x 6"},
      {bad.substr(0, 128 + 120 * 48 + 47), ": the file is cut off: 725 elements instead of 200 x 6"},
      {good.substr(0, good.size() - 1), ": the file is cut off: 1599 elements instead of 200 x 8"},
      {good.substr(0, 128), ": the file is cut off: 0 elements instead of 200 x 8"},
      {good.substr(0, 127), ": the file is cut off in its header"}};
  for (const auto& [bytes, message] : failures) {
    folder.write("rays.npy", bytes);
    for (const std::size_t blockSize : kBlockSizes) {
      for (int nbThreads = 1; nbThreads <= 8; ++nbThreads) {
        CAPTURE(blockSize);
        CAPTURE(nbThreads);
        CHECK(errorOf([&] { castFile(path, folder.path("hits.npy"), miss, nbThreads, blockSize); }) == path + message);
      }
    }
  }
  CHECK(folder.names() == std::set<std::string>{"rays.npy"});
}

TEST_CASE("a refused ray is named by its number, unless an earlier line is invalid") {
  const TemporaryFolder folder;
  const auto check = [](const qzRay& ray) {
    if (ray.mTMin != 0.0f) throw qzError("not this one");
  };
  std::string lines = "ox,oy,oz,dx,dy,dz,tmin\n";
  for (int i = 0; i < 100; ++i) lines += "1,2,3,4,5,6,0\n\n";
  const std::string refused = "1,2,3,4,5,6,0.5\n", bad = "1,2,3,4,5,bad,0\n";
  const std::string path = folder.path("rays.csv");
  const std::string failures[][2] = {{lines + refused + bad, ": ray 100: not this one"},
                                     {lines + refused + refused, ": ray 100: not this one"},
                                     {refused, ": ray 0: not this one"},
                                     {lines + bad + refused, ":202: 'bad' is not a number"}};
  for (const auto& [text, message] : failures) {
    folder.write("rays.csv", text);
    for (const std::size_t blockSize : kBlockSizes) {
      for (int nbThreads = 1; nbThreads <= 8; ++nbThreads) {
        CAPTURE(blockSize);
        CAPTURE(nbThreads);
        CHECK(errorOf([&] { castFile(path, folder.path("hits"), miss, nbThreads, blockSize, check); }) ==
              path + message);
      }
    }
  }
  CHECK(folder.names() == std::set<std::string>{"rays.csv"});
}

TEST_CASE("at most the documented number of blocks is in flight") {
  const TemporaryFolder folder;
  constexpr std::size_t kNbRays = 3000, kRowLength = 19;  // of "inf,-1,nan,nan,nan\n"
  std::string text;
  for (std::size_t i = 0; i < kNbRays; ++i) text += std::to_string(i) + ",0,0,0,0,0\n";
  const std::string rays = folder.write("rays.csv", text), hits = folder.path("hits.csv");
  for (const int nbThreads : {1, 2, 5, 8}) {
    CAPTURE(nbThreads);
    const std::size_t most = static_cast<std::size_t>(kCastBlocksPerThread * nbThreads);
    std::atomic<std::size_t> nbAhead{0}, nbCast{0};
    const tQuery query = [&](const qzRay& ray) {
      std::uintmax_t size = 0;  // of the only other file
      for (const auto& entry : std::filesystem::directory_iterator(folder.path(""))) {
        if (entry.path().extension() == ".part") size = std::filesystem::file_size(entry.path());
      }
      const std::size_t nbWritten = (size - std::min<std::uintmax_t>(size, 42)) / kRowLength;
      if (static_cast<std::size_t>(ray.mOrigin[0]) >= nbWritten + most) ++nbAhead;
      ++nbCast;
      return qzHit();
    };
    castFile(rays, hits, query, nbThreads, 1);  // one ray in each block
    CHECK(nbCast == kNbRays);
    CHECK(nbAhead == 0);
    CHECK(folder.read("hits.csv").size() == 42 + kNbRays * kRowLength);
  }
}

TEST_CASE("on a full disk the old hits and nothing else remain") {
  const TemporaryFolder folder;
  const std::string rays = folder.write("rays.csv", asText(randomRows(2000, 3)));
  for (const char* name : {"hits.csv", "hits.npy"}) {
    const std::string path = folder.write(name, "precious");
    {
      const FileSizeLimit limit(20000);
      CHECK(errorOf([&] { castFile(rays, path, miss, 3, 1000); }) == path + ": cannot be written: File too large");
    }
    CHECK(folder.read(name) == "precious");
  }
  CHECK(folder.names() == std::set<std::string>{"hits.csv", "hits.npy", "rays.csv"});
  CHECK(errorOf([&] { castFile(rays, "/dev/full", miss, 3, 1000); }) ==
        "/dev/full: cannot be written: No space left on device");
}

TEST_CASE("a pipe gets the same bytes as a file, also for .npy with an unknown number of rows") {
  const TemporaryFolder folder;
  const tRows rows = randomRows(5000, 8);
  const tPlainHits plain(rows, miss);
  const std::string text = folder.write("rays.csv", asText(rows)),
                    numpy = folder.write("rays.npy", asNumpy<float>(rows));
  int no = 0;
  for (const std::string& source : {text, numpy}) {
    for (const char* extension : {"csv", "npy"}) {
      const std::string pipe = folder.path("pipe" + std::to_string(++no) + "." + extension);
      std::future<std::string> bytes = readPipe(pipe);
      castFile(source, pipe, miss, 2, 1000);
      CHECK((bytes.get() == (extension == std::string("csv") ? plain.mText : plain.mNumpy)));
    }
  }
  std::filesystem::create_symlink("/dev/full", folder.path("full.npy"));
  for (const std::string& source : {text, numpy}) {
    CHECK(errorOf([&] { castFile(source, folder.path("full.npy"), miss, 2, 1000); }) ==
          folder.path("full.npy") + ": cannot be written: No space left on device");
  }
}
