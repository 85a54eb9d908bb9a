#pragma once
// qzNumpyArray: rows of a .npy file of NumPy in memory. See qzNumpyHeader for what such a file may hold.

#include <toolkit/io/table/qzNumpyHeader.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qzToolkit {

class qzNumpyArray {
 public:
  /// The bytes of a .npy file with the given elements, double or float, row by row; their number is a multiple of
  /// nbColumns.
  template <class tElement = double>
  static std::string Encode(const std::vector<tElement>& elements, std::size_t nbColumns);

  /// A view of the array in the bytes of a whole file, which must outlive it. Anything but a complete array throws a
  /// qzError that begins with name.
  qzNumpyArray(const std::string& name, std::string_view bytes);

  /// A view of some rows of the array with this header.
  qzNumpyArray(const qzNumpyHeader& header, std::string_view rows) : mHeader(header), mElements(rows) {}

  std::size_t getNbRows() const { return mHeader.getNbRows(); }
  std::size_t getNbColumns() const { return mHeader.getNbColumns(); }
  /// Unchecked.
  double getElement(std::size_t row, std::size_t column) const;

 private:
  qzNumpyHeader mHeader;
  std::string_view mElements;
};

}  // namespace qzToolkit
