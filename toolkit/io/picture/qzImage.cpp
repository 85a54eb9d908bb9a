#include <toolkit/io/picture/qzImage.h>

#include <png.h>
#include <toolkit/base/qzError.h>

#include <algorithm>
#include <cmath>

namespace qzToolkit {

namespace {

std::uint8_t encodeChannel(double linear) {
  const double value = std::clamp(linear, 0.0, 1.0);
  const double encoded = value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1.0 / 2.4) - 0.055;  // sRGB
  return static_cast<std::uint8_t>(std::lround(255.0 * encoded));
}

}  // namespace

qzImage::qzImage(int width, int height, const std::array<double, 3>& color)
    : mWidth(width), mHeight(height), mBytes(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
  const std::uint8_t channels[3] = {encodeChannel(color[0]), encodeChannel(color[1]), encodeChannel(color[2])};
  for (std::size_t i = 0; i < mBytes.size(); ++i) mBytes[i] = channels[i % 3];
}

void qzImage::setPixel(int x, int y, const std::array<double, 3>& color) {
  std::uint8_t* const pixel =
      &mBytes[3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) + static_cast<std::size_t>(x))];
  for (std::size_t channel = 0; channel < 3; ++channel) pixel[channel] = encodeChannel(color[channel]);
}

std::string qzImage::encodePng() const {
  png_image description = {};
  description.version = PNG_IMAGE_VERSION;
  description.width = static_cast<png_uint_32>(mWidth);
  description.height = static_cast<png_uint_32>(mHeight);
  description.format = PNG_FORMAT_RGB;
  std::string bytes(PNG_IMAGE_PNG_SIZE_MAX(description), '\0');
  png_alloc_size_t size = bytes.size();
  if (png_image_write_to_memory(&description, bytes.data(), &size, 0, mBytes.data(), 0, nullptr) == 0) {
    throw qzError("PNG", description.message);
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace qzToolkit
