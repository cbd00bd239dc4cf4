#include "skin/model/SkinAttributeList.h"

#include <cctype>
#include <charconv>
#include <climits>

void SkinAttributeList::Add(const std::string& name, const std::string& value) {
  if (static_cast<int>(pairs_.size()) >= kMaxPairs) return;
  pairs_.emplace_back(name, value);
}

void SkinAttributeList::Set(const std::string& name, const std::string& value) {
  for (auto& pair : pairs_) {
    if (pair.first == name) {
      pair.second = value;
      return;
    }
  }
  Add(name, value);
}

const std::string* SkinAttributeList::Find(const std::string& name) const {
  for (const auto& pair : pairs_) {
    if (pair.first == name) return &pair.second;
  }
  return nullptr;
}

std::string SkinAttributeList::GetString(const std::string& name) const {
  const std::string* value = Find(name);
  return value ? *value : std::string();
}

int SkinAttributeList::GetInt(const std::string& name) const {
  const std::string* value = Find(name);
  return value ? AtoiLike(value->c_str()) : -1;
}

double SkinAttributeList::GetFloat(const std::string& name) const {
  const std::string* value = Find(name);
  if (!value) return -1;
  const char* p = value->c_str();
  while (*p == ' ' || *p == '\t') ++p;
  if (*p == '+') ++p;
  double result = 0;
  std::from_chars(p, value->c_str() + value->size(), result);  // prefix, like atof
  return result;
}

bool SkinAttributeList::GetBool(const std::string& name) {
  for (auto& pair : pairs_) {
    if (pair.first != name) continue;
    for (char& c : pair.second) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return pair.second == "YES" || pair.second == "TRUE";
  }
  return false;
}

int AtoiLike(const char* text) {
  if (!text) return 0;
  while (std::isspace(static_cast<unsigned char>(*text))) ++text;
  bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  long long value = 0;
  while (*text >= '0' && *text <= '9') {
    value = value * 10 + (*text++ - '0');
    if (value > INT_MAX) value = INT_MAX;  // saturate where atoi would overflow
  }
  return static_cast<int>(negative ? -value : value);
}

bool ElementBoolText(const std::string& value) {
  std::string upper;
  for (char c : value) upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper == "OK" || upper == "YES" || upper == "Y" || upper == "TRUE";
}

bool ParseSkinColour(const std::string& text, SkinRgb& colour) {
  if (text.size() != 7 || text[0] != '#') return false;
  unsigned value = 0;
  for (int i = 1; i < 7; ++i) {
    if (!std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  std::from_chars(text.data() + 1, text.data() + 7, value, 16);
  colour = {static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 8),
            static_cast<unsigned char>(value)};
  return true;
}
