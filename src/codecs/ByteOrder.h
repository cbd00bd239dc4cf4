#pragma once
// Reading and writing the fixed-width numbers of file headers in either byte order, and the
// 80-bit extended numbers AIFF stores its sample rate in.

#include <cstdint>

inline uint32_t LittleEndian32(const unsigned char* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
inline uint16_t LittleEndian16(const unsigned char* p) { return uint16_t(p[0] | p[1] << 8); }
inline void PutLittleEndian32(unsigned char* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}
inline void PutLittleEndian16(unsigned char* p, uint16_t v) {
  p[0] = static_cast<unsigned char>(v);
  p[1] = static_cast<unsigned char>(v >> 8);
}

inline uint32_t BigEndian32(const unsigned char* p) {
  return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}
inline uint16_t BigEndian16(const unsigned char* p) { return uint16_t(p[0] << 8 | p[1]); }
inline void PutBigEndian32(unsigned char* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (24 - 8 * i));
}
inline void PutBigEndian16(unsigned char* p, uint16_t v) {
  p[0] = static_cast<unsigned char>(v >> 8);
  p[1] = static_cast<unsigned char>(v);
}

// IEEE 754 80-bit extended, big-endian: sign and 15-bit exponent, then a 64-bit mantissa with an
// explicit integer bit. Zero, denormals, infinities and NaNs read as 0.
double Extended80ToDouble(const unsigned char* bytes);
void DoubleToExtended80(double value, unsigned char* bytes);
