#include <benchmarks/edges/qzTable.h>

#include <cstdio>

namespace qzBench {

qzTable::qzTable(const std::string& title, const tRow& columns) {
  std::printf("\n**%s**\n\n", title.c_str());
  print(columns);
  print(tRow(columns.size(), "---"));
}

void qzTable::print(const tRow& row) const {
  for (const std::string& cell : row) std::printf("| %s ", cell.c_str());
  std::printf("|\n");
  std::fflush(stdout);
}

tRow joined(tRow row, const tRow& more) {
  row.insert(row.end(), more.begin(), more.end());
  return row;
}

std::string grouped(long long number) {
  std::string digits = std::to_string(number);
  for (std::size_t i = digits.size(); i > 3; i -= 3) digits.insert(i - 3, ",");
  return digits;
}

std::string share(long long count, long long total) {
  if (count == 0) return "0 of " + grouped(total);
  char text[32];
  const double percent = 100.0 * double(count) / double(total);
  std::snprintf(text, sizeof text, percent >= 10.0 ? "%.0f %%" : percent >= 1.0 ? "%.1f %%" : "%.2g %%", percent);
  return percent >= 0.1 ? text : grouped(count) + " of " + grouped(total);
}

}  // namespace qzBench
