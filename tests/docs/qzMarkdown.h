#pragma once
// The pages of this project and the blocks of text in them: fenced ones, and ones indented by four blanks.

#include <string>
#include <vector>

namespace qzTest {

struct Block {
  std::string page;      ///< Its file, as seen from the root.
  int line;              ///< Where its text begins, from 1.
  std::string language;  ///< What a fence says it is; "" when it says nothing, "sh" for an indented block.
  std::string mark;      ///< What the HTML comment says that stands on the last line with text before it; "" for none.
  std::string text;
};

/// README.md, CONTRIBUTING.md and docs/*.md, in the order of their names.
std::vector<std::string> pages();

/// The blocks of a page.
std::vector<Block> blocksOf(const std::string& page);

/// A page without its fenced blocks.
std::string proseOf(const std::string& page);

/// The bytes of a file, by its name as seen from the root.
std::string contentOf(const std::string& name);

/// What a mark says behind a word and a colon: "a.cpp" of "file: a.cpp". Empty when it does not begin so.
std::string valueOf(const std::string& mark, const std::string& word);

}  // namespace qzTest
