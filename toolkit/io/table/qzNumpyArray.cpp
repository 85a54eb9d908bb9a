#include <toolkit/io/table/qzNumpyArray.h>

#include <cstring>

namespace qzToolkit {

template <class tElement>
std::string qzNumpyArray::Encode(const std::vector<tElement>& elements, std::size_t nbColumns) {
  std::string bytes = qzNumpyHeader::Encode(elements.size() / nbColumns, nbColumns, sizeof(tElement));
  const std::size_t start = bytes.size();
  bytes.resize(start + elements.size() * sizeof(tElement));
  if (!elements.empty()) std::memcpy(bytes.data() + start, elements.data(), elements.size() * sizeof(tElement));
  return bytes;
}
template std::string qzNumpyArray::Encode(const std::vector<float>&, std::size_t);
template std::string qzNumpyArray::Encode(const std::vector<double>&, std::size_t);

qzNumpyArray::qzNumpyArray(const std::string& name, std::string_view bytes) : mHeader(name, bytes) {
  mElements = bytes.substr(mHeader.getNbBytes());
  const std::size_t nbColumns = mHeader.getNbColumns(), present = mElements.size() / mHeader.getElementSize();
  if (nbColumns != 0 && mHeader.getNbRows() > present / nbColumns) mHeader.failCutOff(name, mElements.size());
}

double qzNumpyArray::getElement(std::size_t row, std::size_t column) const {
  const char* const element = mElements.data() + row * mHeader.getRowSize() + column * mHeader.getElementSize();
  if (mHeader.getElementSize() == sizeof(float)) {
    float value;
    std::memcpy(&value, element, sizeof value);
    return value;
  }
  double value;
  std::memcpy(&value, element, sizeof value);
  return value;
}

}  // namespace qzToolkit
