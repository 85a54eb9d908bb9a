#include "fuzz/qzFuzzCheck.h"

#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace qzFuzz {

namespace {

void failAssertion(const doctest::AssertData& assertion) {
  std::ostringstream text;
  text << assertion.m_file << ":" << assertion.m_line << ": " << assertion.m_expr << " is "
       << assertion.m_decomp.c_str();
  for (int i = 0; i < doctest::IReporter::get_num_active_contexts(); ++i) {
    text << "\n  ";
    doctest::IReporter::get_active_contexts()[i]->stringify(&text);
  }
  fail(text.str());
}

}  // namespace

void fail(const std::string& what) {
  std::fprintf(stderr, "finding: %s\n", what.c_str());
  std::abort();
}

void useAssertions() {
  static doctest::Context context;
  context.setAsDefaultForAssertsOutOfTestCases();
  context.setAssertHandler(failAssertion);
}

}  // namespace qzFuzz
