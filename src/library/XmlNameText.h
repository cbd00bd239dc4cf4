#pragma once
// File names are bytes, but XML attributes carry only well-formed characters. A name that is
// valid UTF-8 of XML characters is written as it is (escaped); any other name is written with
// its bad bytes replaced (for readers that know no better) and again as hex bytes in name_raw,
// which this reader prefers, so every name survives a save and load exactly.

#include <string>
#include <string_view>

// True when text is valid UTF-8 made only of characters XML 1.0 allows.
bool IsXmlSafeText(std::string_view text);
// Appends text escaped for a double-quoted attribute; unusable bytes become U+FFFD.
void AppendEscapedName(std::string& out, std::string_view text);
std::string EncodeHexName(std::string_view bytes);
bool DecodeHexName(std::string_view hex, std::string& bytes);
