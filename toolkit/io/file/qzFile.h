#pragma once
// Files in and out of memory, whole or bit by bit. A name "-" is standard input or standard output.
// Every failure throws a qzError that names the file. cancel is polled between blocks of a file and while waiting for
// a pipe.

#include <toolkit/io/file/qzDescriptor.h>
#include <toolkit/run/qzCancelToken.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace qzToolkit {

/// Reads a file from its beginning to its end.
class qzFileReader {
 public:
  explicit qzFileReader(const std::string& name, const tCancel* cancel = nullptr);

  /// The size in bytes of a regular file, 0 of anything else.
  std::size_t getSize() const { return mSize; }

  /// Puts at most size bytes, of which there must be some, where bytes points, as soon as the file has any. Returns how
  /// many; 0 at the end.
  std::size_t read(char* bytes, std::size_t size);

 private:
  std::string mName;
  const tCancel* mCancel;
  qzDescriptor mFile;
  std::size_t mSize;
};

/// Writes a file completely or not at all: the bytes go to a temporary file beside the target, which takes the target's
/// place in the end. On any failure, a full disk and an interruption included, the temporary file is gone and the
/// target as it was. A link is followed; a target that is no regular file (a device, a pipe) is written to as it
/// stands, as is standard output. A limit on file sizes counts as a full disk only when the signal SIGXFSZ is ignored.
class qzFileWriter {
 public:
  /// isRewritten  whether rewriteStart will be called. What cannot be rewritten, a device or a pipe, gets its bytes at
  ///              commit only; until then they are in a temporary file without a name.
  explicit qzFileWriter(const std::string& name, const tCancel* cancel = nullptr, bool isRewritten = false);
  /// Without commit: as if nothing had been written, but for what went to a device or a pipe.
  ~qzFileWriter();
  qzFileWriter(const qzFileWriter&) = delete;
  qzFileWriter& operator=(const qzFileWriter&) = delete;

  void append(std::string_view bytes);

  /// Replaces as many bytes at the start of the file, which must have been appended before.
  void rewriteStart(std::string_view bytes);

  /// The file is complete. To be called last and once.
  void commit();

 private:
  std::string mName, mTarget;
  const tCancel* mCancel;
  std::string mTemporary;  // the name of a file beside the target; empty when there is none
  qzDescriptor mFile;      // where bytes go
  qzDescriptor mDevice;    // where they go in the end, when they have to wait for that
};

/// All bytes of a file.
std::string readFile(const std::string& name, const tCancel* cancel = nullptr);

/// All bytes that a gzip file holds, which may have several members. A cut or damaged one is an error.
std::string readGzipFile(const std::string& name, const tCancel* cancel = nullptr);

/// Writes a whole file as a qzFileWriter does.
void writeFile(const std::string& name, std::string_view bytes, const tCancel* cancel = nullptr);

/// The end of a file name after its last dot in lower case, without the dot: "ply"; empty when there is none.
std::string fileExtension(const std::string& name);

}  // namespace qzToolkit
