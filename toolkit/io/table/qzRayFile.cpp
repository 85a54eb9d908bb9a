#include <toolkit/io/table/qzRayFile.h>

#include <toolkit/base/qzError.h>
#include <toolkit/base/qzNumber.h>
#include <toolkit/io/table/qzNumpyArray.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace qzToolkit {

namespace {

constexpr std::size_t kMinColumns = 6, kMaxColumns = 8;

/// A row of the table, and the values of columns that a file lacks.
using tRow = std::array<float, kMaxColumns>;
constexpr tRow kDefaults = {0, 0, 0, 0, 0, 0, 0, std::numeric_limits<float>::infinity()};

bool isNbColumns(std::size_t nbColumns) {
  return nbColumns >= kMinColumns && nbColumns <= kMaxColumns;
}

[[noreturn]] void failForColumns(const std::string& place, std::size_t nbColumns) {
  throw qzError(place, std::to_string(nbColumns) + (nbColumns == 1 ? " column" : " columns") +
                           " instead of 6 (origin, direction), 7 (tMin too) or 8 (tMin and tMax)");
}

qzRay makeRay(const tRow& v) {
  return {{v[0], v[1], v[2]}, {v[3], v[4], v[5]}, v[6], v[7]};
}

/// Iterates over the lines of a block that are not empty, split at their commas.
class tLines {
 public:
  explicit tLines(const qzRayBlock& block) : mText(block.mBytes), mNext(block.mFirst) {}

  bool next() {
    const std::string_view line = nextLine();
    if (!line.empty()) split(line);
    return !line.empty();
  }

  /// The next line that is not empty, without splitting it; empty at the end.
  std::string_view nextLine() {
    while (!mText.empty()) {
      const std::size_t end = mText.find('\n');
      const std::string_view line = trimmed(mText.substr(0, end));
      mText.remove_prefix(end == std::string_view::npos ? mText.size() : end + 1);
      ++mNext;
      if (!line.empty()) return line;
    }
    return {};
  }

  std::size_t number() const { return mNext - 1; }
  std::size_t nbFields() const { return mNbFields; }
  /// One of the first kMaxColumns.
  std::string_view field(std::size_t column) const { return mFields[column]; }

  /// Whether this is the first line of the file and has no number. The line must not have too many fields.
  bool isHeader() const {
    float value;
    return number() == 1 && std::all_of(mFields.begin(), mFields.begin() + mNbFields, [&](std::string_view field) {
             return readNumber(field, value) == tNumberResult::eNoNumber;
           });
  }

 private:
  void split(std::string_view line) {
    for (mNbFields = 0;;) {
      const std::size_t comma = line.find(',');
      if (mNbFields < kMaxColumns) mFields[mNbFields] = trimmed(line.substr(0, comma));
      ++mNbFields;
      if (comma == std::string_view::npos) return;
      line.remove_prefix(comma + 1);
    }
  }

  std::string_view mText;
  std::size_t mNext, mNbFields = 0;
  std::array<std::string_view, kMaxColumns> mFields;
};

/// The number of columns of the first row in a block, or of a line that decoding will refuse; 0 without a row.
std::size_t countColumns(const qzRayBlock& block) {
  tLines lines(block);
  while (lines.next()) {
    if (!isNbColumns(lines.nbFields()) || !lines.isHeader()) return lines.nbFields();
  }
  return 0;
}

/// The rows of a block, if decoding does not refuse one: the lines that are not empty, without column names.
std::size_t countRows(const qzRayBlock& block) {
  tLines lines(block);
  std::size_t count = 0;
  if (block.mFirst == 1 && lines.next()) count += isNbColumns(lines.nbFields()) && lines.isHeader() ? 0 : 1;
  while (!lines.nextLine().empty()) ++count;
  return count;
}

/// Text from a file as part of a message.
std::string quoted(std::string_view text) {
  constexpr std::size_t kMaxLength = 40;
  return "'" + std::string(text.substr(0, kMaxLength)) + (text.size() > kMaxLength ? "...'" : "'");
}

bool isNumpyName(const std::string& name) {
  return fileExtension(name) == "npy";
}

}  // namespace

qzRayReader::qzRayReader(const std::string& name, const tCancel* cancel, std::size_t blockSize)
    : mName(name == "-" ? "standard input" : name), mFile(name, cancel), mBlockSize(blockSize) {
  constexpr std::size_t kMagicSize = 6;
  while (mRest.size() < kMagicSize && readMore(mRest, mBlockSize)) {
  }
  if (!qzNumpyHeader::Recognizes(mRest) && !isNumpyName(name)) {
    mNext = 1;
    return;
  }
  while (mRest.size() < qzNumpyHeader::kMaxBytes && readMore(mRest, qzNumpyHeader::kMaxBytes)) {
  }
  mHeader.emplace(mName, mRest);
  if (!isNbColumns(mHeader->getNbColumns())) failForColumns(mName, mHeader->getNbColumns());
  mRest.erase(0, mHeader->getNbBytes());
}

std::optional<std::size_t> qzRayReader::getNbRays() const {
  return mHeader ? std::optional(mHeader->getNbRows()) : std::nullopt;
}

bool qzRayReader::read(qzRayBlock& block) {
  block.mFirst = mNext;
  block.mFirstRay = mNextRay;
  return mHeader ? readRows(block) : readLines(block);
}

bool qzRayReader::readLines(qzRayBlock& block) {
  std::string& bytes = block.mBytes;
  bytes = mRest;
  mRest.clear();
  for (std::size_t searched = 0;;) {  // until a line ends
    const std::size_t lineBreak = std::string_view(bytes).substr(searched).rfind('\n');
    if (lineBreak != std::string::npos) {
      mRest.assign(bytes, searched + lineBreak + 1);
      bytes.resize(searched + lineBreak + 1);
      break;
    }
    searched = bytes.size();
    if (!readMore(bytes, mBlockSize)) break;
  }
  mNext += static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
  if (mNbColumns == 0) mNbColumns = countColumns(block);
  block.mNbColumns = mNbColumns;
  mNextRay += countRows(block);
  return !bytes.empty();
}

