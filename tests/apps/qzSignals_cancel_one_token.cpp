// Signals are for a whole process, so each of these runs in one of its own.

#include <apps/qzquery/console/qzSignals.h>
#include <doctest/doctest.h>
#include <toolkit/run/qzChildProcess.h>

#include <csignal>
#include <functional>
#include <stdexcept>
#include <string>

using qzQuery::qzSignals;
using qzToolkit::qzCancelToken;
using qzToolkit::qzChildProcess;

namespace {

/// The answer of function in a process of its own, or what became of that.
std::string apart(const std::function<char()>& function) {
  qzChildProcess process({10, std::size_t(1) << 30}, [&](const qzChildProcess::tOutput& output) {
    const char answer = function();
    output.write(&answer, 1);
  });
  char answer;
  try {
    process.read(&answer, 1);
  } catch (const qzChildProcess::tFailure& failure) {
    return failure.what();
  }
  return std::string(1, answer);
}

}  // namespace

TEST_CASE("each of three signals cancels the token and is its reason; another signal does not") {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) {
    CAPTURE(signal);
    const int expected = signal == SIGWINCH ? qzCancelToken::kNoReason : signal;
    CHECK(apart([&] {
            qzCancelToken token, other;
            const qzSignals signals(token);
            std::raise(signal);
            return token.getReason() == expected && !other.isCanceled() ? 'y' : 'n';
          }) == "y");
  }
}

TEST_CASE("a signal that the process was started to ignore stays ignored") {
  CHECK(apart([] {
          std::signal(SIGHUP, SIG_IGN);
          qzCancelToken token;
          const qzSignals signals(token);
          std::raise(SIGHUP);
          { const qzSignals::tEndAtOnce endAtOnce; }
          std::raise(SIGHUP);
          return token.isCanceled() ? 'n' : 'y';
        }) == "y");
}

TEST_CASE("before and after the binding a signal ends the process") {
  CHECK(apart([] {
          std::raise(SIGINT);
          return 'x';
        }) == "failed (Interrupt)");
  CHECK(apart([] {
          qzCancelToken token;
          { const qzSignals signals(token); }
          std::raise(SIGINT);
          return 'x';
        }) == "failed (Interrupt)");
}

TEST_CASE("the binding can be made again with another token, but not twice at the same time") {
  CHECK(apart([] {
          qzCancelToken first, second;
          {
            const qzSignals signals(first);
            try {
              const qzSignals again(second);
              return 'x';
            } catch (const std::logic_error&) {
            }
            std::raise(SIGTERM);
          }
          const bool isFirst = first.getReason() == SIGTERM && !second.isCanceled();
          const qzSignals signals(second);
          std::raise(SIGINT);
          return isFirst && first.getReason() == SIGTERM && second.getReason() == SIGINT ? 'y' : 'n';
        }) == "y");
}

TEST_CASE("around work that polls nothing a signal ends the process, and cancels the token again afterwards") {
  CHECK(apart([] {
          qzCancelToken token;
          const qzSignals signals(token);
          const qzSignals::tEndAtOnce endAtOnce;
          std::raise(SIGTERM);
          return 'x';
        }) == "failed (Terminated)");
  CHECK(apart([] {
          qzCancelToken token;
          const qzSignals signals(token);
          { const qzSignals::tEndAtOnce endAtOnce; }
          std::raise(SIGINT);
          return token.getReason() == SIGINT ? 'y' : 'n';
        }) == "y");
  CHECK(apart([] {
          { const qzSignals::tEndAtOnce withoutBinding; }
          std::raise(SIGINT);
          return 'x';
        }) == "failed (Interrupt)");
}
