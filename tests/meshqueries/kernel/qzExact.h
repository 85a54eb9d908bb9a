#pragma once
// Exact arithmetic with floats: every finite float is a whole number of units of 2^-149.

#include <gmpxx.h>

#include <cmath>

namespace qzTest {

using Whole = mpz_class;

/// value * 2^149.
inline Whole exactOf(float value) {
  int exponent;
  const float fraction = std::frexp(value, &exponent);  // 24 bits of fraction at most
  const Whole mantissa(static_cast<long>(std::ldexp(fraction, 24)));
  const int shift = exponent - 24 + 149;
  return shift >= 0 ? Whole(mantissa << static_cast<unsigned>(shift))
                    : Whole(mantissa >> static_cast<unsigned>(-shift));  // what is shifted out is 0
}

/// a / b, rounded towards 0 to a double.
inline double ratio(const Whole& a, const Whole& b) {
  mpq_class quotient(a, b);
  quotient.canonicalize();
  return quotient.get_d();
}

inline int signOf(const Whole& a) {
  return sgn(a);
}

}  // namespace qzTest
