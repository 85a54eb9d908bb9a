#include <toolkit/run/qzChildProcess.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <toolkit/run/qzDescriptorWait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <string>

namespace qzToolkit {

namespace {

void limitTo(decltype(RLIMIT_CORE) resource, rlim_t most) {
  rlimit limit;
  if (::getrlimit(resource, &limit) != 0) return;
  if (limit.rlim_max != RLIM_INFINITY && limit.rlim_max < most) most = limit.rlim_max;
  limit.rlim_cur = most;
  ::setrlimit(resource, &limit);
}

/// Bytes of data and stack of this process.
std::size_t memoryInUse() {
  constexpr int kDataField = 6;  // from 1; in pages
  std::ifstream file("/proc/self/statm");
  std::size_t pages = 0;
  for (int field = 1; field <= kDataField; ++field) file >> pages;
  return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// In the child: any signal ends it, without messages or a core dump.
void prepare(const qzChildProcess::tLimits& limits) {
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGXCPU, SIGPIPE})
    std::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(nowhere, STDOUT_FILENO);
  ::dup2(nowhere, STDERR_FILENO);
  limitTo(RLIMIT_CORE, 0);
  limitTo(RLIMIT_CPU, limits.mSeconds);
  limitTo(RLIMIT_DATA, memoryInUse() + limits.mMemory);
}

}  // namespace

void qzChildProcess::tOutput::write(const void* bytes, std::size_t size) const {
  const char* next = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t count = ::write(mDescriptor, next, size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) ::_exit(1);  // the parent has closed its end
    next += count;
    size -= static_cast<std::size_t>(count);
  }
}

qzChildProcess::qzChildProcess(const tLimits& limits, const std::function<void(const tOutput&)>& work,
                               const tCancel* cancel)
    : mCancel(cancel) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw tFailure(std::string("cannot be started: ") + std::strerror(errno));
  mProcess = ::fork();
  if (mProcess < 0) {
    const int error = errno;
    ::close(ends[0]);
    ::close(ends[1]);
    throw tFailure(std::string("cannot be started: ") + std::strerror(error));
  }
  if (mProcess == 0) {
    int code = 1;
    try {
      prepare(limits);
      work(tOutput(ends[1]));
      code = 0;
    } catch (...) {
    }
    ::_exit(code);  // runs no destructor or exit handler of the parent
  }
  ::close(ends[1]);
  mInput = ends[0];
}

qzChildProcess::~qzChildProcess() {
  ::close(mInput);
  if (mProcess < 0) return;
  ::kill(mProcess, SIGKILL);
  while (::waitpid(mProcess, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void qzChildProcess::read(void* bytes, std::size_t size) {
  char* next = static_cast<char*>(bytes);
  while (size > 0) {
    waitFor(mInput, POLLIN, mCancel);
    const ssize_t count = ::read(mInput, next, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) fail();
    next += count;
    size -= static_cast<std::size_t>(count);
  }
}

void qzChildProcess::fail() {
  int status = 0;
  pid_t waited;
  while ((waited = ::waitpid(mProcess, &status, 0)) < 0 && errno == EINTR) {
  }
  mProcess = -1;
  if (waited < 0 || !WIFSIGNALED(status)) throw tFailure("failed");
  if (WTERMSIG(status) == SIGXCPU) throw tFailure("exceeded its time limit");
  throw tFailure(std::string("failed (") + ::strsignal(WTERMSIG(status)) + ")");
}

}  // namespace qzToolkit
