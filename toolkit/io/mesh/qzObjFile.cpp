#include <toolkit/io/mesh/qzObjFile.h>

#include <toolkit/base/qzNumber.h>
#include <toolkit/io/file/qzLines.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace qzToolkit {

namespace {

// A line is a keyword and values. Vertex numbers count from 1, negative ones back from the last vertex before the face.
class tObjReader {
 public:
  tObjReader(const std::string& name, std::string_view text, const tCancel* cancel, tNonFinite nonFinite)
      : mLines(name, text, cancel), mNonFinite(nonFinite) {}

  qzPolygonMesh read() {
    std::string joined;
    while (mLines.next()) {
      const std::string_view line = mLines.line();
      const bool continues = line.back() == '\\';  // on the next line
      if (!continues && joined.empty()) {
        readLine(line);
        continue;
      }
      joined += line.substr(0, line.size() - continues);
      joined += ' ';
      if (continues) continue;
      readLine(joined);
      joined.clear();
    }
    readLine(joined);
    if (mLargestIndex > getNbVertices()) {
      mLines.failAt(mLargestIndexLine, "the face names vertex " + std::to_string(mLargestIndex) + ", the file has " +
                                           std::to_string(getNbVertices()));
    }
    return std::move(mMesh);
  }

 private:
  std::int64_t getNbVertices() const { return static_cast<std::int64_t>(mMesh.mVertices.size()); }

  void readLine(std::string_view line) {
    const std::string_view keyword = takeWord(line);
    if (keyword == "v") readVertex(line);
    if (keyword == "f") readFace(line);
  }

  void readVertex(std::string_view line) {
    Wm4::Vector3<float> position;
    for (int axis = 0; axis < 3; ++axis) {
      const std::string_view word = takeWord(line);
      const tNumberResult result = readNumber(word, position[axis]);
      if (result == tNumberResult::eNoNumber) {
        mLines.fail(word.empty() ? "a vertex with fewer than three coordinates"
                                 : "a vertex coordinate is not a number");
      }
      if (result == tNumberResult::eOutOfRange ||
          (mNonFinite == tNonFinite::eRefuse && !std::isfinite(position[axis]))) {
        mLines.fail("a vertex coordinate is not finite");
      }
    }
    mMesh.mVertices.push_back(position);
  }

  void readFace(std::string_view line) {
    int nbCorners = 0;
    for (std::string_view word = takeWord(line); !word.empty(); word = takeWord(line), ++nbCorners) {
      const auto index = integerOf<std::int64_t>(word.substr(0, word.find('/')));  // vertex/texture/normal
      if (!index) mLines.fail("a face corner is not a vertex number");
      if (*index == 0) mLines.fail("the face names vertex 0, the first is 1");
      if (*index < -getNbVertices()) {
        mLines.fail("the face names vertex " + std::to_string(*index) + ", there are " +
                    std::to_string(getNbVertices()) + " before it");
      }
      if (*index > std::numeric_limits<int>::max()) mLines.fail("the vertex number is too large");
      if (*index > mLargestIndex) {  // the vertex may come later in the file
        mLargestIndex = *index;
        mLargestIndexLine = mLines.number();
      }
      mMesh.mCorners.push_back(static_cast<int>(*index > 0 ? *index - 1 : getNbVertices() + *index));
    }
    if (nbCorners < 3) mLines.fail("a face with fewer than three corners");
    mMesh.mNbCorners.push_back(nbCorners);
  }

  qzLines mLines;
  const tNonFinite mNonFinite;
  qzPolygonMesh mMesh;
  std::int64_t mLargestIndex = 0;
  std::size_t mLargestIndexLine = 0;
};

}  // namespace

qzPolygonMesh readObj(const std::string& name, std::string_view text, const tCancel* cancel, tNonFinite nonFinite) {
  return tObjReader(name, text, cancel, nonFinite).read();
}

}  // namespace qzToolkit
