#pragma once
// qzError: what the toolkit throws when a file or a request is no good. what() is one line without a full stop that
// names the file and the place in it, ready to be shown to a person.

#include <stdexcept>
#include <string>

namespace qzToolkit {

class qzError : public std::runtime_error {
 public:
  /// Line breaks and other control characters, which may come from a file or its name, become blanks.
  explicit qzError(const std::string& line);
  /// "place: line"
  qzError(const std::string& place, const std::string& line) : qzError(place + ": " + line) {}
};

}  // namespace qzToolkit
