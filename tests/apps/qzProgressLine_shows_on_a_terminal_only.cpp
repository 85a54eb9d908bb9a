#include <apps/qzquery/console/qzProgressLine.h>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/qzTemporaryFolder.h"

using namespace qzTest;
using qzQuery::qzProgressLine;

namespace {

/// Standard error goes to descriptor while this lives.
class ErrorTo {
 public:
  explicit ErrorTo(int descriptor) : mPrevious(::dup(STDERR_FILENO)) {
    std::fflush(stderr);
    ::dup2(descriptor, STDERR_FILENO);
  }
  ~ErrorTo() {
    std::fflush(stderr);
    ::dup2(mPrevious, STDERR_FILENO);
    ::close(mPrevious);
  }

 private:
  int mPrevious;
};

void count(bool enabled) {
  qzProgressLine progress("counting", 4, enabled);
  for (int i = 0; i < 4; ++i) progress.advance(1);
}

/// What count writes to a terminal.
std::string shownOnTerminal(bool enabled) {
  const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
  REQUIRE(terminal >= 0);
  REQUIRE((::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0));
  const int inside = ::open(::ptsname(terminal), O_RDWR | O_NOCTTY);
  REQUIRE(inside >= 0);
  {
    const ErrorTo error(inside);
    count(enabled);
  }
  REQUIRE(::write(inside, "#", 1) == 1);  // the end
  std::string shown;
  for (char c; ::read(terminal, &c, 1) == 1 && c != '#';) shown += c;
  ::close(inside);
  ::close(terminal);
  return shown;
}

}  // namespace

TEST_CASE("a terminal shows a line that is cleared at the end") {
  const std::string shown = shownOnTerminal(true);
  CHECK(shown.substr(0, 15) == "\rcounting  25 %");
  REQUIRE(shown.size() > 4);
  CHECK(shown.substr(shown.size() - 4) == "\r\033[K");
  CHECK(shown.find('\n') == std::string::npos);
}

TEST_CASE("disabled progress shows nothing on a terminal") {
  CHECK(shownOnTerminal(false).empty());
}

TEST_CASE("a file gets nothing") {
  const TemporaryFolder folder;
  const int file = ::open(folder.write("error", "").c_str(), O_WRONLY);
  {
    const ErrorTo error(file);
    count(true);
  }
  ::close(file);
  CHECK(folder.read("error").empty());
}
