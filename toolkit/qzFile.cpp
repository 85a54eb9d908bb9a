#include <fcntl.h>
#include <sys/stat.h>
#include <toolkit/qzError.h>
#include <toolkit/qzFile.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>
#include <utility>

namespace qzToolkit {

namespace {

constexpr std::size_t kBlock = std::size_t(1) << 20;

[[noreturn]] void throwErrno(const std::string& name, const char* action, int number) {
  throw qzError(name, std::string(action) + ": " + std::strerror(number));
}

/// A file descriptor, closed at the end unless release took it away.
class tDescriptor {
 public:
  explicit tDescriptor(int number) : mNumber(number) {}
  ~tDescriptor() {
    if (mNumber > STDERR_FILENO) ::close(mNumber);
  }
  tDescriptor(const tDescriptor&) = delete;
  tDescriptor& operator=(const tDescriptor&) = delete;
  int get() const { return mNumber; }
  int release() { return std::exchange(mNumber, -1); }

 private:
  int mNumber;
};

tDescriptor openForReading(const std::string& name) {
  const int number = name == "-" ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (number < 0) throwErrno(name, "cannot be opened", errno);
  return tDescriptor(number);
}

void writeAll(int descriptor, const std::string& name, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throwErrno(name, "cannot be written", errno);
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

/// Opens a new file beside target, whose name nobody else has, with the permissions that target has or would get.
tDescriptor createBeside(const std::string& target, std::string& temporary) {
  struct stat status;
  const bool exists = ::stat(target.c_str(), &status) == 0;
  for (int attempt = 0;; ++attempt) {
    temporary = target + "." + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".part";
    const int number = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (number >= 0) {
      tDescriptor file(number);
      if (exists) static_cast<void>(::fchmod(number, status.st_mode & 07777));  // as far as the system allows
      return tDescriptor(file.release());
    }
    if (errno != EEXIST || attempt == 1000) throwErrno(target, "cannot be written", errno);
  }
}

}  // namespace

std::string readFile(const std::string& name) {
  const tDescriptor file = openForReading(name);
  std::string bytes;
  struct stat status;
  if (::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode)) {
    bytes.reserve(static_cast<std::size_t>(status.st_size) + 1);
  }
  for (std::size_t size = 0;;) {
    bytes.resize(std::max(bytes.capacity(), size + 1));
    const ssize_t count = ::read(file.get(), bytes.data() + size, bytes.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throwErrno(name, "cannot be read", errno);
    size += static_cast<std::size_t>(count);
    if (count == 0) {
      bytes.resize(size);
      return bytes;
    }
    if (size == bytes.size()) bytes.reserve(size + std::max(size, kBlock));
  }
}

std::string readGzipFile(const std::string& name) {
  tDescriptor descriptor = openForReading(name);
  struct stat status;
  if (::fstat(descriptor.get(), &status) == 0 && S_ISDIR(status.st_mode)) throwErrno(name, "cannot be read", EISDIR);
  const gzFile file = gzdopen(descriptor.get(), "rb");
  if (file == nullptr) throw std::bad_alloc();
  descriptor.release();
  const struct tClose {
    gzFile file;
    ~tClose() { gzclose(file); }
  } close{file};
  gzbuffer(file, kBlock);

  std::string bytes;
  for (;;) {
    const std::size_t size = bytes.size();
    bytes.resize(size + kBlock);
    const int count = gzread(file, bytes.data() + size, kBlock);
    bytes.resize(size + static_cast<std::size_t>(std::max(count, 0)));
    if (count > 0) continue;
    // zlib passes through what is not compressed at all, and tells of a cut file at its end only.
    if (gzdirect(file) != 0) throw qzError(name, bytes.empty() ? "the file is empty" : "not a gzip file");
    int code = Z_OK;
    const char* text = gzerror(file, &code);
    if (code == Z_ERRNO) throwErrno(name, "cannot be read", errno);
    if (code == Z_BUF_ERROR) throw qzError(name, "the file is cut off: the gzip data end too early");
    if (code != Z_OK) {
      const std::string_view reason(text);  // "<fd:3>: invalid distance code"
      const std::size_t colon = reason.find(": ");
      throw qzError(name, "damaged gzip data: " +
                              std::string(colon == std::string_view::npos ? reason : reason.substr(colon + 2)));
    }
    return bytes;
  }
}

void writeFile(const std::string& name, std::string_view bytes) {
  if (name == "-") return writeAll(STDOUT_FILENO, "standard output", bytes);

  struct stat status;
  if (::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    const tDescriptor file(::open(name.c_str(), O_WRONLY | O_CLOEXEC));
    if (file.get() < 0) throwErrno(name, "cannot be written", errno);
    return writeAll(file.get(), name, bytes);
  }

  std::error_code failure;
  const std::filesystem::path followed = std::filesystem::canonical(name, failure);
  const std::string target = failure ? name : followed.string();  // no such file yet: its own name
  if (!failure && ::access(target.c_str(), W_OK) != 0) throwErrno(name, "cannot be written", errno);
  std::string temporary;
  tDescriptor file = createBeside(target, temporary);
  try {
    writeAll(file.get(), name, bytes);
    if (::close(file.release()) != 0 || ::rename(temporary.c_str(), target.c_str()) != 0) {
      throwErrno(name, "cannot be written", errno);
    }
  } catch (...) {
    ::unlink(temporary.c_str());
    throw;
  }
}

std::string fileExtension(const std::string& name) {
  std::string extension = std::filesystem::path(name).extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

}  // namespace qzToolkit
