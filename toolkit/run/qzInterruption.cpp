#include <toolkit/run/qzInterruption.h>

#include <signal.h>

namespace qzToolkit {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

using tHandler = void (*)(int);

/// Puts handler in the place of the one that stands there for each of the signals; one that is ignored stays so.
void handleBy(tHandler handler) {
  for (const int number : kSignals) {
    struct sigaction action = {};
    if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = handler;
    ::sigaction(number, &action, nullptr);
  }
}

}  // namespace

void qzInterruption::CatchSignals() {
  msIsCatching = true;
  handleBy([](int signal) { msSignal.store(signal, std::memory_order_relaxed); });
}

qzSuddenInterruption::qzSuddenInterruption() {
  if (qzInterruption::msIsCatching) handleBy(SIG_DFL);
  checkInterruption();
}

qzSuddenInterruption::~qzSuddenInterruption() {
  if (qzInterruption::msIsCatching) qzInterruption::CatchSignals();
}

}  // namespace qzToolkit
