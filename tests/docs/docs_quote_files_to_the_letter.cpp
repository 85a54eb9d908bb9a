#include <doctest/doctest.h>

#include <filesystem>
#include <regex>
#include <set>

#include "docs/qzMarkdown.h"

TEST_CASE("a block that is marked as a file is that file to the letter") {
  int nbQuoted = 0;
  for (const std::string& page : qzTest::pages()) {
    for (const qzTest::Block& block : qzTest::blocksOf(page)) {
      const std::string file = qzTest::valueOf(block.mark, "file");
      if (file.empty()) continue;
      CAPTURE(page);
      CAPTURE(block.line);
      CHECK(block.text == qzTest::contentOf(file));
      ++nbQuoted;
    }
  }
  CHECK(nbQuoted > 0);
}

TEST_CASE("all C++ in the pages is quoted from a file that gets compiled") {
  for (const std::string& page : qzTest::pages()) {
    for (const qzTest::Block& block : qzTest::blocksOf(page)) {
      if (block.language != "cpp") continue;
      CAPTURE(page);
      CAPTURE(block.line);
      CHECK(std::regex_match(qzTest::valueOf(block.mark, "file"), std::regex("examples/[a-z_]+\\.cpp")));
    }
  }
}

TEST_CASE("every example is quoted") {
  std::set<std::string> quoted;
  for (const std::string& page : qzTest::pages()) {
    for (const qzTest::Block& block : qzTest::blocksOf(page)) quoted.insert(qzTest::valueOf(block.mark, "file"));
  }
  for (const auto& entry : std::filesystem::directory_iterator(QZ_SOURCE_DIR "/examples")) {
    if (entry.path().extension() != ".cpp") continue;
    const std::string name = "examples/" + entry.path().filename().string();
    CAPTURE(name);
    CHECK(quoted.count(name) == 1);
  }
}

TEST_CASE("links and pictures within the project have a target") {
  const std::regex link("\\]\\(([^)#]+)(#[^)]*)?\\)");
  int nbLinks = 0;
  for (const std::string& page : qzTest::pages()) {
    const std::string text = qzTest::proseOf(page);
    const std::filesystem::path folder = std::filesystem::path(QZ_SOURCE_DIR "/" + page).parent_path();
    for (std::sregex_iterator found(text.begin(), text.end(), link), end; found != end; ++found) {
      const std::string target = (*found)[1];
      if (target.find("://") != std::string::npos) continue;
      CAPTURE(page);
      CAPTURE(target);
      CHECK(std::filesystem::exists(folder / target));
      ++nbLinks;
    }
  }
  CHECK(nbLinks > 0);
}

TEST_CASE("docs/README.md links every page, and README.md links it") {
  const std::string index = qzTest::contentOf("docs/README.md");
  for (const std::string& page : qzTest::pages()) {
    const std::string prefix = "docs/";
    if (page.compare(0, prefix.size(), prefix) != 0 || page == "docs/README.md") continue;
    CAPTURE(page);
    CHECK(index.find("](" + page.substr(prefix.size()) + ")") != std::string::npos);
  }
  CHECK(qzTest::contentOf("README.md").find("](docs/README.md)") != std::string::npos);
}
