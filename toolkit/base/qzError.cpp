#include <toolkit/base/qzError.h>

#include <algorithm>

namespace qzToolkit {

namespace {

std::string asOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == '\x7F'; }, ' ');
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace

qzError::qzError(const std::string& line) : std::runtime_error(asOneLine(line)) {}

}  // namespace qzToolkit
