#include "JsonText.h"

#include <cstdio>

// Length of the well-formed UTF-8 sequence at text[i], 0 when it is not one: no overlong forms,
// no surrogates (ED A0..BF), nothing above U+10FFFF.
static size_t Utf8SequenceLength(const std::string& text, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char c = byte(i);
  if (c < 0x80) return 1;
  size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
  if (c >= 0xC2 && c <= 0xDF) length = 2;
  else if (c >= 0xE0 && c <= 0xEF) length = 3, low = c == 0xE0 ? 0xA0 : 0x80, high = c == 0xED ? 0x9F : 0xBF;
  else if (c >= 0xF0 && c <= 0xF4) length = 4, low = c == 0xF0 ? 0x90 : 0x80, high = c == 0xF4 ? 0x8F : 0xBF;
  else return 0;
  if (i + length > text.size() || byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (size_t k = 2; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
  }
  return length;
}

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    const size_t length = Utf8SequenceLength(text, i);
    if (length == 0) {
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
      out.append(text, i, length);
    }
    i += length;
  }
  return out + "\"";
}
