#pragma once
// Numbers in data files are always written and read in the C locale ("128.0000", never
// "128,0000"), whatever LC_NUMERIC the GUI toolkit set from the environment.

#include <string>
#include <string_view>

// Fixed notation with the given number of decimals.
std::string FormatFixed(double value, int decimals);

// Parses a whole decimal number; false (and value untouched) when the text is not one.
bool ParseDouble(std::string_view text, double& value);
bool ParseInt(std::string_view text, long long& value);
