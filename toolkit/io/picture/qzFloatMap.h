#pragma once
// qzFloatMap: an image with one float per pixel, rows from the top, and its file formats.

#include <cstddef>
#include <string>
#include <vector>

namespace qzToolkit {

class qzFloatMap {
 public:
  /// All pixels are value; both sizes are at least 1.
  qzFloatMap(int width, int height, float value);

  int getWidth() const { return mWidth; }
  int getHeight() const { return mHeight; }

  /// Unchecked. Different pixels may be set by different threads.
  float getPixel(int x, int y) const { return mValues[index(x, y)]; }
  void setPixel(int x, int y, float value) { mValues[index(x, y)] = value; }

  /// Whether encode has the format for the extension of a file name: npy and pfm, in upper or lower case.
  static bool IsFormat(const std::string& fileName);

  /// The bytes of a file in the format for the extension of its name, which must have one:
  /// npy  an array of float32 for NumPy, height rows of width columns, top row first
  /// pfm  a Portable FloatMap in grey and little-endian order, bottom row first, as the format demands
  std::string encode(const std::string& fileName) const;

 private:
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) + static_cast<std::size_t>(x);
  }

  int mWidth, mHeight;
  std::vector<float> mValues;
};

}  // namespace qzToolkit
