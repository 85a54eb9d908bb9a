#include <toolkit/io/mesh/qzMeshFileCheck.h>

#include <toolkit/base/qzError.h>
#include <toolkit/base/qzNumber.h>
#include <toolkit/io/file/qzLines.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace qzToolkit {

namespace {

std::string countOf(std::uint64_t count, const char* thing) {
  return std::to_string(count) + ' ' + thing + (count == 1 ? "" : "s");
}

// PLY: a header of text, then the elements one after another, as text or binary.

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

/// Size of a type in bytes, 0 for an unknown one.
std::size_t plyTypeSize(std::string_view type) {
  if (type == "char" || type == "uchar" || type == "int8" || type == "uint8") return 1;
  if (type == "short" || type == "ushort" || type == "int16" || type == "uint16") return 2;
  if (type == "int" || type == "uint" || type == "int32" || type == "uint32" || type == "float" || type == "float32") {
    return 4;
  }
  return type == "double" || type == "float64" ? 8 : 0;
}

tPlyHeader readPlyHeader(const std::string& name, std::string_view bytes) {
  tPlyHeader header;
  for (std::size_t lineNumber = 1;; ++lineNumber) {
    const std::size_t end = bytes.find('\n');
    if (end == std::string_view::npos) throw qzError(name, "the file is cut off in its header");
    std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(end + 1);
    const std::string_view keyword = takeWord(line);
    const auto fail = [&](const char* what) { throw qzError(name + ":" + std::to_string(lineNumber), what); };
    if (lineNumber == 1) {
      if (keyword != "ply") throw qzError(name, "not a PLY file");
    } else if (keyword == "format") {
      const std::string_view format = takeWord(line);
      if (format == "binary_little_endian") header.mFormat = tPlyHeader::eLittleEndian;
      if (format == "binary_big_endian") header.mFormat = tPlyHeader::eBigEndian;
    } else if (keyword == "element") {
      const std::string_view elementName = takeWord(line);
      const auto count = integerOf<std::uint64_t>(takeWord(line));
      if (!count) fail("an element without a count");
      header.mElements.push_back({std::string(elementName.substr(0, 40)), *count, {}});
    } else if (keyword == "property") {
      tPlyProperty property;
      std::string_view type = takeWord(line);
      if (type == "list") {
        const std::string_view countType = takeWord(line);
        property.mListCountSize = plyTypeSize(countType);
        property.mListCountSigned = countType.substr(0, 1) != "u";
        if (property.mListCountSize == 0 || property.mListCountSize == 8) fail("an unknown type of list");
        type = takeWord(line);
      }
      property.mSize = plyTypeSize(type);
      if (property.mSize == 0) fail("an unknown type");
      if (header.mElements.empty()) fail("a property of no element");
      header.mElements.back().mProperties.push_back(property);
    } else if (keyword == "end_header") {
      if (!takeWord(line).empty()) fail("an unknown line in the header");
      header.mBody = bytes;
      return header;
    } else if (keyword != "comment" && keyword != "obj_info") {
      fail("an unknown line in the header");
    }
  }
}

/// Skips the elements of a PLY file one by one; false if the file ends within one.
class tPlySkipper {
 public:
  explicit tPlySkipper(const tPlyHeader& header) : mHeader(header), mRest(header.mBody) {}

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

void checkPly(const std::string& name, std::string_view bytes, const tCancel* cancel) {
  const tPlyHeader header = readPlyHeader(name, bytes);
  tPlySkipper skipper(header);
  for (const tPlyElement& element : header.mElements) {
    if (element.mProperties.empty()) continue;
    for (std::uint64_t i = 0; i < element.mCount; ++i) {
      throwIfCanceled(cancel);
      if (skipper.skipElement(element)) continue;
      throw qzError(name, "the file is cut off or damaged at " + element.mName + " " + std::to_string(i) + " of " +
                              std::to_string(element.mCount));
    }
  }
}

// STL: binary is 80 bytes of comment, the number of facets and 50 bytes for each; text is from "solid" to "endsolid".

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

// OFF: the keyword OFF (with prefixes for extra columns), three counts, then a line per vertex and per face.

void checkOff(const std::string& name, std::string_view text, const tCancel* cancel) {
  qzLines lines(name, text, cancel);
  if (!lines.next()) throw qzError(name, "not an OFF file");
  std::string_view rest = lines.line();
  const std::string_view keyword = takeWord(rest);
  if (keyword.size() < 3 || keyword.substr(keyword.size() - 3) != "OFF") throw qzError(name, "not an OFF file");
  if (keyword.find_first_of("4n") != std::string_view::npos || trimmed(rest) == "BINARY") return;

  if (trimmed(rest).empty()) {
    if (!lines.next()) throw qzError(name, "the file is cut off in its header");
    rest = lines.line();
  }
  const auto nbVertices = integerOf<std::uint32_t>(takeWord(rest)), nbFaces = integerOf<std::uint32_t>(takeWord(rest));
  if (!nbVertices || !nbFaces) lines.fail("no counts of vertices and faces");

  for (std::uint32_t vertex = 0; vertex < *nbVertices; ++vertex) {
    if (!lines.next()) {
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
    if (!lines.next()) {
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

// COLLADA: XML in which the vertex indices of a primitive are the text of an element named p.

void checkCollada(const std::string& name, std::string_view text, const tCancel* cancel) {
  constexpr std::string_view kStart = "<p>";
  for (std::size_t start = text.find(kStart); start != std::string_view::npos; start = text.find(kStart, start + 1)) {
    throwIfCanceled(cancel);
    const std::size_t stop = text.find_first_not_of("0123456789 \t\r\n", start + kStart.size());
    if (stop == std::string_view::npos || text[stop] == '<') continue;
    const auto lineNumber = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(stop), '\n');
    throw qzError(name + ":" + std::to_string(lineNumber), "something other than numbers among the vertex numbers");
  }
}

}  // namespace

void checkMeshFile(const std::string& name, const std::string& extension, std::string_view bytes,
                   const tCancel* cancel) {
  if (extension == "ply") checkPly(name, bytes, cancel);
  if (extension == "stl") checkStl(name, bytes);
  if (extension == "off") checkOff(name, bytes, cancel);
  if (extension == "dae") checkCollada(name, bytes, cancel);
}

}  // namespace qzToolkit