bool qzRayReader::readRows(qzRayBlock& block) {
  const std::size_t rowSize = mHeader->getRowSize(), rowsLeft = mHeader->getNbRows() - mNext;
  std::string& bytes = block.mBytes;
  if (rowsLeft == 0) {
    bytes.clear();
    while (readMore(bytes, mBlockSize)) bytes.clear();  // drains a pipe, so that its writer does not get SIGPIPE
    return false;
  }
  const std::size_t size = std::min(std::max<std::size_t>(mBlockSize / rowSize, 1), rowsLeft) * rowSize;
  bytes.assign(mRest, 0, size);
  mRest.erase(0, bytes.size());
  while (bytes.size() < size && readMore(bytes, size - bytes.size())) {
  }
  const std::size_t nbRows = bytes.size() / rowSize;
  if (nbRows == 0) mHeader->failCutOff(mName, mNext * rowSize + bytes.size());
  mRest.insert(0, bytes, nbRows * rowSize);  // the partial row of a truncated file, for the next call
  bytes.resize(nbRows * rowSize);
  mNext += nbRows;
  mNextRay += nbRows;
  return true;
}

/// Appends at most size bytes of the file; false at its end.
bool qzRayReader::readMore(std::string& bytes, std::size_t size) {
  const std::size_t before = bytes.size();
  bytes.resize(before + size);
  bytes.resize(before + mFile.read(bytes.data() + before, size));
  return bytes.size() > before;
}

void qzRayReader::decode(const qzRayBlock& block, const std::function<void(const qzRay&)>& take) const {
  mHeader ? decodeRows(block, take) : decodeLines(block, take);
}

void qzRayReader::decodeLines(const qzRayBlock& block, const std::function<void(const qzRay&)>& take) const {
  tLines lines(block);
  const auto place = [&] { return mName + ":" + std::to_string(lines.number()); };
  while (lines.next()) {
    const std::size_t nbColumns = lines.nbFields();
    if (!isNbColumns(nbColumns)) failForColumns(place(), nbColumns);
    if (lines.isHeader()) continue;
    if (nbColumns != block.mNbColumns) {
      throw qzError(place(), std::to_string(nbColumns) + " columns after lines of " + std::to_string(block.mNbColumns));
    }
    tRow values = kDefaults;
    for (std::size_t column = 0; column < nbColumns; ++column) {
      switch (readNumber(lines.field(column), values[column])) {
        case tNumberResult::eNumber:
          break;
        case tNumberResult::eNoNumber:
          throw qzError(place(), quoted(lines.field(column)) + " is not a number");
        case tNumberResult::eOutOfRange:
          throw qzError(place(), quoted(lines.field(column)) + " is beyond the range of single precision");
      }
    }
    take(makeRay(values));
  }
}

void qzRayReader::decodeRows(const qzRayBlock& block, const std::function<void(const qzRay&)>& take) const {
  const qzNumpyArray array(*mHeader, block.mBytes);
  const std::size_t nbRows = block.mBytes.size() / mHeader->getRowSize();
  for (std::size_t row = 0; row < nbRows; ++row) {
    tRow values = kDefaults;
    for (std::size_t column = 0; column < array.getNbColumns(); ++column) {
      const double element = array.getElement(row, column);
      if (std::isfinite(element) && std::abs(element) > double(std::numeric_limits<float>::max())) {
        throw qzError(mName + ": row " + std::to_string(block.mFirst + row),
                      "column " + std::to_string(column) + " is beyond the range of single precision");
      }
      values[column] = static_cast<float>(element);
    }
    take(makeRay(values));
  }
}

qzTableWriter::qzTableWriter(const std::string& name, std::vector<qzColumn> columns, const tCancel* cancel,
                             std::optional<std::size_t> nbRows)
    : mIsNumpy(isNumpyName(name)),
      mColumns(std::move(columns)),
      mFile(name, cancel, mIsNumpy && !nbRows),
      mNbRowsInHeader(nbRows.value_or(0)) {}

void qzTableWriter::encode(const std::vector<double>& values, std::string& rows) const {
  if (mIsNumpy) {
    rows.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(double));
    return;
  }
  for (std::size_t i = 0; i < mColumns.size(); ++i) {
    if (i > 0) rows += ',';
    if (mColumns[i].mKind == qzColumn::eInteger) {
      rows += std::to_string(static_cast<long long>(values[i]));
    } else {
      appendNumber(rows, static_cast<float>(values[i]));
    }
  }
  rows += '\n';
}

void qzTableWriter::write(std::string_view rows, std::size_t nbRows) {
  writeStart();
  mFile.append(rows);
  mNbRows += nbRows;
}

void qzTableWriter::commit() {
  writeStart();
  if (mIsNumpy && mNbRows != mNbRowsInHeader) mFile.rewriteStart(qzNumpyHeader::Encode(mNbRows, mColumns.size()));
  mFile.commit();
}

/// Called late, so that standard output stays empty if there is nothing to write.
void qzTableWriter::writeStart() {
  if (std::exchange(mHasStart, true)) return;
  if (mIsNumpy) {
    mFile.append(qzNumpyHeader::Encode(mNbRowsInHeader, mColumns.size()));
    return;
  }
  std::string names;
  for (const qzColumn& column : mColumns) names += (names.empty() ? "" : ",") + column.mName;
  mFile.append(names + '\n');
}

}  // namespace qzToolkit
