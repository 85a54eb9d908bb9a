#include <toolkit/base/qzNumber.h>

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace qzToolkit {

tNumberResult readNumber(std::string_view text, float& value) {
  text = trimmed(text);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  const char* const end = text.data() + text.size();
  const auto [stop, code] = std::from_chars(text.data(), end, value);
  if (code == std::errc::invalid_argument || stop != end) return tNumberResult::eNoNumber;
  if (code == std::errc::result_out_of_range) {  // overflow and underflow alike; strtof tells them apart
    value = std::strtof(std::string(text).c_str(), nullptr);
    if (std::isinf(value)) return tNumberResult::eOutOfRange;
  }
  return tNumberResult::eNumber;
}

void appendNumber(std::string& text, float value) {
  if (std::isnan(value)) {
    text += "nan";
    return;
  }
  char digits[32];
  const auto result = std::to_chars(digits, digits + sizeof digits, value);
  text.append(digits, result.ptr);
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace qzToolkit
