#pragma once
// Reading a text line by line and word by word.

#include <toolkit/run/qzCancelToken.h>

#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qzToolkit {

/// Iterates over the lines of a text, without surrounding spaces and without comments, which begin with "#".
class qzLines {
 public:
  /// name    of the file, for messages; it and text must outlive the object
  /// cancel  polled for every line
  qzLines(const std::string& name, std::string_view text, const tCancel* cancel = nullptr)
      : mName(name), mText(text), mCancel(cancel) {}

  /// Advances to the next line that is not empty; false at the end.
  bool next();

  std::string_view line() const { return mLine; }
  std::size_t number() const { return mNumber; }

  /// Throws a qzError that names the file and the line.
  [[noreturn]] void fail(const std::string& what) const { failAt(mNumber, what); }
  [[noreturn]] void failAt(std::size_t number, const std::string& what) const;

 private:
  const std::string& mName;
  std::string_view mText, mLine;
  const tCancel* mCancel;
  std::size_t mNumber = 0;
};

/// Removes the first word from line and returns it; empty if there is none.
std::string_view takeWord(std::string_view& line);

/// Parses word as an integer; nothing if it is not one or is out of range.
template <class tInteger>
std::optional<tInteger> integerOf(std::string_view word) {
  tInteger value;
  const auto [end, code] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (code != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

}  // namespace qzToolkit
