#pragma once
// Numbers as text in the classic locale, which a program has unless it sets another.

#include <string>
#include <string_view>

namespace qzToolkit {

enum class tNumberResult { eNumber, eNoNumber, eOutOfRange };

/// Parses all of text as one number; surrounding spaces, a plus sign, "nan" and "inf" are allowed. The value is the
/// float nearest to the decimal number; underflow gives zero, overflow is out of range.
tNumberResult readNumber(std::string_view text, float& value);

/// Appends the shortest text that readNumber turns back into the same bits; any NaN becomes "nan".
void appendNumber(std::string& text, float value);

/// text without leading and trailing spaces, tabs and carriage returns.
std::string_view trimmed(std::string_view text);

}  // namespace qzToolkit
