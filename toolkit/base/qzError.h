#pragma once
// qzError: thrown for an invalid file or request. what() is one line without a full stop that names the file and the
// place in it, ready to be shown to a user.

#include <stdexcept>
#include <string>

namespace qzToolkit {

class qzError : public std::runtime_error {
 public:
  /// Line breaks and other control characters, which a file or its name may contain, become spaces.
  explicit qzError(const std::string& line);
  /// "place: line"
  qzError(const std::string& place, const std::string& line) : qzError(place + ": " + line) {}
};

}  // namespace qzToolkit
