#pragma once
// qzError: what the toolkit throws when a file or a request is no good. what() is one line without a full stop or a
// line break that names the file and the place in it, ready to be shown to a person.

#include <stdexcept>
#include <string>

namespace qzToolkit {

class qzError : public std::runtime_error {
 public:
  explicit qzError(const std::string& line) : std::runtime_error(line) {}
  /// "place: line"
  qzError(const std::string& place, const std::string& line) : std::runtime_error(place + ": " + line) {}
};

}  // namespace qzToolkit
