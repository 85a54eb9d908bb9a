#pragma once
// qzFloatMap: a picture of one single-precision number a pixel, rows from the top, and the files that hold one.

#include <cstddef>
#include <string>
#include <vector>

namespace qzToolkit {

class qzFloatMap {
 public:
  /// Every pixel is value; both sizes at least 1.
  qzFloatMap(int width, int height, float value);

  int getWidth() const { return mWidth; }
  int getHeight() const { return mHeight; }

  /// Unchecked. Different pixels may be set by different threads.
  float getPixel(int x, int y) const { return mValues[index(x, y)]; }
  void setPixel(int x, int y, float value) { mValues[index(x, y)] = value; }

  /// Whether encode knows the format that the end of a file name stands for: npy and pfm, in upper or lower case.
  static bool IsFormat(const std::string& fileName);

  /// The bytes of a file of the format that the end of its name stands for, which must be one:
  /// npy  an array of float32 for NumPy, height rows of width columns, the first row on top
  /// pfm  a Portable FloatMap in grey and little-endian order, the first row at the bottom, as that format wants
  std::string encode(const std::string& fileName) const;

 private:
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) + static_cast<std::size_t>(x);
  }

  int mWidth, mHeight;
  std::vector<float> mValues;
};

}  // namespace qzToolkit
