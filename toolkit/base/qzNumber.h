#pragma once
// Numbers as text in the classic locale, which a program has unless it sets another.

#include <string>
#include <string_view>

namespace qzToolkit {

enum class tNumberResult { eNumber, eNoNumber, eOutOfRange };

/// Reads all of text as one number, blanks around it and a plus sign allowed, "nan" and "inf" too. The value is the
/// float nearest to the decimal number; one too small for a float becomes zero, one too large is out of range.
tNumberResult readNumber(std::string_view text, float& value);

/// Appends the shortest text that readNumber turns back into the same bits; any NaN becomes "nan".
void appendNumber(std::string& text, float value);

/// text without blanks, tabs and carriage returns at its ends.
std::string_view trimmed(std::string_view text);

}  // namespace qzToolkit
