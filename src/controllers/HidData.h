#pragma once
// The three report stores of a HID controller and the addressing scripts use on them
// (getHidData / setHidData): a page is a block of 512 bytes; data type 0 is a bit counted from
// the most significant bit of the first byte, 1 a byte, 2 a 16-bit and 4 a 32-bit word counted
// in those units. Words are little-endian, as HID reports carry them.
//
// Pure data and functions, GUI thread.

#include <cstdint>

constexpr int kHidPages = 4;
constexpr int kHidPageBytes = 512;
constexpr int kHidReadBytes = 257;

struct HidStores {
  unsigned char input[kHidPages][kHidPageBytes] = {};
  unsigned char previous[kHidPages][kHidPageBytes] = {};
  unsigned char output[kHidPages][kHidPageBytes] = {};
  int reportLength = kHidPageBytes;
  bool inputValid = false;

  void Clear();
  // A new report: the first also fills the previous store, later ones move input to previous.
  void TakeReport(const unsigned char* report, int length);
};

// Reads the field; false when page, type or offset fall outside the store. For a bit field
// `size` is its width in bits (1 to 32, most significant first); for the others it is unused.
bool ReadHidField(const unsigned char* page, int dataType, int offset, int size, uint32_t* value);
bool WriteHidField(unsigned char* page, int dataType, int offset, int size, uint32_t value);
