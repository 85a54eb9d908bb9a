#include <doctest/doctest.h>
#include <toolkit/io/table/qzNumpyArray.h>

#include <cstring>

#include "support/qzBits.h"
#include "toolkit/qzTestFiles.h"

using namespace qzTest;
using qzToolkit::qzNumpyArray;
using qzToolkit::qzNumpyHeader;

namespace {

/// A file of format version 1 with this header and these elements.
template <class Element>
std::string npy(const std::string& header, const std::vector<Element>& elements) {
  std::string bytes("\x93NUMPY\x01\x00", 8);
  bytes += static_cast<char>(header.size() & 255);
  bytes += static_cast<char>(header.size() >> 8);
  bytes += header;
  bytes.append(reinterpret_cast<const char*>(elements.data()), elements.size() * sizeof(Element));
  return bytes;
}

std::string errorOfArray(const std::string& bytes) {
  return errorOf([&] { qzNumpyArray("a.npy", bytes); });
}

}  // namespace

TEST_CASE("an encoded array reads back, NaN, infinities and signed zeros too") {
  const std::vector<double> elements = {1.5, -0.0, kInf, -kInf, 0.1, 1e300, kNaN, -7};
  const std::string bytes = qzNumpyArray::Encode(elements, 2);
  const qzNumpyArray array("a.npy", bytes);
  REQUIRE(array.getNbRows() == 4);
  REQUIRE(array.getNbColumns() == 2);
  for (std::size_t i = 0; i < elements.size(); ++i) CHECK(sameBits(array.getElement(i / 2, i % 2), elements[i]));
}

TEST_CASE("floats are written as float32 and read back to the same bits") {
  const std::vector<float> elements = {0.1f, -0.0f, kInf, -kInf, kMaxFloat, 0x1p-149f};
  const std::string bytes = qzNumpyArray::Encode(elements, 3);
  CHECK(bytes.size() == 128 + 4 * elements.size());
  const std::string dictionary = "{'descr': '<f4', 'fortran_order': False, 'shape': (2, 3), }";
  CHECK(bytes.substr(10, dictionary.size()) == dictionary);
  const qzNumpyArray array("a.npy", bytes);
  REQUIRE(array.getNbRows() == 2);
  REQUIRE(array.getNbColumns() == 3);
  for (std::size_t i = 0; i < elements.size(); ++i) {
    CHECK(sameBits(static_cast<float>(array.getElement(i / 3, i % 3)), elements[i]));
  }
}

TEST_CASE("an encoded array is version 1 with its elements at a multiple of 64") {
  for (std::size_t nbRows : {std::size_t(0), std::size_t(1), std::size_t(99), std::size_t(100000)}) {
    const std::string bytes = qzNumpyArray::Encode(std::vector<double>(5 * nbRows), 5);
    CHECK(qzNumpyHeader::Recognizes(bytes));
    const std::string start("\x93NUMPY\x01\x00", 8);
    CHECK(bytes.substr(0, 8) == start);
    const std::size_t headerLength = static_cast<unsigned char>(bytes[8]) + 256u * static_cast<unsigned char>(bytes[9]);
    CHECK((10 + headerLength) % 64 == 0);
    CHECK(bytes.size() == 10 + headerLength + 40 * nbRows);
    CHECK(bytes[10 + headerLength - 1] == '\n');
    CHECK(bytes.substr(0, bytes.size() - 40 * nbRows) == qzNumpyHeader::Encode(nbRows, 5));
    const std::string dictionary =
        "{'descr': '<f8', 'fortran_order': False, 'shape': (" + std::to_string(nbRows) + ", 5), }";
    CHECK(bytes.substr(10, dictionary.size()) == dictionary);
  }
}

TEST_CASE("float32, other spacing and later versions are read") {
  const std::string header = "{\"shape\":(2,3),\"fortran_order\":False,\"descr\":\"<f4\"}";
  const std::vector<float> elements = {0, 1, 2, 3, 4, 0.1f};
  const std::string bytes = npy(header, elements);
  const qzNumpyArray array("a.npy", bytes);
  CHECK(array.getNbRows() == 2);
  CHECK(array.getNbColumns() == 3);
  CHECK(array.getElement(1, 0) == 3.0);
  CHECK(array.getElement(1, 2) == double(0.1f));

  std::string version2 = bytes;
  version2[6] = 2;
  version2.insert(10, 2, '\0');  // the length has four bytes there
  CHECK(qzNumpyArray("a.npy", version2).getElement(1, 0) == 3.0);
}

