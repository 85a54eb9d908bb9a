#pragma once
// Running the built programs.

#include <string>
#include <vector>

namespace qzTest {

struct Outcome {
  int exitCode;  ///< negative when a signal ended the program
  std::string output, error;
};

/// Runs qzquery with these arguments. input goes to its standard input; outputName is the file that standard output
/// goes to instead of being kept.
Outcome runQuery(const std::vector<std::string>& arguments, const std::string& input = "",
                 const std::string& outputName = "");

/// Runs qzquery until line appears on standard error, and sends it a signal then. Its standard input holds the bytes
/// of input and never ends.
Outcome runQueryUntil(const std::string& line, int signal, const std::vector<std::string>& arguments,
                      const std::string& input);

/// Runs qzquery with standard error on a terminal, and returns what appears there.
std::string runQueryOnTerminal(const std::vector<std::string>& arguments);

}  // namespace qzTest
