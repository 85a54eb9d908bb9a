#include <toolkit/io/table/qzNumpyHeader.h>

#include <toolkit/base/qzError.h>

#include <regex>

namespace qzToolkit {

namespace {

// A file is the magic, a version (major, minor), the length of the header (2 bytes in version 1, else 4,
// little-endian), the header, which is a Python dictionary padded with blanks, and the elements.
constexpr std::string_view kMagic = "\x93NUMPY";
constexpr std::size_t kVersionSize = 2, kLengthSizeOfVersion1 = 2, kLengthSize = 4;
constexpr int kFirstVersion = 1, kLastVersion = 3;
constexpr std::size_t kAlignment = 64;  // of the elements in the file

std::size_t littleEndian(std::string_view bytes) {
  std::size_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

/// The value of key in the header, up to the next comma outside brackets; empty if the key is missing.
std::string headerValue(const std::string& header, const std::string& key) {
  const std::regex pattern("['\"]" + key + "['\"]\\s*:\\s*(\\([^)]*\\)|\\[[^\\]]*\\]|[^,}]*)");
  std::smatch match;
  return std::regex_search(header, match, pattern) ? match[1].str() : std::string();
}

}  // namespace

bool qzNumpyHeader::Recognizes(std::string_view bytes) {
  return bytes.substr(0, kMagic.size()) == kMagic;
}

std::string qzNumpyHeader::Encode(std::size_t nbRows, std::size_t nbColumns, std::size_t elementSize) {
  std::string header = "{'descr': '<f" + std::to_string(elementSize) + "', 'fortran_order': False, 'shape': (" +
                       std::to_string(nbRows) + ", " + std::to_string(nbColumns) + "), }";
  const std::size_t fixed = kMagic.size() + kVersionSize + kLengthSizeOfVersion1;
  // With the line break, the elements start at a multiple of kAlignment.
  header.append(kAlignment - 1 - (fixed + header.size()) % kAlignment, ' ');
  header += '\n';

  std::string bytes(kMagic);
  bytes += {'\x01', '\x00', static_cast<char>(header.size() & 0xFF), static_cast<char>(header.size() >> 8)};
  return bytes + header;
}

qzNumpyHeader::qzNumpyHeader(const std::string& name, std::string_view bytes) {
  if (!Recognizes(bytes)) throw qzError(name, "not a .npy file");
  if (bytes.size() < kMagic.size() + kVersionSize) throw qzError(name, "the file is cut off in its header");
  const int version = static_cast<unsigned char>(bytes[kMagic.size()]);
  if (version < kFirstVersion || version > kLastVersion)
    throw qzError(name, ".npy format version " + std::to_string(version) + " is unknown");
  const std::size_t lengthBytes = version == kFirstVersion ? kLengthSizeOfVersion1 : kLengthSize,
                    lengthAt = kMagic.size() + kVersionSize, headerAt = lengthAt + lengthBytes;
  if (bytes.size() < headerAt) throw qzError(name, "the file is cut off in its header");
  const std::size_t headerLength = littleEndian(bytes.substr(lengthAt, lengthBytes));
  const bool isTooLong =
      headerLength > kMaxBytes - (kMagic.size() + kVersionSize + kLengthSize);  // far more than a plain array needs
  if (bytes.size() - headerAt < headerLength && !(isTooLong && bytes.size() >= kMaxBytes)) {
    throw qzError(name, "the file is cut off in its header");
  }
  if (isTooLong) throw qzError(name, "the .npy header is too long");
  const std::string header(bytes.substr(headerAt, headerLength));
  mNbBytes = headerAt + headerLength;

  const std::string type = headerValue(header, "descr"), order = headerValue(header, "fortran_order");
  if (type == "'<f4'" || type == "\"<f4\"") mElementSize = sizeof(float);
  if (type == "'<f8'" || type == "\"<f8\"") mElementSize = sizeof(double);
  if (mElementSize == 0) {
    throw qzError(name, "elements must be float32 or float64 in little-endian order, not " +
                            (type.empty() ? std::string("unnamed") : type));
  }
  if (order.substr(0, 5) != "False") throw qzError(name, "elements must be in C order, not in Fortran order");

  const std::string shape = headerValue(header, "shape");
  std::smatch match;
  if (!std::regex_match(shape, match, std::regex("\\(\\s*([0-9]{1,18})\\s*,\\s*([0-9]{1,18})\\s*,?\\s*\\)"))) {
    throw qzError(name, "the array must have two dimensions, not the shape " + (shape.empty() ? "()" : shape));
  }
  mNbRows = std::stoull(match[1]);
  mNbColumns = std::stoull(match[2]);
}

void qzNumpyHeader::failCutOff(const std::string& name, std::size_t nbBytes) const {
  throw qzError(name, "the file is cut off: " + std::to_string(nbBytes / mElementSize) + " elements instead of " +
                          std::to_string(mNbRows) + " x " + std::to_string(mNbColumns));
}

}  // namespace qzToolkit
