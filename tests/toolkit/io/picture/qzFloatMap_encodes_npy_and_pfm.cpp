#include <doctest/doctest.h>
#include <toolkit/io/picture/qzFloatMap.h>
#include <toolkit/io/table/qzNumpyArray.h>

#include <cstring>

#include "support/qzBits.h"

using namespace qzTest;
using qzToolkit::qzFloatMap;

namespace {

// 0 1 2
// 3 4 5, and some that are no ordinary numbers.
qzFloatMap sixNumbers() {
  qzFloatMap map(3, 2, 0.1f);
  map.setPixel(1, 0, kInf);
  map.setPixel(2, 0, -0.0f);
  map.setPixel(0, 1, 3.5f);
  map.setPixel(1, 1, kNaN);
  map.setPixel(2, 1, 0x1p-149f);
  return map;
}

}  // namespace

TEST_CASE(".npy: top row first") {
  const qzFloatMap map = sixNumbers();
  for (const char* name : {"a.npy", "/some.where/A.NPY"}) {
    const std::string bytes = map.encode(name);
    const std::string dictionary = "{'descr': '<f4', 'fortran_order': False, 'shape': (2, 3), }";
    CHECK(bytes.substr(10, dictionary.size()) == dictionary);
    const qzToolkit::qzNumpyArray array(name, bytes);
    REQUIRE(array.getNbRows() == 2);
    REQUIRE(array.getNbColumns() == 3);
    for (int y = 0; y < 2; ++y) {
      for (int x = 0; x < 3; ++x) {
        const double element = array.getElement(static_cast<std::size_t>(y), static_cast<std::size_t>(x));
        CHECK(sameBitsOrNaN(static_cast<float>(element), map.getPixel(x, y)));
      }
    }
  }
}

TEST_CASE(".pfm: a header for grey little-endian floats, bottom row first") {
  const std::string bytes = sixNumbers().encode("a.pfm"), header = "Pf\n3 2\n-1.0\n";
  CHECK(bytes.substr(0, header.size()) == header);
  REQUIRE(bytes.size() == header.size() + 24);
  const float expected[] = {3.5f, kNaN, 0x1p-149f, 0.1f, kInf, -0.0f};
  for (std::size_t i = 0; i < 6; ++i) {
    std::uint32_t bits = 0;
    for (std::size_t k = 4; k-- > 0;) bits = bits << 8 | static_cast<unsigned char>(bytes[header.size() + 4 * i + k]);
    CHECK(bits == bitsOf(expected[i]));
  }
}

TEST_CASE("the extension selects the format") {
  for (const char* name : {"a.npy", "a.pfm", "a.b.PFM", "./a.Npy"}) CHECK(qzFloatMap::IsFormat(name));
  for (const char* name : {"", "-", "a", "npy", ".npy", "a.npy.gz", "a.npz", "a.pfm.", "a.png", "a.npy/"})
    CHECK_FALSE(qzFloatMap::IsFormat(name));
}
