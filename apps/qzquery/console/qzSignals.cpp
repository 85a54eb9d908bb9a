#include <apps/qzquery/console/qzSignals.h>

#include <signal.h>

#include <atomic>
#include <cstddef>
#include <iterator>
#include <stdexcept>

namespace qzQuery {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// A signal handler takes no pointer to an object, so what it needs is global.
std::atomic<qzToolkit::qzCancelToken*> boundToken{nullptr};
struct sigaction previousActions[std::size(kSignals)];

using tHandler = void (*)(int);

/// Replaces the handler of each signal, unless the signal was ignored before.
void handleBy(tHandler handler) {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    if (previousActions[i].sa_handler == SIG_IGN) continue;
    struct sigaction action = {};
    action.sa_handler = handler;
    ::sigaction(kSignals[i], &action, nullptr);
  }
}

void cancelBoundToken(int signal) {
  if (qzToolkit::qzCancelToken* const token = boundToken.load(std::memory_order_relaxed)) token->cancel(signal);
}

}  // namespace

qzSignals::qzSignals(qzToolkit::qzCancelToken& token) {
  qzToolkit::qzCancelToken* expected = nullptr;
  if (!boundToken.compare_exchange_strong(expected, &token)) {
    throw std::logic_error("only one qzSignals may exist at a time");
  }
  for (std::size_t i = 0; i < std::size(kSignals); ++i) ::sigaction(kSignals[i], nullptr, &previousActions[i]);
  handleBy(cancelBoundToken);
}

qzSignals::~qzSignals() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) ::sigaction(kSignals[i], &previousActions[i], nullptr);
  boundToken = nullptr;
}

qzSignals::tEndAtOnce::tEndAtOnce() {
  if (boundToken != nullptr) handleBy(SIG_DFL);
}

qzSignals::tEndAtOnce::~tEndAtOnce() {
  if (boundToken != nullptr) handleBy(cancelBoundToken);
}

}  // namespace qzQuery
