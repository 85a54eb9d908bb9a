#include "apps/qzProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <limits>
#include <stdexcept>

#include "support/qzTemporaryFolder.h"

namespace qzTest {

namespace {

int openOrThrow(const std::string& name, int flags) {
  const int descriptor = ::open(name.c_str(), flags, 0600);
  if (descriptor < 0) throw std::runtime_error("cannot open " + name);
  return descriptor;
}

/// Starts qzquery with these standard streams, and closes them here.
pid_t start(std::vector<std::string> arguments, int input, int output, int error) {
  arguments.insert(arguments.begin(), QZQUERY);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("cannot fork");
  if (child == 0) {
    // The descriptors may be 0 to 2 where a standard stream of this process is closed: out of the way first.
    const int streams[] = {::fcntl(input, F_DUPFD_CLOEXEC, 3), ::fcntl(output, F_DUPFD_CLOEXEC, 3),
                           ::fcntl(error, F_DUPFD_CLOEXEC, 3)};
    for (int number = 0; number < 3; ++number) ::dup2(streams[number], number);
    std::signal(SIGXFSZ, SIG_DFL);  // as a shell starts it, whatever a FileSizeLimit does here
    ::execv(QZQUERY, pointers.data());
    ::_exit(127);
  }
  for (int descriptor : {input, output, error}) ::close(descriptor);
  return child;
}

int codeOf(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return codeOf(status);
}

}  // namespace

Outcome runQuery(const std::vector<std::string>& arguments, const std::string& input, const std::string& outputName) {
  const TemporaryFolder folder;
  folder.write("input", input);
  const int inputFile = openOrThrow(folder.path("input"), O_RDONLY | O_CLOEXEC);
  const int outputFile =
      openOrThrow(outputName.empty() ? folder.path("output") : outputName, O_WRONLY | O_CREAT | O_CLOEXEC);
  const int errorFile = openOrThrow(folder.path("error"), O_WRONLY | O_CREAT | O_CLOEXEC);
  const int exitCode = waitFor(start(arguments, inputFile, outputFile, errorFile));
  return {exitCode, outputName.empty() ? folder.read("output") : "", folder.read("error")};
}

Outcome runQueryUntil(const std::string& line, int signal, const std::vector<std::string>& arguments,
                      const std::string& input) {
  int inputEnds[2], errorEnds[2];
  if (::pipe2(inputEnds, O_CLOEXEC) != 0 || ::pipe2(errorEnds, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const pid_t child = start(arguments, inputEnds[0], openOrThrow("/dev/null", O_WRONLY | O_CLOEXEC), errorEnds[1]);
  if (::write(inputEnds[1], input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
    throw std::runtime_error("cannot write into a pipe");
  }
  std::string error;
  char bytes[4096];
  for (;;) {
    // Again and again, as a signal just before the program begins to wait for input does not wake it.
    if (error.find(line) != std::string::npos) ::kill(child, signal);
    pollfd end = {errorEnds[0], POLLIN, 0};
    if (::poll(&end, 1, 50) == 0) continue;
    const ssize_t count = ::read(errorEnds[0], bytes, sizeof bytes);
    if (count <= 0) break;
    error.append(bytes, static_cast<std::size_t>(count));
  }
  const int exitCode = waitFor(child);
  ::close(inputEnds[1]);
  ::close(errorEnds[0]);
  return {exitCode, "", error};
}

Outcome runQueryUntilRead(int pipe, int signal, const std::vector<std::string>& arguments) {
  const TemporaryFolder folder;
  const int errorFile = openOrThrow(folder.path("error"), O_WRONLY | O_CREAT | O_CLOEXEC);
  const pid_t child = start(arguments, openOrThrow("/dev/null", O_RDONLY | O_CLOEXEC),
                            openOrThrow("/dev/null", O_WRONLY | O_CLOEXEC), errorFile);
  int nbUnread = 1;
  while (::ioctl(pipe, FIONREAD, &nbUnread) == 0 && nbUnread > 0) ::poll(nullptr, 0, 10);
  int status = 0;
  for (::kill(child, signal); ::waitpid(child, &status, WNOHANG) == 0; ::kill(child, signal)) ::poll(nullptr, 0, 50);
  return {codeOf(status), "", folder.read("error")};
}

Outcome converse(const std::vector<std::string>& arguments,
                 const std::vector<std::pair<std::string, std::ptrdiff_t>>& input) {
  const TemporaryFolder folder;
  int inputEnds[2], outputEnds[2];
  if (::pipe2(inputEnds, O_CLOEXEC) != 0 || ::pipe2(outputEnds, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const int errorFile = openOrThrow(folder.path("error"), O_WRONLY | O_CREAT | O_CLOEXEC);
  const pid_t child = start(arguments, inputEnds[0], outputEnds[1], errorFile);
  std::string output;
  // Reads output until it has nbLines lines or ends.
  const auto listen = [&](std::ptrdiff_t nbLines) {
    char bytes[4096];
    while (std::count(output.begin(), output.end(), '\n') < nbLines) {
      pollfd end = {outputEnds[0], POLLIN, 0};
      if (::poll(&end, 1, 10000) == 0) return;
      const ssize_t count = ::read(outputEnds[0], bytes, sizeof bytes);
      if (count <= 0) return;
      output.append(bytes, static_cast<std::size_t>(count));
    }
  };
  for (const auto& [part, nbLines] : input) {
    if (::write(inputEnds[1], part.data(), part.size()) != static_cast<ssize_t>(part.size())) {
      throw std::runtime_error("cannot write into a pipe");
    }
    listen(nbLines);
    output += '|';  // here the next part began
  }
  ::close(inputEnds[1]);
  listen(std::numeric_limits<std::ptrdiff_t>::max());
  ::close(outputEnds[0]);
  const int exitCode = waitFor(child);
  return {exitCode, output, folder.read("error")};
}

Outcome runQueryWithoutReader(const std::vector<std::string>& arguments) {
  const TemporaryFolder folder;
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  ::close(ends[0]);
  const int errorFile = openOrThrow(folder.path("error"), O_WRONLY | O_CREAT | O_CLOEXEC);
  const int exitCode = waitFor(start(arguments, openOrThrow("/dev/null", O_RDONLY | O_CLOEXEC), ends[1], errorFile));
  return {exitCode, "", folder.read("error")};
}

std::string runQueryOnTerminal(const std::vector<std::string>& arguments) {
  const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (terminal < 0 || ::grantpt(terminal) != 0 || ::unlockpt(terminal) != 0) throw std::runtime_error("no terminal");
  const pid_t child =
      start(arguments, openOrThrow("/dev/null", O_RDONLY | O_CLOEXEC), openOrThrow("/dev/null", O_WRONLY | O_CLOEXEC),
            openOrThrow(::ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC));
  std::string shown;
  char bytes[4096];
  for (ssize_t count; (count = ::read(terminal, bytes, sizeof bytes)) > 0;) {  // fails when the other end is closed
    shown.append(bytes, static_cast<std::size_t>(count));
  }
  ::close(terminal);
  waitFor(child);
  return shown;
}

}  // namespace qzTest
