#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include <xmmintrin.h>

int main(int argc, char** argv) {
  // The plain forms count on rounding to nearest and on denormals; a program with anything linked by -ffast-math starts
  // without the latter. The library needs no such help, and there are tests which say so.
  _mm_setcsr(0x1F80);
  return doctest::Context(argc, argv).run();
}
