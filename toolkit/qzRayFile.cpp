#include <toolkit/qzError.h>
#include <toolkit/qzFile.h>
#include <toolkit/qzNumber.h>
#include <toolkit/qzNumpyArray.h>
#include <toolkit/qzRayFile.h>

#include <array>
#include <cmath>
#include <limits>
#include <string_view>

namespace qzToolkit {

namespace {

constexpr std::size_t kMinColumns = 6, kMaxColumns = 8;

/// A row of the table, with the values of columns that are not there.
using tRow = std::array<float, kMaxColumns>;
constexpr tRow kDefaults = {0, 0, 0, 0, 0, 0, 0, std::numeric_limits<float>::infinity()};

void checkNbColumns(const std::string& place, std::size_t nbColumns) {
  if (nbColumns >= kMinColumns && nbColumns <= kMaxColumns) return;
  throw qzError(place, std::to_string(nbColumns) + (nbColumns == 1 ? " column" : " columns") +
                           " instead of 6 (origin, direction), 7 (tMin too) or 8 (tMin and tMax)");
}

qzRay makeRay(const tRow& v) {
  return {{v[0], v[1], v[2]}, {v[3], v[4], v[5]}, v[6], v[7]};
}

std::vector<qzRay> raysOfArray(const std::string& name, std::string_view bytes) {
  const qzNumpyArray array(name, bytes);
  checkNbColumns(name, array.getNbColumns());
  std::vector<qzRay> rays(array.getNbRows());
  for (std::size_t row = 0; row < rays.size(); ++row) {
    tRow values = kDefaults;
    for (std::size_t column = 0; column < array.getNbColumns(); ++column) {
      const double element = array.getElement(row, column);
      if (std::isfinite(element) && std::abs(element) > double(std::numeric_limits<float>::max())) {
        throw qzError(name + ": row " + std::to_string(row),
                      "column " + std::to_string(column) + " is beyond the range of single precision");
      }
      values[column] = static_cast<float>(element);
    }
    rays[row] = makeRay(values);
  }
  return rays;
}

std::vector<std::string_view> splitAtCommas(std::string_view line) {
  std::vector<std::string_view> fields;
  for (;;) {
    const std::size_t comma = line.find(',');
    fields.push_back(trimmed(line.substr(0, comma)));
    if (comma == std::string_view::npos) return fields;
    line.remove_prefix(comma + 1);
  }
}

bool isHeader(const std::vector<std::string_view>& fields) {
  float value;
  for (std::string_view field : fields) {
    if (readNumber(field, value) != tNumberResult::eNoNumber) return false;
  }
  return true;
}

/// Text from a file as part of a message.
std::string quoted(std::string_view text) {
  constexpr std::size_t kMaxLength = 40;
  return "'" + std::string(text.substr(0, kMaxLength)) + (text.size() > kMaxLength ? "...'" : "'");
}

std::vector<qzRay> raysOfText(const std::string& name, std::string_view text) {
  std::vector<qzRay> rays;
  std::size_t nbColumns = 0;
  for (std::size_t lineNumber = 1; !text.empty(); ++lineNumber) {
    const std::size_t end = text.find('\n');
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty()) continue;

    const std::string place = name + ":" + std::to_string(lineNumber);
    const std::vector<std::string_view> fields = splitAtCommas(line);
    checkNbColumns(place, fields.size());
    if (lineNumber == 1 && isHeader(fields)) continue;
    if (nbColumns == 0) nbColumns = fields.size();
    if (fields.size() != nbColumns) {
      throw qzError(place, std::to_string(fields.size()) + " columns after lines of " + std::to_string(nbColumns));
    }
    tRow values = kDefaults;
    for (std::size_t column = 0; column < nbColumns; ++column) {
      switch (readNumber(fields[column], values[column])) {
        case tNumberResult::eNumber:
          break;
        case tNumberResult::eNoNumber:
          throw qzError(place, quoted(fields[column]) + " is not a number");
        case tNumberResult::eOutOfRange:
          throw qzError(place, quoted(fields[column]) + " is beyond the range of single precision");
      }
    }
    rays.push_back(makeRay(values));
  }
  return rays;
}

}  // namespace

std::vector<qzRay> readRays(const std::string& name) {
  const std::string bytes = readFile(name);
  const std::string shownName = name == "-" ? "standard input" : name;
  if (qzNumpyArray::Recognizes(bytes) || fileExtension(name) == "npy") return raysOfArray(shownName, bytes);
  return raysOfText(shownName, bytes);
}

std::string encodeHitsAsText(const std::vector<qzHit>& hits) {
  std::string text = "distance,triangle,weight0,weight1,weight2\n";
  for (const qzHit& hit : hits) {
    appendNumber(text, hit.mDistance);
    text += ',' + std::to_string(hit.mTriangle);
    for (float weight : hit.mWeights) {
      text += ',';
      appendNumber(text, weight);
    }
    text += '\n';
  }
  return text;
}

std::string encodeHitsAsNumpy(const std::vector<qzHit>& hits) {
  constexpr std::size_t kNbColumns = 5;
  std::vector<double> elements;
  elements.reserve(kNbColumns * hits.size());
  for (const qzHit& hit : hits) {
    elements.push_back(hit.mDistance);
    elements.push_back(hit.mTriangle);
    elements.insert(elements.end(), std::begin(hit.mWeights), std::end(hit.mWeights));
  }
  return qzNumpyArray::Encode(elements, kNbColumns);
}

void writeHits(const std::string& name, const std::vector<qzHit>& hits) {
  writeFile(name, fileExtension(name) == "npy" ? encodeHitsAsNumpy(hits) : encodeHitsAsText(hits));
}

}  // namespace qzToolkit
