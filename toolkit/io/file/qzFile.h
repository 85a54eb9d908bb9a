#pragma once
// Reading and writing files, whole or block by block. The name "-" is standard input or standard output.
// Every failure throws a qzError that names the file. cancel is polled between blocks of a file and while waiting for
// a pipe.

#include <toolkit/io/file/qzDescriptor.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace qzToolkit {

/// Reads a file from start to end.
class qzFileReader {
 public:
  explicit qzFileReader(const std::string& name, const tCancel* cancel = nullptr);

  /// The size in bytes of a regular file, 0 of anything else.
  std::size_t getSize() const { return mSize; }

  /// Reads at most size bytes (size > 0) as soon as any are available. Returns how many; 0 at the end of the file.
  std::size_t read(char* bytes, std::size_t size);

 private:
  std::string mName;
  const tCancel* mCancel;
  qzDescriptor mFile;
  std::size_t mSize;
};

/// Writes a file completely or not at all: the bytes go to a temporary file beside the target, which replaces the
/// target at commit. After any failure, a full disk or cancellation included, the temporary file is removed and the
/// target is unchanged. Symbolic links are followed. A target that is not a regular file (a device, a pipe) is written
/// directly, as is standard output. Exceeding a limit on file sizes counts as a full disk only if SIGXFSZ is ignored.
class qzFileWriter {
 public:
  /// isRewritten  whether rewriteStart will be called. A device or a pipe cannot be rewritten, so it gets its bytes
  ///              only at commit; until then they are in an unnamed temporary file.
  explicit qzFileWriter(const std::string& name, const tCancel* cancel = nullptr, bool isRewritten = false);
  /// Without commit the target is unchanged, except for bytes already sent to a device or a pipe.
  ~qzFileWriter();
  qzFileWriter(const qzFileWriter&) = delete;
  qzFileWriter& operator=(const qzFileWriter&) = delete;

  void append(std::string_view bytes);

  /// Overwrites the first bytes of the file, which must have been appended before.
  void rewriteStart(std::string_view bytes);

  /// Completes the file. Called once, last.
  void commit();

 private:
  std::string mName, mTarget;
  const tCancel* mCancel;
  std::string mTemporary;  // the name of a file beside the target; empty if there is none
  qzDescriptor mFile;      // gets the bytes
  qzDescriptor mDevice;    // gets them at commit, if mFile is only a buffer
};

/// All bytes of a file.
std::string readFile(const std::string& name, const tCancel* cancel = nullptr);

/// The uncompressed bytes of a gzip file, of all its members. A truncated or damaged file is an error.
std::string readGzipFile(const std::string& name, const tCancel* cancel = nullptr);

/// Writes a whole file as a qzFileWriter does.
void writeFile(const std::string& name, std::string_view bytes, const tCancel* cancel = nullptr);

/// The extension of a file name in lower case without the dot: "ply"; empty if there is none.
std::string fileExtension(const std::string& name);

}  // namespace qzToolkit
