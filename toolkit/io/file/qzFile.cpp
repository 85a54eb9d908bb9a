#include <toolkit/io/file/qzFile.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <toolkit/base/qzError.h>
#include <toolkit/run/qzDescriptorWait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>

namespace qzToolkit {

namespace {

constexpr std::size_t kBlock = std::size_t(1) << 20;

[[noreturn]] void throwErrno(const std::string& name, const char* action, int number) {
  throw qzError(name, std::string(action) + ": " + std::strerror(number));
}

/// Opens a file. Does not block in open() until a named pipe has another end: only a signal to this thread could end
/// that wait.
qzDescriptor open(const std::string& path, int flags, const std::string& name, const char* action,
                  const tCancel* cancel) {
  for (;; waitForRetry(cancel)) {
    throwIfCanceled(cancel);
    struct stat status;
    const bool isPipe = ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
    qzDescriptor file(::open(path.c_str(), flags | O_CLOEXEC | (isPipe ? O_NONBLOCK : 0), 0666));
    if (file.isOpen()) {
      if (isPipe) ::fcntl(file.get(), F_SETFL, flags);  // from here on reads and writes wait, as for any other file
      return file;
    }
    const bool hasNoReaderYet = isPipe && errno == ENXIO;
    if (errno != EINTR && !hasNoReaderYet) throwErrno(name, action, errno);
  }
}

qzDescriptor openForReading(const std::string& name, const tCancel* cancel) {
  return name == "-" ? qzDescriptor(STDIN_FILENO) : open(name, O_RDONLY, name, "cannot be opened", cancel);
}

bool isRegular(const qzDescriptor& file) {
  struct stat status;
  return ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
}

/// Repeats a call of read() or write() until it succeeds; returns the number of bytes.
template <class tCall>
std::size_t transfer(const qzDescriptor& file, short events, const std::string& name, const char* action,
                     const tCancel* cancel, const tCall& call) {
  for (;;) {
    waitFor(file.get(), events, cancel);
    const ssize_t count = call();
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) throwErrno(name, action, errno);
  }
}

std::size_t readSome(const qzDescriptor& file, const std::string& name, char* bytes, std::size_t size,
                     const tCancel* cancel) {
  return transfer(file, POLLIN, name, "cannot be read", cancel, [&] { return ::read(file.get(), bytes, size); });
}

void writeAll(const qzDescriptor& file, const std::string& name, std::string_view bytes, const tCancel* cancel) {
  const std::size_t most = isRegular(file) ? kBlock : PIPE_BUF;  // so many bytes do not block once poll() reports room
  while (!bytes.empty()) {
    bytes.remove_prefix(transfer(file, POLLOUT, name, "cannot be written", cancel,
                                 [&] { return ::write(file.get(), bytes.data(), std::min(bytes.size(), most)); }));
  }
}

/// Creates a temporary file beside target, with the permissions that target has or would get.
qzDescriptor createBeside(const std::string& target, std::string& temporary) {
  struct stat status;
  const bool exists = ::stat(target.c_str(), &status) == 0;
  for (int attempt = 0;; ++attempt) {
    temporary = target + "." + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".part";
    qzDescriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (file.isOpen()) {
      if (exists) static_cast<void>(::fchmod(file.get(), status.st_mode & 07777));  // best effort
      return file;
    }
    if (errno != EEXIST || attempt == 1000) throwErrno(target, "cannot be written", errno);
  }
}

/// Creates an unnamed temporary file, which vanishes when it is closed.
qzDescriptor createWithoutName(const std::string& name) {
  std::error_code failure;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(failure);
  std::string path = ((failure ? "/tmp" : folder) / "qzFile-XXXXXX").string();
  qzDescriptor file(::mkostemp(path.data(), O_CLOEXEC));
  if (!file.isOpen() || ::unlink(path.c_str()) != 0) throwErrno(name, "cannot be written", errno);
  return file;
}

}  // namespace

