#include "library/XmlNameText.h"

namespace {

// Decodes one UTF-8 character at text[i]; returns its length, 0 when malformed (overlong,
// surrogate, beyond U+10FFFF, truncated).
int DecodeUtf8(std::string_view text, size_t i, char32_t& cp) {
  const auto b = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = b(i);
  int length;
  if (lead < 0x80) return cp = lead, 1;
  if ((lead & 0xE0) == 0xC0) length = 2, cp = lead & 0x1F;
  else if ((lead & 0xF0) == 0xE0) length = 3, cp = lead & 0x0F;
  else if ((lead & 0xF8) == 0xF0) length = 4, cp = lead & 0x07;
  else return 0;
  if (i + length > text.size()) return 0;
  for (int k = 1; k < length; ++k) {
    if ((b(i + k) & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (b(i + k) & 0x3F);
  }
  static const char32_t kSmallest[5] = {0, 0, 0x80, 0x800, 0x10000};
  if (cp < kSmallest[length] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  return length;
}

bool IsXmlChar(char32_t cp) {
  return cp == 0x9 || cp == 0xA || cp == 0xD || (cp >= 0x20 && cp <= 0xD7FF) ||
         (cp >= 0xE000 && cp <= 0xFFFD) || cp >= 0x10000;
}

}  // namespace

bool IsXmlSafeText(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    char32_t cp;
    int length = DecodeUtf8(text, i, cp);
    if (!length || !IsXmlChar(cp)) return false;
    i += static_cast<size_t>(length);
  }
  return true;
}

void AppendEscapedName(std::string& out, std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    char32_t cp;
    int length = DecodeUtf8(text, i, cp);
    if (!length || !IsXmlChar(cp)) {
      out += "\xEF\xBF\xBD";
      i += length ? static_cast<size_t>(length) : 1;
      continue;
    }
    switch (cp) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      // Attribute values have their white space normalised; references keep it.
      case '\t': out += "&#9;"; break;
      case '\n': out += "&#10;"; break;
      case '\r': out += "&#13;"; break;
      default: out.append(text.substr(i, static_cast<size_t>(length)));
    }
    i += static_cast<size_t>(length);
  }
}

std::string EncodeHexName(std::string_view bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string hex;
  hex.reserve(bytes.size() * 2);
  for (unsigned char c : bytes) hex += kDigits[c >> 4], hex += kDigits[c & 15];
  return hex;
}

bool DecodeHexName(std::string_view hex, std::string& bytes) {
  if (hex.size() % 2) return false;
  auto nibble = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  std::string out;
  for (size_t i = 0; i < hex.size(); i += 2) {
    int hi = nibble(hex[i]), lo = nibble(hex[i + 1]);
    if (hi < 0 || lo < 0) return false;
    out += static_cast<char>(hi << 4 | lo);
  }
  bytes = std::move(out);
  return true;
}
