#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <xmmintrin.h>

int main(int argc, char** argv) {
  // The plain forms need rounding to nearest and denormals; a program with anything linked by -ffast-math starts
  // without the latter. The library does not depend on it; the tests with CallersFloatMode check that.
  _mm_setcsr(0x1F80);
  return doctest::Context(argc, argv).run();
}
