#include "fuzz/qzFuzzCheck.h"

#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <pthread.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

// Of the sanitizers, and null without them.
extern "C" {
__attribute__((weak)) void __sanitizer_set_report_fd(void* descriptor);
__attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());
}

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

void keepReports() {
  static const std::intptr_t kDescriptor = ::dup(STDERR_FILENO);
  if (__sanitizer_set_report_fd != nullptr) __sanitizer_set_report_fd(reinterpret_cast<void*>(kDescriptor));
}

void ignoreChildren() {
  static const int kRegistered = ::pthread_atfork(nullptr, nullptr, [] {
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(nullptr);
  });
  if (kRegistered != 0) fail("no room for a handler");
}

void useAssertions() {
  static doctest::Context context;
  context.setAsDefaultForAssertsOutOfTestCases();
  context.setAssertHandler(failAssertion);
}

}  // namespace qzFuzz
