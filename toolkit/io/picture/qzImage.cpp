#include <toolkit/io/picture/qzImage.h>

#include <png.h>
#include <toolkit/base/qzError.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <new>
#include <utility>

namespace qzToolkit {

namespace {

std::uint8_t encodeChannel(double linear) {
  const double value = std::clamp(linear, 0.0, 1.0);
  const double encoded = value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1.0 / 2.4) - 0.055;  // sRGB
  return static_cast<std::uint8_t>(std::lround(255.0 * encoded));
}

/// A stream of the C library that collects bytes in memory and fails once the work is cancelled: the only way to stop
/// libpng.
class tPngStream {
 public:
  explicit tPngStream(const tCancel* cancel) : mCancel(cancel) {
    cookie_io_functions_t functions = {};
    functions.write = Write;
    mFile = ::fopencookie(this, "w", functions);
    if (mFile == nullptr) throw std::bad_alloc();
  }
  ~tPngStream() { std::fclose(mFile); }
  tPngStream(const tPngStream&) = delete;
  tPngStream& operator=(const tPngStream&) = delete;

  std::FILE* get() const { return mFile; }
  bool flush() const { return std::fflush(mFile) == 0; }
  std::string takeBytes() { return std::move(mBytes); }

 private:
  /// Called by C, so it must not throw. Returns 0 for a failure.
  static ssize_t Write(void* stream, const char* bytes, std::size_t size) {
    tPngStream& self = *static_cast<tPngStream*>(stream);
    if (self.mCancel != nullptr && self.mCancel->isCanceled()) return 0;
    try {
      self.mBytes.append(bytes, size);
    } catch (const std::exception&) {
      return 0;
    }
    return static_cast<ssize_t>(size);
  }

  const tCancel* mCancel;
  std::FILE* mFile = nullptr;
  std::string mBytes;
};

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

std::string qzImage::encodePng(const tCancel* cancel) const {
  png_image description = {};
  description.version = PNG_IMAGE_VERSION;
  description.width = static_cast<png_uint_32>(mWidth);
  description.height = static_cast<png_uint_32>(mHeight);
  description.format = PNG_FORMAT_RGB;
  tPngStream stream(cancel);
  if (png_image_write_to_stdio(&description, stream.get(), 0, mBytes.data(), 0, nullptr) == 0 || !stream.flush()) {
    throwIfCanceled(cancel);
    throw qzError("PNG", description.message);
  }
  return stream.takeBytes();
}

}  // namespace qzToolkit
