#include <doctest/doctest.h>
#include <png.h>
#include <toolkit/io/picture/qzImage.h>

#include <limits>

using qzToolkit::qzImage;

namespace {

/// The bytes of the picture, red, green and blue for every pixel.
std::vector<unsigned> decode(const std::string& file, unsigned& width, unsigned& height) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  REQUIRE(png_image_begin_read_from_memory(&image, file.data(), file.size()) != 0);
  image.format = PNG_FORMAT_RGB;
  std::string bytes(PNG_IMAGE_SIZE(image), '\0');
  REQUIRE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr) != 0);
  width = image.width;
  height = image.height;
  std::vector<unsigned> result;
  for (char c : bytes) result.push_back(static_cast<unsigned char>(c));
  return result;
}

}  // namespace

TEST_CASE("the PNG file has the pixels, top row first") {
  qzImage image(3, 2);
  image.setPixel(0, 0, {1, 0, 0});
  image.setPixel(2, 0, {0, 1, 0});
  image.setPixel(1, 1, {0, 0, 1});
  unsigned width, height;
  const std::vector<unsigned> pixels = decode(image.encodePng(), width, height);
  CHECK(width == 3);
  CHECK(height == 2);
  CHECK(pixels == std::vector<unsigned>{255, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0});
}

TEST_CASE("a new image is black, or of a given colour") {
  unsigned width, height;
  CHECK(decode(qzImage(2, 1).encodePng(), width, height) == std::vector<unsigned>(6, 0));
  CHECK(decode(qzImage(1, 2, {1.0, 0.0, 0.2158605}).encodePng(), width, height) ==
        std::vector<unsigned>{255, 0, 128, 255, 0, 128});
}

TEST_CASE("linear light is clamped to 0 and 1 and encoded as sRGB") {
  qzImage image(2, 1);
  image.setPixel(0, 0, {0.2158605, 0.0015, 2.0});  // 128 / 255 in sRGB; the straight part of the curve; too bright
  image.setPixel(1, 0, {-1.0, 1.0, 0.0});
  unsigned width, height;
  CHECK(decode(image.encodePng(), width, height) == std::vector<unsigned>{128, 5, 255, 0, 255, 0});
}
