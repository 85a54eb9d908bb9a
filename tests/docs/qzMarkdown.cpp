#include "docs/qzMarkdown.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace qzTest {

namespace {

const std::filesystem::path kRoot = QZ_SOURCE_DIR;

bool startsWith(const std::string& line, const std::string& start) {
  return line.compare(0, start.size(), start) == 0;
}

bool isBlank(const std::string& line) {
  return line.find_first_not_of(' ') == std::string::npos;
}

// The text of an HTML comment that fills a line.
std::string markOf(const std::string& line) {
  const std::string start = "<!-- ", end = " -->";
  if (!startsWith(line, start) || line.size() < start.size() + end.size()) return "";
  if (line.compare(line.size() - end.size(), end.size(), end) != 0) return "";
  return line.substr(start.size(), line.size() - start.size() - end.size());
}

}  // namespace

std::vector<std::string> pages() {
  std::vector<std::string> result{"README.md", "CONTRIBUTING.md"};
  for (const auto& entry : std::filesystem::directory_iterator(kRoot / "docs")) {
    if (entry.path().extension() == ".md") result.push_back("docs/" + entry.path().filename().string());
  }
  std::sort(result.begin(), result.end());
  return result;
}

std::string contentOf(const std::string& name) {
  std::ifstream file(kRoot / name, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + name);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::string valueOf(const std::string& mark, const std::string& word) {
  return startsWith(mark, word + ": ") ? mark.substr(word.size() + 2) : "";
}

std::string proseOf(const std::string& page) {
  std::istringstream lines(contentOf(page));
  std::string prose;
  bool isFenced = false;
  for (std::string line; std::getline(lines, line);) {
    if (startsWith(line, "```")) {
      isFenced = !isFenced;
    } else if (!isFenced) {
      prose += line + "\n";
    }
  }
  return prose;
}

std::vector<Block> blocksOf(const std::string& page) {
  std::vector<Block> blocks;
  std::istringstream lines(contentOf(page));
  std::string before;        // the last line with text
  bool isAfterBlank = true;  // indented text begins a block only after an empty line
  bool isFenced = false, isIndented = false;
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (isFenced) {
      if (line == "```") {
        isFenced = false;
        before = line;
      } else {
        blocks.back().text += line + "\n";
      }
      continue;
    }
    if (startsWith(line, "```")) {
      blocks.push_back({page, number + 1, line.substr(3), markOf(before), ""});
      isFenced = true;
      isIndented = false;
    } else if (startsWith(line, "    ") && (isIndented || isAfterBlank)) {
      if (!isIndented) blocks.push_back({page, number, "sh", markOf(before), ""});
      isIndented = true;
      blocks.back().text += line.substr(4) + "\n";
      before = line;
    } else if (!isBlank(line)) {
      isIndented = false;
      before = line;
    }
    isAfterBlank = isBlank(line);
  }
  if (isFenced) throw std::runtime_error(page + ": a fence is not closed");
  return blocks;
}

}  // namespace qzTest
