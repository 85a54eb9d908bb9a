#include <toolkit/io/file/qzLines.h>

#include <toolkit/base/qzError.h>
#include <toolkit/base/qzNumber.h>

#include <algorithm>

namespace qzToolkit {

bool qzLines::next() {
  while (!mText.empty()) {
    throwIfCanceled(mCancel);
    const std::size_t end = mText.find('\n');
    mLine = mText.substr(0, end);
    mText.remove_prefix(end == std::string_view::npos ? mText.size() : end + 1);
    mLine = trimmed(mLine.substr(0, mLine.find('#')));
    ++mNumber;
    if (!mLine.empty()) return true;
  }
  return false;
}

void qzLines::failAt(std::size_t number, const std::string& what) const {
  throw qzError(mName + ":" + std::to_string(number), what);
}

std::string_view takeWord(std::string_view& line) {
  constexpr std::string_view kBlanks = " \t\r\n\v\f";
  line.remove_prefix(std::min(line.size(), line.find_first_not_of(kBlanks)));
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(word.size());
  return word;
}

}  // namespace qzToolkit
