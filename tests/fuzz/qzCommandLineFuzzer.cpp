// Command lines of qzquery, run in this process in a folder of their own: an answer, or exit code 2, one line with the
// reason and all files unchanged.

#include <apps/qzquery/qzRun.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/qzFuzzCheck.h"
#include "fuzz/qzFuzzInput.h"
#include "support/qzTemporaryFolder.h"

namespace {

using qzFuzz::fail;
using qzFuzz::Input;

const std::vector<std::pair<std::string, std::string>> kFiles = {
    {"mesh.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 1\nf 1 2 3\nf 1 3 4\n"},
    {"bad.obj", "v 0 0 0\nv 1 0 zero\nf 1 2 3\n"},
    {"mesh.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n"},
    {"rays.csv", "0.5,0.25,1,0,0,-1\n5,5,5,1,0,0\n"},
    {"bad.csv", "0,0,1,0,0,-1\n1,2,three,4,5,6\n"},
    {"old.csv", "what was there before\n"},
    {"old.npy", "what was there before, too\n"},
};

/// Words that mean something to qzquery, and some that do not; now and then any bytes.
std::string argumentOf(Input& input) {
  static const char* const kWords[] = {"info",
                                       "render",
                                       "cast",
                                       "mesh.obj",
                                       "bad.obj",
                                       "mesh.off",
                                       "rays.csv",
                                       "bad.csv",
                                       "old.csv",
                                       "old.npy",
                                       "new.csv",
                                       "new.png",
                                       "none.obj",
                                       "-",
                                       "--",
                                       "-o",
                                       "--output",
                                       "--json",
                                       "--builder",
                                       "linear",
                                       "sah",
                                       "--leaf",
                                       "--leaf=3",
                                       "--leaf=0",
                                       "--threads",
                                       "1",
                                       "2",
                                       "--quiet",
                                       "--verbose",
                                       "--size",
                                       "8x6",
                                       "--size=4x9",
                                       "--size=0x4",
                                       "--view",
                                       "front",
                                       "1,2,3",
                                       "0,0,0",
                                       "nan,1,1",
                                       "--up",
                                       "y",
                                       "z",
                                       "--shading",
                                       "normal",
                                       "cost",
                                       "depth",
                                       "facing",
                                       "--samples",
                                       "--samples=1",
                                       "--policy",
                                       "back",
                                       "both",
                                       "--policy=front",
                                       "--symmetric",
                                       "--help",
                                       "-h",
                                       "--version",
                                       "",
                                       ".",
                                       "..",
                                       "--view=1e38,-1e38,1",
                                       "-1",
                                       "99999999999999999999",
                                       "0x10",
                                       "--size=20000x1",
                                       "--depth",
                                       "new.npy",
                                       "--depth=new.pfm",
                                       "--turntable",
                                       "--turntable=5",
                                       "--depth=old.npy"};
  constexpr std::uint8_t kNbWords = sizeof kWords / sizeof kWords[0];
  const std::uint8_t choice = input.byte();
  if (choice < 3 * kNbWords) return kWords[choice % kNbWords];
  return input.bytes(choice % 32u).c_str();  // up to a zero byte
}

/// The pixels of a size like 8x6 at the end of an argument; 0 when it is none.
double pixelsOf(const std::string& argument) {
  double width = 0.0, height = 0.0;
  const std::size_t start = argument.find_first_of("0123456789");
  if (start == std::string::npos) return 0.0;
  return std::sscanf(argument.c_str() + start, "%lfx%lf", &width, &height) == 2 ? width * height : 0.0;
}

/// A command line that stays in its folder and is done soon; nothing for one that might not.
std::optional<std::vector<std::string>> commandLineOf(Input& input) {
  std::vector<std::string> arguments = {"qzquery"};
  bool hasSize = false;
  while (arguments.size() < 14 && !input.isUsedUp()) {
    arguments.push_back(argumentOf(input));
    const std::string& argument = arguments.back();
    if (argument.find('/') != std::string::npos || pixelsOf(argument) > 256.0) return std::nullopt;
    const std::string& previous = arguments[arguments.size() - 2];  // an option may take the next one for its value
    hasSize |= argument.compare(0, 6, "--size") == 0 && previous.compare(0, 1, "-") != 0;
  }
  if (arguments.size() > 1 && arguments[1] == "render" && !hasSize)
    arguments.insert(arguments.begin() + 2, "--size=8x6");
  return arguments;
}

/// Redirects a standard stream to a file during its lifetime.
class Redirection {
 public:
  Redirection(int descriptor, const std::string& name, int flags) : mDescriptor(descriptor), mKept(::dup(descriptor)) {
    const int file = ::open(name.c_str(), flags | O_CLOEXEC, 0600);
    if (mKept < 0 || file < 0) fail("cannot redirect to " + name);
    ::dup2(file, mDescriptor);
    ::close(file);
  }
  ~Redirection() {
    ::dup2(mKept, mDescriptor);
    ::close(mKept);
  }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

 private:
  int mDescriptor, mKept;
};

int runIn(const qzTest::TemporaryFolder& folder, const qzTest::TemporaryFolder& streams,
          const std::vector<std::string>& arguments) {
  std::vector<const char*> pointers;
  for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
  pointers.push_back(nullptr);
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path(""));
  int exitCode;
  {
    const qzToolkit::qzCancelToken neverCanceled;
    const Redirection input(STDIN_FILENO, "/dev/null", O_RDONLY);
    const Redirection output(STDOUT_FILENO, streams.path("output"), O_WRONLY | O_CREAT);
    const Redirection error(STDERR_FILENO, streams.path("error"), O_WRONLY | O_CREAT);
    exitCode = qzQuery::run(static_cast<int>(arguments.size()), pointers.data(), neverCanceled);
    std::cout.flush();
    std::fflush(nullptr);
  }
  std::filesystem::current_path(before);
  return exitCode;
}

/// Of a run that failed.
void expectLastLine(const std::string& error) {
  const std::string kStart = "qzquery: ";
  const std::size_t line = error.rfind('\n', error.size() < 2 ? std::string::npos : error.size() - 2) + 1;
  if (error.compare(line, kStart.size(), kStart) == 0 && error.size() > line + kStart.size() + 1 &&
      error.back() == '\n' && error.find("\n" + kStart) == (line == 0 ? std::string::npos : line - 1)) {
    return;
  }
  fail("no one line about what is wrong: " + error);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qzFuzz::keepReports();
  Input input(data, size);
  const std::optional<std::vector<std::string>> arguments = commandLineOf(input);
  if (!arguments) return 0;

  const qzTest::TemporaryFolder folder, streams;
  for (const auto& [name, bytes] : kFiles) folder.write(name, bytes);
  const int exitCode = runIn(folder, streams, *arguments);
  const std::string error = streams.read("error");
  for (const std::string& name : folder.names()) {
    if (name.find(".part") != std::string::npos && exitCode != 0) fail("a file half written: " + name);
  }
  if (exitCode == 0) return 0;
  if (exitCode != 2) fail("exit code " + std::to_string(exitCode));
  expectLastLine(error);
  if (folder.names().size() != kFiles.size()) fail("files came or went in a run that failed");
  for (const auto& [name, bytes] : kFiles) {
    if (folder.read(name) != bytes) fail("a run that failed changed " + name);
  }
  return 0;
}
