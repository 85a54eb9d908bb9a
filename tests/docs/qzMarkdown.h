#pragma once
// The pages of this project and their blocks: fenced, or indented by four blanks.

#include <string>
#include <vector>

namespace qzTest {

struct Block {
  std::string page;      ///< File, relative to the root.
  int line;              ///< First line of the text, from 1.
  std::string language;  ///< Of the fence; "" without one, "sh" for an indented block.
  std::string mark;      ///< Text of an HTML comment on the last non-empty line before the block, else "".
  std::string text;
};

/// README.md, CONTRIBUTING.md and docs/*.md, sorted by name.
std::vector<std::string> pages();

/// The blocks of a page.
std::vector<Block> blocksOf(const std::string& page);

/// A page without its fenced blocks.
std::string proseOf(const std::string& page);

/// The bytes of a file, by its name relative to the root.
std::string contentOf(const std::string& name);

/// The text of a mark after a word and a colon, "a.cpp" for "file: a.cpp"; empty if it does not begin with them.
std::string valueOf(const std::string& mark, const std::string& word);

}  // namespace qzTest
