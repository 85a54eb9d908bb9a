#include "apps/qzPicture.h"

#include <doctest/doctest.h>
#include <png.h>

#include "apps/qzProcess.h"

namespace qzTest {

Picture Picture::part(int left, int top, int partWidth, int partHeight) const {
  Picture result = {partWidth, partHeight, {}};
  for (int y = top; y < top + partHeight; ++y) {
    const auto start = bytes.begin() + 3 * (y * width + left);
    result.bytes.insert(result.bytes.end(), start, start + 3 * partWidth);
  }
  return result;
}

Picture decode(const std::string& file) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  REQUIRE(png_image_begin_read_from_memory(&image, file.data(), file.size()) != 0);
  image.format = PNG_FORMAT_RGB;
  Picture picture = {static_cast<int>(image.width), static_cast<int>(image.height), {}};
  picture.bytes.resize(PNG_IMAGE_SIZE(image));
  REQUIRE(png_image_finish_read(&image, nullptr, picture.bytes.data(), 0, nullptr) != 0);
  return picture;
}

Picture render(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "render");
  arguments.insert(arguments.end(), {"-o", "-", "--quiet"});
  const Outcome outcome = runQuery(arguments);
  CHECK(outcome.exitCode == 0);
  CHECK(outcome.error.empty());
  return decode(outcome.output);
}

}  // namespace qzTest
