#pragma once
// qzTable: prints a table in Markdown, row by row as the measurements come in.

#include <string>
#include <vector>

namespace qzBench {

using tRow = std::vector<std::string>;

class qzTable {
 public:
  qzTable(const std::string& title, const tRow& columns);
  void print(const tRow& row) const;
};

tRow joined(tRow row, const tRow& more);

/// 1234567 as "1,234,567".
std::string grouped(long long number);

/// count of total as a percentage of two significant digits; below 0.1 % as "count of total".
std::string share(long long count, long long total);

}  // namespace qzBench
