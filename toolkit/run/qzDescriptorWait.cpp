#include <toolkit/run/qzDescriptorWait.h>

#include <poll.h>

#include <cerrno>

namespace qzToolkit {

namespace {

// poll() needs a timeout: a token cancelled by another thread, or by a signal just before the call, does not interrupt
// it.
constexpr int kMillisecondsBetweenPolls = 100;

}  // namespace

void waitFor(int descriptor, short events, const tCancel* cancel) {
  pollfd request = {descriptor, events, 0};
  int nbReady;
  do {
    throwIfCanceled(cancel);
    nbReady = ::poll(&request, 1, kMillisecondsBetweenPolls);
  } while (nbReady == 0 || (nbReady < 0 && errno == EINTR));
}

void waitForRetry(const tCancel* cancel) {
  throwIfCanceled(cancel);
  ::poll(nullptr, 0, kMillisecondsBetweenPolls);
}

}  // namespace qzToolkit
