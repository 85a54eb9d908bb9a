#include <doctest/doctest.h>
#include <stdio.h>
#include <toolkit/io/file/qzFile.h>

#include <sstream>
#include <stdexcept>

#include "apps/qzProcess.h"

using namespace qzTest;

namespace {

/// What bash offers at the end of a command line, whose last word may be empty, in alphabetical order.
std::string completed(const std::string& words) {
  const std::string command =
      "bash -c 'source " QZQUERY_COMPLETION "; COMP_WORDS=(" + words +
      "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _qzquery; printf \"%s\\n\" \"${COMPREPLY[@]}\" |"
      " sort | tr \"\\n\" \" \"'";
  FILE* const pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("bash cannot be started");
  std::string output;
  for (int c; (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  CHECK(::pclose(pipe) == 0);
  return output;
}

/// The words of a text that begin with two dashes, up to a character that is no part of an option.
std::vector<std::string> longOptions(const std::string& text) {
  std::vector<std::string> options;
  for (std::size_t at = text.find(" --"); at != std::string::npos; at = text.find(" --", at + 1)) {
    const std::size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at + 1);
    options.push_back(text.substr(at + 1, end - at - 1));
  }
  return options;
}

}  // namespace

TEST_CASE("bash completes subcommands, options, and values of options") {
  CHECK(completed("qzquery in") == "info inspect ");
  CHECK(completed("qzquery \"\"") == "--help --version -h cast info inspect render ");
  CHECK(completed("qzquery cast mesh.obj --s") == "--symmetric ");
  CHECK(completed("qzquery render mesh.obj --s") == "--samples --shading --size ");
  CHECK(completed("qzquery render mesh.obj --shading \"\"") == "cost depth facing normal ");
  CHECK(completed("qzquery info --builder s") == "sah ");
  CHECK(completed("qzquery cast --engine \"\"") == "index qbvh ");
  CHECK(completed("qzquery render mesh.obj --quality b") == "best ");
  CHECK(completed("qzquery info me") == " ");  // file names, which bash finds by itself
}

TEST_CASE("manual page and completion have every option that the help has") {
  const std::string page = qzToolkit::readFile(QZQUERY_MANUAL);
  CHECK(page.find(".TH QZQUERY 1 \"\" \"qzquery " QZ_VERSION "\"") == 0);
  for (const char* name : {"info", "inspect", "render", "cast"}) {
    CAPTURE(name);
    const std::string title = std::string(".SS ") + name + "\n";
    const std::size_t begin = page.find(title);
    REQUIRE(begin != std::string::npos);
    const std::string section = page.substr(begin, page.find("\n.S", begin) - begin);
    const std::vector<std::string> options = longOptions(runQuery({name, "--help"}).output);
    CHECK(options.size() > 4);
    for (const std::string& option : options) {
      CAPTURE(option);
      std::string escaped;
      for (char c : option) escaped += c == '-' ? std::string("\\-") : std::string(1, c);
      CHECK(section.find(escaped) != std::string::npos);
      CHECK((' ' + completed(std::string("qzquery ") + name + ' ' + option)).find(' ' + option + ' ') !=
            std::string::npos);
    }
  }
  CHECK(page.find("\n.SH EXIT STATUS\nExit codes: 0 on success") != std::string::npos);
}
