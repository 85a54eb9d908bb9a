#pragma once
// qzNumpyHeader: the header of a .npy file of NumPy, which describes its elements.
// Two-dimensional arrays of floating-point numbers only: reads versions 1 to 3 of the format, elements float32 or
// float64 in little-endian order, rows one after another (C order). Writes version 1.

#include <cstddef>
#include <string>
#include <string_view>

namespace qzToolkit {

class qzNumpyHeader {
 public:
  /// Longest header that is read.
  static constexpr std::size_t kMaxBytes = 12 + 65536;

  /// Whether bytes begin as a .npy file does.
  static bool Recognizes(std::string_view bytes);

  /// The header of an array of float64 or, with an element size of 4, float32; the elements follow it. With up to
  /// 99 columns its length does not depend on the number of rows, so it can be overwritten later.
  static std::string Encode(std::size_t nbRows, std::size_t nbColumns, std::size_t elementSize = sizeof(double));

  /// Reads the header of a file that begins with bytes: the whole file, or its first kMaxBytes at least. Anything but
  /// an array as above throws a qzError that begins with name.
  qzNumpyHeader(const std::string& name, std::string_view bytes);

  std::size_t getNbRows() const { return mNbRows; }
  std::size_t getNbColumns() const { return mNbColumns; }
  /// Bytes of the header, of an element, of a row.
  std::size_t getNbBytes() const { return mNbBytes; }
  std::size_t getElementSize() const { return mElementSize; }
  std::size_t getRowSize() const { return mNbColumns * mElementSize; }

  /// Throws the qzError for a file that ends after nbBytes of elements.
  [[noreturn]] void failCutOff(const std::string& name, std::size_t nbBytes) const;

 private:
  std::size_t mNbRows = 0, mNbColumns = 0, mNbBytes = 0, mElementSize = 0;
};

}  // namespace qzToolkit
