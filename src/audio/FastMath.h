#pragma once
// A logarithm without a library call, for meters and level scans that run many times a second:
// from the float's bits, with exponent e and mantissa m in [1, 2),
// log2(x) ~ e + (2 - m / 3) * m - 2/3. Good to about 0.01 in log2.

#include <cstdint>
#include <cstring>

inline float FastLog2(float x) {
  uint32_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  int exponent = static_cast<int>((bits >> 23) & 0xff) - 128;
  bits = (bits & 0x807fffffu) | 0x3f800000u;  // mantissa scaled into [1, 2)
  float m;
  std::memcpy(&m, &bits, sizeof m);
  return static_cast<float>(exponent) + (2.0f - m * 0.33333334f) * m - 0.6666667f;
}

// 20 log10 of an amplitude by the fast logarithm; 0 or less gives -318.7. A mean square goes in
// the same way and the result is halved.
inline float FastDb(float value) {
  if (value <= 0.0f) return -318.7f;
  return FastLog2(value) * 0.3018868f * 20.0f;
}
