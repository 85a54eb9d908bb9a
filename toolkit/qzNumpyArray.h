#pragma once
// qzNumpyArray: the .npy format of NumPy for two-dimensional arrays of floating-point numbers.
// Reads versions 1 to 3 of the format, elements float32 or float64 in little-endian order, rows one after another (C
// order). Writes version 1, float64.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qzToolkit {

class qzNumpyArray {
 public:
  /// Whether bytes begin as a .npy file does.
  static bool Recognizes(std::string_view bytes);

  /// The bytes of a .npy file with the given elements, row by row, a multiple of nbColumns.
  static std::string Encode(const std::vector<double>& elements, std::size_t nbColumns);

  /// A view of the array in bytes, which must outlive it. Anything but a complete array as above throws a qzError that
  /// begins with name.
  qzNumpyArray(const std::string& name, std::string_view bytes);

  std::size_t getNbRows() const { return mNbRows; }
  std::size_t getNbColumns() const { return mNbColumns; }
  /// Unchecked.
  double getElement(std::size_t row, std::size_t column) const;

 private:
  std::string_view mElements;
  std::size_t mNbRows = 0, mNbColumns = 0, mElementSize = 0;
};

}  // namespace qzToolkit
