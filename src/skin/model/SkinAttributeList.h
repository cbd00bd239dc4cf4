#pragma once
// The ordered name/value pairs a control element carries; every control reads its settings
// from one. Names match exactly (case sensitive); the first pair of a name wins.
//
// Not thread safe; the loader fills one on the GUI thread and hands it to the control.

#include <string>
#include <utility>
#include <vector>

class SkinAttributeList {
 public:
  static constexpr int kMaxPairs = 100;

  void Clear() { pairs_.clear(); }
  // Adds a pair; a pair beyond kMaxPairs is dropped without a word.
  void Add(const std::string& name, const std::string& value);
  // Replaces the value of the first pair of that name, or adds a pair.
  void Set(const std::string& name, const std::string& value);

  bool Has(const std::string& name) const { return Find(name) != nullptr; }
  // Empty when missing.
  std::string GetString(const std::string& name) const;
  // atoi of the value; -1 when missing.
  int GetInt(const std::string& name) const;
  // The value as a number in the C locale; -1 when missing.
  double GetFloat(const std::string& name) const;
  // Upper-cases the stored value in place; true for "YES" or "TRUE" only ("1", "ON" and "Y"
  // are false on purpose, unlike the element boolean of the skin file's windows).
  bool GetBool(const std::string& name);

  int Count() const { return static_cast<int>(pairs_.size()); }
  const std::pair<std::string, std::string>& At(int i) const { return pairs_[i]; }
  bool operator==(const SkinAttributeList& other) const { return pairs_ == other.pairs_; }

 private:
  const std::string* Find(const std::string& name) const;
  std::vector<std::pair<std::string, std::string>> pairs_;
};

// Reading numbers as the C library's atoi does (leading blanks, sign, digits, stop at the
// first other character; 0 when there are no digits), independent of the locale.
int AtoiLike(const char* text);
// Element boolean of the skin file's own elements: true for "OK", "YES", "Y", "TRUE" after
// upper-casing; anything else false.
bool ElementBoolText(const std::string& value);

// A skin colour is exactly "#RRGGBB"; false for anything else, so the caller keeps its default.
struct SkinRgb {
  unsigned char r = 0, g = 0, b = 0;
  bool operator==(const SkinRgb&) const = default;
};
bool ParseSkinColour(const std::string& text, SkinRgb& colour);