qzFileReader::qzFileReader(const std::string& name, const tCancel* cancel)
    : mName(name), mCancel(cancel), mFile(openForReading(name, cancel)), mSize(0) {
  struct stat status;
  if (::fstat(mFile.get(), &status) == 0 && S_ISREG(status.st_mode)) mSize = static_cast<std::size_t>(status.st_size);
}

std::size_t qzFileReader::read(char* bytes, std::size_t size) {
  return readSome(mFile, mName, bytes, size, mCancel);
}

qzFileWriter::qzFileWriter(const std::string& name, const tCancel* cancel, bool isRewritten)
    : mName(name), mCancel(cancel) {
  struct stat status;
  if (name == "-") {
    mName = "standard output";
    mFile = qzDescriptor(STDOUT_FILENO);
  } else if (::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    mFile = open(name, O_WRONLY, name, "cannot be written", cancel);
  } else {
    std::error_code failure;
    const std::filesystem::path followed = std::filesystem::canonical(name, failure);
    mTarget = failure ? name : followed.string();  // name does not exist yet
    if (!failure && ::access(mTarget.c_str(), W_OK) != 0) throwErrno(name, "cannot be written", errno);
    mFile = createBeside(mTarget, mTemporary);
    return;
  }
  if (isRewritten) {
    mDevice = std::move(mFile);
    mFile = createWithoutName(mName);
  }
}

qzFileWriter::~qzFileWriter() {
  if (!mTemporary.empty()) ::unlink(mTemporary.c_str());
}

void qzFileWriter::append(std::string_view bytes) {
  writeAll(mFile, mName, bytes, mCancel);
}

void qzFileWriter::rewriteStart(std::string_view bytes) {
  if (::lseek(mFile.get(), 0, SEEK_SET) < 0) throwErrno(mName, "cannot be written", errno);
  writeAll(mFile, mName, bytes, mCancel);
  if (::lseek(mFile.get(), 0, SEEK_END) < 0) throwErrno(mName, "cannot be written", errno);
}

void qzFileWriter::commit() {
  if (mDevice.isOpen()) {
    if (::lseek(mFile.get(), 0, SEEK_SET) < 0) throwErrno(mName, "cannot be written", errno);
    std::string bytes(kBlock, '\0');
    while (const std::size_t count = readSome(mFile, mName, bytes.data(), bytes.size(), mCancel)) {
      writeAll(mDevice, mName, std::string_view(bytes).substr(0, count), mCancel);
    }
  }
  if (mTemporary.empty()) return;
  if (::close(mFile.release()) != 0 || ::rename(mTemporary.c_str(), mTarget.c_str()) != 0) {
    throwErrno(mName, "cannot be written", errno);
  }
  mTemporary.clear();
}

std::string readFile(const std::string& name, const tCancel* cancel) {
  qzFileReader file(name, cancel);
  std::string bytes;
  bytes.reserve(file.getSize() + 1);
  for (std::size_t size = 0;;) {
    bytes.resize(std::max(bytes.capacity(), size + 1));
    const std::size_t count = file.read(bytes.data() + size, bytes.size() - size);
    size += count;
    if (count == 0) {
      bytes.resize(size);
      return bytes;
    }
    if (size == bytes.size()) bytes.reserve(size + std::max(size, kBlock));
  }
}

std::string readGzipFile(const std::string& name, const tCancel* cancel) {
  qzDescriptor descriptor = openForReading(name, cancel);
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
    throwIfCanceled(cancel);
    bytes.resize(size + static_cast<std::size_t>(std::max(count, 0)));
    if (count > 0) continue;
    // zlib copies input that is not compressed, and reports a truncated file only at its end.
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

void writeFile(const std::string& name, std::string_view bytes, const tCancel* cancel) {
  qzFileWriter file(name, cancel);
  file.append(bytes);
  file.commit();
}

std::string fileExtension(const std::string& name) {
  std::string extension = std::filesystem::path(name).extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

}  // namespace qzToolkit