TEST_CASE("anything but a plain table of floats is refused with the reason") {
  const auto header = [](const std::string& type, const std::string& order, const std::string& shape) {
    return npy<double>("{'descr': " + type + ", 'fortran_order': " + order + ", 'shape': " + shape + ", }\n", {1, 2});
  };
  CHECK(errorOfArray(header("'<f8'", "False", "(1, 2)")) == "nothing thrown");
  CHECK(errorOfArray(header("'>f8'", "False", "(1, 2)")) ==
        "a.npy: elements must be float32 or float64 in little-endian order, not '>f8'");
  CHECK(errorOfArray(header("'<i8'", "False", "(1, 2)")) ==
        "a.npy: elements must be float32 or float64 in little-endian order, not '<i8'");
  CHECK(errorOfArray(header("'<f2'", "False", "(1, 2)")) ==
        "a.npy: elements must be float32 or float64 in little-endian order, not '<f2'");
  CHECK(errorOfArray(header("[('x', '<f8')]", "False", "(1, 2)")) ==
        "a.npy: elements must be float32 or float64 in little-endian order, not [('x', '<f8')]");
  CHECK(errorOfArray(header("'<f8'", "True", "(1, 2)")) == "a.npy: elements must be in C order, not in Fortran order");
  CHECK(errorOfArray(header("'<f8'", "False", "(2,)")) ==
        "a.npy: the array must have two dimensions, not the shape (2,)");
  CHECK(errorOfArray(header("'<f8'", "False", "(1, 1, 2)")) ==
        "a.npy: the array must have two dimensions, not the shape (1, 1, 2)");
  CHECK(errorOfArray(header("'<f8'", "False", "(-1, 2)")) ==
        "a.npy: the array must have two dimensions, not the shape (-1, 2)");
  CHECK(errorOfArray(header("'<f8'", "False", "(2, 2)")) == "a.npy: the file is cut off: 2 elements instead of 2 x 2");
  CHECK(errorOfArray(header("'<f8'", "False", "(999999999999999999, 999999999999999999)")) ==
        "a.npy: the file is cut off: 2 elements instead of 999999999999999999 x 999999999999999999");
  CHECK(errorOfArray(header("'<f8'", "False", "(4294967296, 4294967296)")) ==  // 2^64, which wraps to 0
        "a.npy: the file is cut off: 2 elements instead of 4294967296 x 4294967296");
}

TEST_CASE("every truncation of an array is an error") {
  const std::string bytes = qzNumpyArray::Encode({1, 2, 3, 4, 5, 6}, 6);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    CAPTURE(length);
    CHECK(errorOfArray(bytes.substr(0, length)).substr(0, 7) == "a.npy: ");
  }
  std::string unknown = bytes;
  unknown[6] = 9;
  CHECK(errorOfArray(unknown) == "a.npy: .npy format version 9 is unknown");
}

TEST_CASE("a header has up to 65536 bytes; a longer one is refused at once") {
  const auto version2 = [](std::size_t announced, std::size_t present) {
    std::string header = "{'descr': '<f8', 'fortran_order': False, 'shape': (1, 2), }";
    header.resize(present, ' ');
    std::string bytes("\x93NUMPY\x02\x00", 8);
    for (std::size_t i = 0; i < 4; ++i) bytes += static_cast<char>(announced >> 8 * i & 255);
    return bytes + header + std::string(16, '\0');
  };
  CHECK(qzNumpyHeader("a.npy", version2(65536, 65536)).getNbBytes() == qzNumpyHeader::kMaxBytes);
  CHECK(errorOfArray(version2(65536, 65536)) == "nothing thrown");
  CHECK(errorOfArray(version2(65537, 65537)) == "a.npy: the .npy header is too long");
  CHECK(errorOfArray(version2(4000000000u, 65536)) == "a.npy: the .npy header is too long");
  CHECK(errorOfArray(version2(4000000000u, 100)) == "a.npy: the file is cut off in its header");
}
