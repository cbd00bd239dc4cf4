#include "JsonText.h"

#include <cstdio>

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    int length = c < 0x80 ? 1 : (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 0;
    bool valid = length > 0 && i + static_cast<size_t>(length) <= text.size() && !(length == 2 && c < 0xC2);
    for (int k = 1; valid && k < length; ++k) valid = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
    if (!valid) {
      out += "\\ufffd";
      ++i;
      continue;
    }
    if (c == '"' || c == '\\') out += '\\', out += static_cast<char>(c);
    else if (c < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", c);
      out += escape;
    } else {
      out.append(text, i, static_cast<size_t>(length));
    }
    i += static_cast<size_t>(length);
  }
  return out + "\"";
}
