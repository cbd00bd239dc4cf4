#pragma once
// A stand-in for the analysis' key notation, so the library's tests link only the library:
// sharp names, 1..12 major from A, 13..24 minor.

#include <string>
#include <string_view>

#include "library/KeyNaming.h"

inline const char* TestKeyName(int index) {
  static const char* const kNames[25] = {"",    "A",   "A#",  "B",   "C",   "C#",  "D",   "D#",  "E",
                                         "F",   "F#",  "G",   "G#",  "Am",  "A#m", "Bm",  "Cm",  "C#m",
                                         "Dm",  "D#m", "Em",  "Fm",  "F#m", "Gm",  "G#m"};
  return index >= 0 && index <= 24 ? kNames[index] : "";
}

inline int TestKeyIndex(std::string_view text) {
  for (int i = 1; i <= 24; ++i) {
    if (text == TestKeyName(i)) return i;
  }
  return 0;
}

inline void UseTestKeyNames() { SetKeyNaming(TestKeyName, TestKeyIndex); }
