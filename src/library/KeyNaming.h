#pragma once
// The library shows keys by name and stores them by index (0 none, 1..24), but the notation
// belongs to the analysis. The program installs the two conversions at start-up; until then no
// key has a name and no text gives a key.

#include <string>
#include <string_view>

using KeyNameOfIndex = const char* (*)(int index);
using KeyIndexOfName = int (*)(std::string_view text);

void SetKeyNaming(KeyNameOfIndex nameOf, KeyIndexOfName indexOf);
std::string KeyName(int index);           // "" without a name
int KeyIndexFromText(std::string_view text);  // 0 without a key
