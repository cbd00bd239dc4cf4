#include "codecs/ByteOrder.h"

#include <cmath>

double Extended80ToDouble(const unsigned char* bytes) {
  const int sign = bytes[0] & 0x80;
  const int exponent = (bytes[0] & 0x7f) << 8 | bytes[1];
  uint64_t mantissa = 0;
  for (int i = 2; i < 10; ++i) mantissa = mantissa << 8 | bytes[i];
  if (exponent == 0 || exponent == 0x7fff || mantissa == 0) return 0.0;
  double value = std::ldexp(static_cast<double>(mantissa), exponent - 16383 - 63);
  return sign ? -value : value;
}

void DoubleToExtended80(double value, unsigned char* bytes) {
  for (int i = 0; i < 10; ++i) bytes[i] = 0;
  if (value == 0.0 || !std::isfinite(value)) return;
  int sign = value < 0 ? 0x80 : 0;
  int exponent = 0;
  double fraction = std::frexp(std::fabs(value), &exponent);  // value = fraction * 2^exponent, fraction in [0.5, 1)
  uint64_t mantissa = static_cast<uint64_t>(std::ldexp(fraction, 64));
  int biased = exponent - 1 + 16383;
  if (biased <= 0 || biased >= 0x7fff) return;
  bytes[0] = static_cast<unsigned char>(sign | (biased >> 8));
  bytes[1] = static_cast<unsigned char>(biased);
  for (int i = 0; i < 8; ++i) bytes[2 + i] = static_cast<unsigned char>(mantissa >> (56 - 8 * i));
}
