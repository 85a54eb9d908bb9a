#include <toolkit/qzError.h>
#include <toolkit/qzMeshFileCheck.h>
#include <toolkit/qzNumber.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

namespace qzToolkit {

namespace {

/// The lines of a text with their numbers, comments and blank ends cut off.
class tLines {
 public:
  tLines(const std::string& name, std::string_view text) : mName(name), mText(text) {}

  /// Moves on to the next line; false at the end.
  bool next() {
    if (mText.empty()) return false;
    const std::size_t end = mText.find('\n');
    mLine = mText.substr(0, end);
    mText.remove_prefix(end == std::string_view::npos ? mText.size() : end + 1);
    mLine = trimmed(mLine.substr(0, mLine.find('#')));
    ++mNumber;
    return true;
  }
  /// Moves on to the next line that has something on it.
  bool nextFilled() {
    while (next()) {
      if (!mLine.empty()) return true;
    }
    return false;
  }
  std::string_view line() const { return mLine; }
  std::size_t number() const { return mNumber; }

  [[noreturn]] void fail(const std::string& what) const { failAt(mNumber, what); }
  [[noreturn]] void failAt(std::size_t number, const std::string& what) const {
    throw qzError(mName + ":" + std::to_string(number), what);
  }

 private:
  const std::string& mName;
  std::string_view mText, mLine;
  std::size_t mNumber = 0;
};

/// Takes the first word off line; empty when there is none.
std::string_view takeWord(std::string_view& line) {
  constexpr std::string_view kBlanks = " \t\r\n\v\f";
  line.remove_prefix(std::min(line.size(), line.find_first_not_of(kBlanks)));
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(word.size());
  return word;
}

template <class tInteger>
std::optional<tInteger> integerOf(std::string_view word) {
  tInteger value;
  const auto [end, code] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (code != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

std::string countOf(std::uint64_t count, const char* thing) {
  return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

// PLY: a header of text, then the elements one after another, as text or as bytes.

struct tPlyProperty {
  std::size_t mListCountSize = 0;  // 0: not a list
  bool mListCountSigned = false;
  std::size_t mSize = 0;
};
struct tPlyElement {
  std::string mName;
  std::uint64_t mCount = 0;
  std::vector<tPlyProperty> mProperties;
};
struct tPlyHeader {
  enum { eText, eLittleEndian, eBigEndian } mFormat = eText;
  std::vector<tPlyElement> mElements;
  std::string_view mBody;
};

/// Bytes of a type, 0 for an unknown one.
std::size_t plyTypeSize(std::string_view type) {
  if (type == "char" || type == "uchar" || type == "int8" || type == "uint8") return 1;
  if (type == "short" || type == "ushort" || type == "int16" || type == "uint16") return 2;
  if (type == "int" || type == "uint" || type == "int32" || type == "uint32" || type == "float" || type == "float32") {
    return 4;
  }
  return type == "double" || type == "float64" ? 8 : 0;
}

/// Nothing when the header is of a kind that only assimp may know.
std::optional<tPlyHeader> readPlyHeader(const std::string& name, std::string_view bytes) {
  tPlyHeader header;
  for (std::size_t lineNumber = 1;; ++lineNumber) {
    const std::size_t end = bytes.find('\n');
    if (end == std::string_view::npos) throw qzError(name, "the file is cut off in its header");
    std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(end + 1);
    const std::string_view keyword = takeWord(line);
    if (lineNumber == 1 && keyword != "ply") throw qzError(name, "not a PLY file");
    if (keyword == "format") {
      const std::string_view format = takeWord(line);
      if (format == "binary_little_endian") header.mFormat = tPlyHeader::eLittleEndian;
      if (format == "binary_big_endian") header.mFormat = tPlyHeader::eBigEndian;
    } else if (keyword == "element") {
      const std::string_view elementName = takeWord(line);
      const auto count = integerOf<std::uint64_t>(takeWord(line));
      if (!count) throw qzError(name + ":" + std::to_string(lineNumber), "an element without a count");
      header.mElements.push_back({std::string(elementName), *count, {}});
    } else if (keyword == "property") {
      if (header.mElements.empty()) return std::nullopt;
      tPlyProperty property;
      std::string_view type = takeWord(line);
      if (type == "list") {
        const std::string_view countType = takeWord(line);
        property.mListCountSize = plyTypeSize(countType);
        property.mListCountSigned = countType[0] != 'u';
        type = takeWord(line);
        if (property.mListCountSize == 0 || property.mListCountSize == 8) return std::nullopt;
      }
      property.mSize = plyTypeSize(type);
      if (property.mSize == 0) return std::nullopt;
      header.mElements.back().mProperties.push_back(property);
    } else if (keyword == "end_header") {
      header.mBody = bytes;
      return header;
    }
  }
}

/// Walks over the elements of a PLY file; false when the file ends within one.
class tPlyWalker {
 public:
  explicit tPlyWalker(const tPlyHeader& header) : mHeader(header), mRest(header.mBody) {}

  bool skipElement(const tPlyElement& element) {
    for (const tPlyProperty& property : element.mProperties) {
      std::uint64_t count = 1;
      if (property.mListCountSize != 0 && !readListCount(property, count)) return false;
      if (!skipValues(property, count)) return false;
    }
    return true;
  }

 private:
  bool skipValues(const tPlyProperty& property, std::uint64_t count) {
    if (mHeader.mFormat == tPlyHeader::eText) {
      for (std::uint64_t i = 0; i < count; ++i) {
        if (takeWord(mRest).empty()) return false;
      }
      return true;
    }
    if (count > mRest.size() / property.mSize) return false;
    mRest.remove_prefix(count * property.mSize);
    return true;
  }

  bool readListCount(const tPlyProperty& property, std::uint64_t& count) {
    if (mHeader.mFormat == tPlyHeader::eText) {
      const auto value = integerOf<std::uint32_t>(takeWord(mRest));
      count = value.value_or(0);
      return value.has_value();
    }
    if (mRest.size() < property.mListCountSize) return false;
    count = 0;
    for (std::size_t i = 0; i < property.mListCountSize; ++i) {
      const std::size_t at = mHeader.mFormat == tPlyHeader::eLittleEndian ? property.mListCountSize - 1 - i : i;
      count = count << 8 | static_cast<unsigned char>(mRest[at]);
    }
    mRest.remove_prefix(property.mListCountSize);
    const std::uint64_t signBit = std::uint64_t(1) << (8 * property.mListCountSize - 1);
    return !property.mListCountSigned || (count & signBit) == 0;
  }

  const tPlyHeader& mHeader;
  std::string_view mRest;
};

void checkPly(const std::string& name, std::string_view bytes) {
  const std::optional<tPlyHeader> header = readPlyHeader(name, bytes);
  if (!header) return;
  tPlyWalker walker(*header);
  for (const tPlyElement& element : header->mElements) {
    if (element.mProperties.empty()) continue;
    for (std::uint64_t i = 0; i < element.mCount; ++i) {
      if (walker.skipElement(element)) continue;
      throw qzError(name, "the file is cut off or damaged at " + element.mName + " " + std::to_string(i) + " of " +
                              std::to_string(element.mCount));
    }
  }
}

// STL: as bytes 80 of comment, the number of facets, 50 for each; as text from "solid" to "endsolid".

void checkStl(const std::string& name, std::string_view bytes) {
  constexpr std::size_t kHeaderSize = 84, kFacetSize = 50;
  std::uint64_t announcedSize = 0;
  if (bytes.size() >= kHeaderSize) {
    std::uint32_t nbFacets;
    std::memcpy(&nbFacets, bytes.data() + kHeaderSize - sizeof nbFacets, sizeof nbFacets);
    announcedSize = kHeaderSize + std::uint64_t(nbFacets) * kFacetSize;
    if (announcedSize == bytes.size()) return;
  }
  std::string_view text = bytes;
  if (takeWord(text) == "solid") {
    const std::size_t end = bytes.find_last_not_of(" \t\r\n");
    const std::size_t lineStart = bytes.find_last_of('\n', end) + 1;
    std::string_view lastLine = bytes.substr(lineStart);
    if (takeWord(lastLine) != "endsolid") throw qzError(name, "the file is cut off: its last line is not 'endsolid'");
    return;
  }
  if (announcedSize == 0) throw qzError(name, "too short for an STL file");
  throw qzError(name, "a binary STL file that announces " + std::to_string(announcedSize) + " bytes and has " +
                          std::to_string(bytes.size()));
}

// OFF: the word OFF (with letters before it for extra columns), three counts, then lines of vertices and of faces.

void checkOff(const std::string& name, std::string_view text) {
  tLines lines(name, text);
  if (!lines.nextFilled()) throw qzError(name, "not an OFF file");
  std::string_view rest = lines.line();
  const std::string_view keyword = takeWord(rest);
  if (keyword.size() < 3 || keyword.substr(keyword.size() - 3) != "OFF") throw qzError(name, "not an OFF file");
  if (keyword.find_first_of("4n") != std::string_view::npos || trimmed(rest) == "BINARY") return;

  if (trimmed(rest).empty()) {
    if (!lines.nextFilled()) throw qzError(name, "the file is cut off in its header");
    rest = lines.line();
  }
  const auto nbVertices = integerOf<std::uint32_t>(takeWord(rest)), nbFaces = integerOf<std::uint32_t>(takeWord(rest));
  if (!nbVertices || !nbFaces) lines.fail("no counts of vertices and faces");

  for (std::uint32_t vertex = 0; vertex < *nbVertices; ++vertex) {
    if (!lines.nextFilled()) {
      throw qzError(
          name, "the file is cut off after " + countOf(vertex, "vertex line") + " of " + std::to_string(*nbVertices));
    }
    rest = lines.line();
    float coordinate;
    for (int axis = 0; axis < 3; ++axis) {
      if (readNumber(takeWord(rest), coordinate) == tNumberResult::eNoNumber) lines.fail("not three coordinates");
    }
  }
  for (std::uint32_t face = 0; face < *nbFaces; ++face) {
    if (!lines.nextFilled()) {
      throw qzError(name,
                    "the file is cut off after " + countOf(face, "face line") + " of " + std::to_string(*nbFaces));
    }
    rest = lines.line();
    const auto nbCorners = integerOf<std::uint32_t>(takeWord(rest));
    for (std::uint32_t corner = 0; !nbCorners || corner < *nbCorners; ++corner) {
      const auto index = integerOf<std::uint32_t>(takeWord(rest));
      if (!nbCorners || !index) lines.fail("not a count and as many vertex numbers");
      if (*index >= *nbVertices) {
        lines.fail("the face names vertex " + std::to_string(*index) + ", the file has " +
                   countOf(*nbVertices, "vertex line"));
      }
    }
  }
}

// OBJ: lines of a keyword and values. Faces name vertices from 1, or backwards from the last one before the face.

class tObjReader {
 public:
  tObjReader(const std::string& name, std::string_view text) : mLines(name, text) {}

  /// Reads the whole file.
  void read() {
    std::string joined;
    while (mLines.nextFilled()) {
      std::string_view line = mLines.line();
      if (line.back() != '\\' && joined.empty()) {
        readLine(line);
        continue;
      }
      // A backslash at the end continues the line on the next one.
      const bool continues = line.back() == '\\';
      joined += line.substr(0, line.size() - continues);
      joined += ' ';
      if (continues) continue;
      readLine(joined);
      joined.clear();
    }
    readLine(joined);
    if (mLargestIndex > mNbVertices) {
      mLines.failAt(mLargestIndexLine, "the face names vertex " + std::to_string(mLargestIndex) + ", the file has " +
                                           std::to_string(mNbVertices));
    }
  }

  std::string encodePly() const {
    std::string ply =
        "ply\nformat binary_little_endian 1.0\n"
        "element vertex " +
        std::to_string(mNbVertices) +
        "\nproperty float x\nproperty float y\nproperty float z\n"
        "element face " +
        std::to_string(mNbFaces) + "\nproperty list uint int vertex_indices\nend_header\n";
    ply.reserve(ply.size() + mVertices.size() + mFaces.size());
    ply += mVertices;
    ply += mFaces;
    return ply;
  }

 private:
  void readLine(std::string_view line) {
    const std::string_view keyword = takeWord(line);
    if (keyword == "v") readVertex(line);
    if (keyword == "f") readFace(line);
  }

  void readVertex(std::string_view line) {
    std::array<float, 3> position;
    for (float& coordinate : position) {
      const std::string_view word = takeWord(line);
      const tNumberResult result = readNumber(word, coordinate);
      if (result == tNumberResult::eNoNumber) {
        mLines.fail(word.empty() ? "a vertex with fewer than three coordinates" : "a vertex coordinate is no number");
      }
      if (result == tNumberResult::eOutOfRange || !std::isfinite(coordinate)) {
        mLines.fail("a vertex coordinate is not finite");
      }
    }
    append(mVertices, position);
    ++mNbVertices;
  }

  void readFace(std::string_view line) {
    mCorners.clear();
    for (std::string_view word = takeWord(line); !word.empty(); word = takeWord(line)) {
      const auto index = integerOf<std::int64_t>(word.substr(0, word.find('/')));  // vertex/texture/normal
      if (!index) mLines.fail("a face corner is no vertex number");
      if (*index == 0) mLines.fail("the face names vertex 0, the first is 1");
      if (*index < -mNbVertices) {
        mLines.fail("the face names vertex " + std::to_string(*index) + ", there are " + std::to_string(mNbVertices) +
                    " before it");
      }
      if (*index > std::numeric_limits<std::int32_t>::max()) mLines.fail("the vertex number is too large");
      if (*index > mLargestIndex) {  // the vertex may come later in the file
        mLargestIndex = *index;
        mLargestIndexLine = mLines.number();
      }
      mCorners.push_back(static_cast<std::int32_t>(*index > 0 ? *index - 1 : mNbVertices + *index));
    }
    if (mCorners.size() < 3) mLines.fail("a face with fewer than three corners");
    append(mFaces, static_cast<std::uint32_t>(mCorners.size()));
    for (std::int32_t corner : mCorners) append(mFaces, corner);
    ++mNbFaces;
  }

  template <class tValue>
  static void append(std::string& bytes, const tValue& value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  }

  tLines mLines;
  std::string mVertices, mFaces;  // as they stand in the PLY file
  std::int64_t mNbVertices = 0, mNbFaces = 0;
  std::vector<std::int32_t> mCorners;  // of the current face
  std::int64_t mLargestIndex = 0;
  std::size_t mLargestIndexLine = 0;
};

}  // namespace

void checkMeshFile(const std::string& name, const std::string& extension, std::string_view bytes) {
  if (extension == "ply") checkPly(name, bytes);
  if (extension == "stl") checkStl(name, bytes);
  if (extension == "off") checkOff(name, bytes);
}

std::string convertObjToPly(const std::string& name, std::string_view text) {
  tObjReader reader(name, text);
  reader.read();
  return reader.encodePly();
}

}  // namespace qzToolkit
