#include <toolkit/io/picture/qzFloatMap.h>

#include <toolkit/io/file/qzFile.h>
#include <toolkit/io/table/qzNumpyArray.h>

namespace qzToolkit {

namespace {

bool isNumpy(const std::string& fileName) {
  return fileExtension(fileName) == "npy";
}

}  // namespace

qzFloatMap::qzFloatMap(int width, int height, float value)
    : mWidth(width), mHeight(height), mValues(index(0, height), value) {}

bool qzFloatMap::IsFormat(const std::string& fileName) {
  return isNumpy(fileName) || fileExtension(fileName) == "pfm";
}

std::string qzFloatMap::encode(const std::string& fileName) const {
  if (isNumpy(fileName)) return qzNumpyArray::Encode(mValues, static_cast<std::size_t>(mWidth));
  std::string bytes = "Pf\n" + std::to_string(mWidth) + ' ' + std::to_string(mHeight) + "\n-1.0\n";
  bytes.reserve(bytes.size() + mValues.size() * sizeof(float));
  for (int y = mHeight; y-- > 0;) {
    bytes.append(reinterpret_cast<const char*>(&mValues[index(0, y)]),
                 static_cast<std::size_t>(mWidth) * sizeof(float));
  }
  return bytes;
}

}  // namespace qzToolkit
