#pragma once
// qzImage: an image with 8 bits each of red, green and blue, rows from the top.

#include <toolkit/run/qzCancelToken.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace qzToolkit {

class qzImage {
 public:
  /// All pixels are color, see setPixel; both sizes are at least 1.
  qzImage(int width, int height, const std::array<double, 3>& color = {0.0, 0.0, 0.0});

  int getWidth() const { return mWidth; }
  int getHeight() const { return mHeight; }

  /// Sets a pixel to red, green and blue from 0 to 1 in linear light, clamped. Different pixels
  /// may be set by different threads.
  void setPixel(int x, int y, const std::array<double, 3>& color);

  /// The picture as a PNG file. cancel is polled while it is compressed.
  std::string encodePng(const tCancel* cancel = nullptr) const;

 private:
  int mWidth, mHeight;
  std::vector<std::uint8_t> mBytes;
};

}  // namespace qzToolkit
