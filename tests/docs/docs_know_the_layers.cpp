#include <doctest/doctest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "docs/qzMarkdown.h"

namespace {

const std::filesystem::path kRoot = QZ_SOURCE_DIR;
const std::string kDetail = "qzCommonAddOns/qzDetail/";

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// The folders in backticks of a cell of a table, and the headers that have a row of their own.
std::set<std::string> foldersOf(const std::string& cell) {
  static const std::regex folder("`([A-Za-z/]+/([A-Za-z]+\\.h)?)`");
  std::set<std::string> folders;
  for (std::sregex_iterator found(cell.begin(), cell.end(), folder), end; found != end; ++found) {
    folders.insert((*found)[1]);
  }
  return folders;
}

// The tables of docs/structure.md: folders and single headers, and what their rows name.
using tLayers = std::map<std::string, std::set<std::string>>;

tLayers layersOf(const std::string& text) {
  tLayers layers;
  std::istringstream lines(text);
  const std::regex row("\\| (`[^|]*`) \\|([^|]*)\\|([^|]*)\\|");
  for (std::string line; std::getline(lines, line);) {
    std::smatch cells;
    if (!std::regex_match(line, cells, row)) continue;
    for (const std::string& folder : foldersOf(cells[1])) layers[folder] = foldersOf(cells[3]);
  }
  return layers;
}

// The innermost folder of the tables that a file is in, or the file itself; empty when there is neither.
std::string layerOf(const tLayers& layers, const std::string& file) {
  std::string layer;
  for (const auto& [folder, named] : layers) {
    if (startsWith(file, folder) && folder.size() > layer.size()) layer = folder;
  }
  return layer;
}

void addReachable(const tLayers& layers, const std::string& layer, std::set<std::string>& reachable) {
  if (!reachable.insert(layer).second) return;
  const auto row = layers.find(layer);
  if (row == layers.end()) return;
  for (const std::string& next : row->second) addReachable(layers, next, reachable);
}

bool mayInclude(const tLayers& layers, const std::string& from, const std::string& to) {
  std::set<std::string> reachable;
  addReachable(layers, from, reachable);
  if (reachable.count(to) == 0) return false;
  const bool isHidden = startsWith(to, kDetail) && !startsWith(from, "qzCommonAddOns/");
  return !isHidden || layers.at(from).count(to) == 1;
}

// The headers of the project that a file includes, by their names as seen from the root.
std::vector<std::string> includesOf(const std::string& file) {
  static const std::regex include("#include [<\"]([^>\"]+)[>\"]");
  std::vector<std::string> includes;
  const std::string text = qzTest::contentOf(file);
  for (std::sregex_iterator found(text.begin(), text.end(), include), end; found != end; ++found) {
    const std::string name = (*found)[1];
    const std::filesystem::path folder = std::filesystem::path(file).parent_path();
    for (const std::filesystem::path& candidate :
         {folder / name, std::filesystem::path(name), std::filesystem::path("platform") / name}) {
      if (!std::filesystem::is_regular_file(kRoot / candidate)) continue;
      includes.push_back(candidate.lexically_normal().generic_string());
      break;
    }
  }
  return includes;
}

std::vector<std::string> sources() {
  std::vector<std::string> files;
  for (const char* folder :
       {"platform", "qzCommonAddOns", "qzMeshQueries", "toolkit", "apps", "benchmarks", "examples"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kRoot / folder)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".h" && extension != ".cpp") continue;
      files.push_back(entry.path().lexically_relative(kRoot).generic_string());
    }
  }
  return files;
}

}  // namespace

TEST_CASE("every folder with sources is in a table of docs/structure.md, and every folder there exists") {
  const tLayers layers = layersOf(qzTest::contentOf("docs/structure.md"));
  for (const std::string& file : sources()) {
    CAPTURE(file);
    CHECK(!layerOf(layers, file).empty());
  }
  for (const auto& row : layers) {
    CAPTURE(row.first);
    CHECK(std::filesystem::exists(kRoot / row.first));
    for (const std::string& other : row.second) {
      CAPTURE(other);
      CHECK(layers.count(other) == 1);
    }
  }
}

TEST_CASE("a file includes nothing but what docs/structure.md allows its folder") {
  const tLayers layers = layersOf(qzTest::contentOf("docs/structure.md"));
  int nbIncludes = 0;
  for (const std::string& file : sources()) {
    for (const std::string& header : includesOf(file)) {
      if (header == "qzCommonAddOns/qzApi.h") continue;
      CAPTURE(file);
      CAPTURE(header);
      CHECK(mayInclude(layers, layerOf(layers, file), layerOf(layers, header)));
      ++nbIncludes;
    }
  }
  CHECK(nbIncludes > 0);
}

TEST_CASE("a public header includes no header of qzDetail") {
  for (const std::string& file : sources()) {
    const bool isPublic = startsWith(file, "qzCommonAddOns/") && !startsWith(file, kDetail) && file.back() == 'h';
    if (!isPublic) continue;
    for (const std::string& header : includesOf(file)) {
      CAPTURE(file);
      CAPTURE(header);
      CHECK(!startsWith(header, kDetail));
    }
  }
}

TEST_CASE("a layer reaches what its rows lead to and nothing above, and qzDetail only where a row names it") {
  const tLayers layers = layersOf(
      "| `qzCommonAddOns/qzDetail/base/` | a | |\n"
      "| `qzCommonAddOns/` | b | `qzCommonAddOns/qzDetail/base/` |\n"
      "| `low/` | c | `qzCommonAddOns/` |\n"
      "| `high/` | d | `low/` |\n"
      "| `inside/` | e | `low/`, `qzCommonAddOns/qzDetail/base/` |\n"
      "| `high/Types.h` | f | |\n"
      "| `beside/` | g | `high/Types.h` |\n");
  CHECK(layers.size() == 7);
  CHECK(mayInclude(layers, "high/", "qzCommonAddOns/"));
  CHECK(!mayInclude(layers, "low/", "high/"));
  CHECK(mayInclude(layers, "qzCommonAddOns/", "qzCommonAddOns/qzDetail/base/"));
  CHECK(!mayInclude(layers, "high/", "qzCommonAddOns/qzDetail/base/"));
  CHECK(mayInclude(layers, "inside/", "qzCommonAddOns/qzDetail/base/"));
  CHECK(layerOf(layers, "qzCommonAddOns/qzDetail/base/a.h") == "qzCommonAddOns/qzDetail/base/");
  CHECK(layerOf(layers, "elsewhere/a.h").empty());

  // A header with a row of its own belongs to no folder.
  CHECK(layerOf(layers, "high/Types.h") == "high/Types.h");
  CHECK(layerOf(layers, "high/Other.h") == "high/");
  CHECK(mayInclude(layers, "beside/", "high/Types.h"));
  CHECK(!mayInclude(layers, "beside/", "high/"));
}
