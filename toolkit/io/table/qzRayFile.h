#pragma once
// Tables of rays and of answers in files, as CSV text or .npy arrays, read and written block by block.

#include <toolkit/base/qzRay.h>
#include <toolkit/io/file/qzFile.h>
#include <toolkit/io/table/qzNumpyHeader.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qzToolkit {

/// Some rows of a table of rays, not parsed yet.
struct qzRayBlock {
  std::string mBytes;
  std::size_t mFirst = 0;      ///< number of the first line, from 1; of the first row, from 0, in a .npy file
  std::size_t mFirstRay = 0;   ///< number of the first ray, from 0
  std::size_t mNbColumns = 0;  ///< of text: as in the first row of the file; 0 before there is one
};

/// Reads rays, one per row: origin x, y, z, direction x, y, z and, where the table has them, tMin (else 0) and tMax
/// (else +inf). "-" is standard input. A file that starts like a .npy file is read as one, see qzNumpyHeader, and bytes
/// after its last row are ignored. Anything else is text: numbers separated by commas, one row per line; empty lines
/// are skipped, and a first line without any number is taken for column names. NaN and infinities are numbers. A file
/// without rays is not an error. Failure: a wrong number of columns, a bad number, one beyond the range of float or an
/// array with too few elements throws a qzError that names the file and the line (.npy: the row from 0).
class qzRayReader {
 public:
  static constexpr std::size_t kBlockSize = std::size_t(1) << 18;

  /// cancel     polled while the file is read
  /// blockSize  approximate size of a block in bytes; a block has at least one whole row
  explicit qzRayReader(const std::string& name, const tCancel* cancel = nullptr, std::size_t blockSize = kBlockSize);

  /// For messages.
  const std::string& getName() const { return mName; }
  /// Bytes of the file, 0 if unknown.
  std::size_t getSize() const { return mFile.getSize(); }
  /// Known for .npy files only.
  std::optional<std::size_t> getNbRays() const;

  /// Reads the next rows of the file into block, as soon as any are available; false at the end.
  bool read(qzRayBlock& block);

  /// Calls take for every ray of a block, in order. Several blocks may be decoded at once, and while read is called.
  void decode(const qzRayBlock& block, const std::function<void(const qzRay&)>& take) const;

 private:
  bool readLines(qzRayBlock& block);
  bool readRows(qzRayBlock& block);
  bool readMore(std::string& bytes, std::size_t size);
  void decodeLines(const qzRayBlock& block, const std::function<void(const qzRay&)>& take) const;
  void decodeRows(const qzRayBlock& block, const std::function<void(const qzRay&)>& take) const;

  std::string mName;
  qzFileReader mFile;
  std::size_t mBlockSize;
  std::optional<qzNumpyHeader> mHeader;  // of a .npy file
  std::string mRest;                     // bytes read from the file that are in no block yet
  std::size_t mNext = 0;                 // number of the next line or row
  std::size_t mNextRay = 0;
  std::size_t mNbColumns = 0;  // as in a block
};

/// A column of a table: floats, or integers up to 2^53.
struct qzColumn {
  enum tKind { eFloat, eInteger };
  std::string mName;
  tKind mKind = eFloat;
};

/// Writes a table, as a .npy array of float64, which holds all values exactly, if the file name ends in .npy, else as
/// text with a line of column names. "-" is standard output, as text. Every float of the text reads back to the same
/// bits. See qzFileWriter for when the file appears.
class qzTableWriter {
 public:
  /// columns  at most 99
  /// cancel   polled while the file is written
  /// nbRows   how many there will be, if known. If not, a .npy target that is not a regular file gets its bytes only at
  ///          commit, from a temporary file.
  qzTableWriter(const std::string& name, std::vector<qzColumn> columns, const tCancel* cancel = nullptr,
                std::optional<std::size_t> nbRows = std::nullopt);

  /// Appends a row to rows. From any thread.
  /// values  one per column
  void encode(const std::vector<double>& values, std::string& rows) const;

  /// Writes rows from encode.
  void write(std::string_view rows, std::size_t nbRows);

  /// Completes the file.
  void commit();

 private:
  void writeStart();

  bool mIsNumpy;
  std::vector<qzColumn> mColumns;
  qzFileWriter mFile;
  std::size_t mNbRowsInHeader, mNbRows = 0;
  bool mHasStart = false;
};

}  // namespace qzToolkit
