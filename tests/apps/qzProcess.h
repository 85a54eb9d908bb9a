#pragma once
// Running the built programs.

#include <cstddef>
#include <string>
#include <utility>
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

/// Runs qzquery until it has read all that is in a pipe, and sends it a signal then. The caller holds both ends.
Outcome runQueryUntilRead(int pipe, int signal, const std::vector<std::string>& arguments);

/// Runs qzquery with its standard input and output in pipes. Writes input part by part: the next one once the
/// number of lines given with the part before it has arrived, or after ten seconds without output.
Outcome converse(const std::vector<std::string>& arguments,
                 const std::vector<std::pair<std::string, std::ptrdiff_t>>& input);

/// Runs qzquery with its standard output in a pipe whose reading end is closed.
Outcome runQueryWithoutReader(const std::vector<std::string>& arguments);

/// Runs qzquery with standard error on a terminal, and returns what appears there.
std::string runQueryOnTerminal(const std::vector<std::string>& arguments);

}  // namespace qzTest
