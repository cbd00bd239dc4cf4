#include "controllers/HidData.h"

#include <algorithm>
#include <cstring>

namespace {

int UnitBytes(int dataType) { return dataType == 1 || dataType == 2 || dataType == 4 ? dataType : 0; }

bool BitsFit(int offset, int size) {
  return offset >= 0 && size >= 1 && size <= 32 && offset + size <= kHidPageBytes * 8;
}

}  // namespace

void HidStores::Clear() {
  std::memset(input, 0, sizeof input);
  std::memset(previous, 0, sizeof previous);
  std::memset(output, 0, sizeof output);
  inputValid = false;
}

void HidStores::TakeReport(const unsigned char* report, int length) {
  length = std::clamp(length, 0, kHidPageBytes);
  if (inputValid) {
    std::memcpy(previous[0], input[0], kHidPageBytes);
  } else {
    std::memcpy(previous[0], report, length);
    reportLength = length;
    inputValid = true;
  }
  std::memcpy(input[0], report, length);
}

bool ReadHidField(const unsigned char* page, int dataType, int offset, int size, uint32_t* value) {
  if (dataType == 0) {
    if (!BitsFit(offset, size)) return false;
    uint32_t bits = 0;
    for (int i = offset; i < offset + size; ++i) bits = (bits << 1) | ((page[i / 8] >> (7 - i % 8)) & 1);
    *value = bits;
    return true;
  }
  const int unit = UnitBytes(dataType);
  if (unit == 0 || offset < 0 || (offset + 1) * unit > kHidPageBytes) return false;
  uint32_t word = 0;
  for (int b = unit - 1; b >= 0; --b) word = (word << 8) | page[offset * unit + b];
  *value = word;
  return true;
}

bool WriteHidField(unsigned char* page, int dataType, int offset, int size, uint32_t value) {
  if (dataType == 0) {
    if (!BitsFit(offset, size)) return false;
    for (int i = offset + size - 1; i >= offset; --i, value >>= 1) {
      const unsigned char mask = static_cast<unsigned char>(0x80 >> (i % 8));
      page[i / 8] = (value & 1) ? (page[i / 8] | mask) : (page[i / 8] & ~mask);
    }
    return true;
  }
  const int unit = UnitBytes(dataType);
  if (unit == 0 || offset < 0 || (offset + 1) * unit > kHidPageBytes) return false;
  for (int b = 0; b < unit; ++b, value >>= 8) page[offset * unit + b] = value & 0xFF;
  return true;
}
