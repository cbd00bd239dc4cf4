#include "analysis/KeyNotation.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

const char* const kSharpNames[12] = {"A", "A#", "B", "C", "C#", "D", "D#", "E", "F", "F#", "G", "G#"};
const char* const kFlatNames[12] = {"A", "Bb", "B", "C", "Db", "D", "Eb", "E", "F", "Gb", "G", "Ab"};
const char* const kModeNames[7] = {"ionian", "aeolian", "lydian", "mixolydian", "dorian", "phrygian", "locrian"};
// Wheel numbers by note (A first) for the minor and the major family.
const int kMinorWheel[12] = {8, 3, 10, 5, 12, 7, 2, 9, 4, 11, 6, 1};
const int kMajorWheel[12] = {11, 6, 1, 8, 3, 10, 5, 12, 7, 2, 9, 4};
// The note of each wheel number in the minor family (index 1..12).
const int kWheelNote[13] = {0, 11, 6, 1, 8, 3, 10, 5, 0, 7, 2, 9, 4};

const char* const kIndexNames[25] = {
    "", "A", "A#/Bb", "B", "C", "C#/Db", "D", "D#/Eb", "E", "F", "F#/Gb", "G", "G#/Ab",
    "Am", "A#m/Bbm", "Bm", "Cm", "C#m/Dbm", "Dm", "D#m/Ebm", "Em", "Fm", "F#m/Gbm", "Gm", "G#m/Abm"};

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
  }
  return true;
}

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

// A '+' or '-' followed by a digit starts a detune in semitones; the text behind the sign goes.
float TakeDetune(std::string& text) {
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    if ((text[i] == '+' || text[i] == '-') && std::isdigit(static_cast<unsigned char>(text[i + 1]))) {
      float semitones = std::strtof(text.c_str() + i + 1, nullptr);
      if (!std::isfinite(semitones) || std::fabs(semitones) > 1200.0f) semitones = 0.0f;
      if (text[i] == '-') semitones = -semitones;
      text.resize(i);
      return semitones;
    }
  }
  return 0.0f;
}

bool ParseKeyCode(const std::string& text, float& pitch, int& mode) {
  size_t digits = 0;
  while (digits < text.size() && digits < 3 && std::isdigit(static_cast<unsigned char>(text[digits]))) ++digits;
  if (digits == 0 || digits >= text.size() || !std::isalpha(static_cast<unsigned char>(text[digits]))) return false;
  int number = std::atoi(text.substr(0, digits).c_str());
  if (number < 1 || number > 12) return false;
  pitch = static_cast<float>(kWheelNote[number]);
  switch (text[digits]) {
    case 'a': mode = kAeolian; break;
    case 'b': case 'i': pitch += 3, mode = kIonian; break;
    case 'd': pitch += 5, mode = kDorian; break;
    case 'l': pitch -= 4, mode = kLydian; break;
    case 'm': pitch -= 2, mode = kMixolydian; break;
    case 'p': pitch -= 5, mode = kPhrygian; break;
    case 'c': pitch += 2, mode = kLocrian; break;
    default: return false;
  }
  return true;
}

bool ParseKeyName(const std::string& text, float& pitch, int& mode) {
  static const int kLetterNote[7] = {0, 2, 3, 5, 7, 8, 10};  // a..g
  if (text.empty() || text[0] < 'a' || text[0] > 'g') return false;
  int note = kLetterNote[text[0] - 'a'];
  for (size_t i = 1; i < text.size(); ++i) {
    if (text[i] == '#') ++note;
    else if (text[i] == 'b') --note;
  }
  if (note < 0) note += 12;
  pitch = static_cast<float>(note);
  const bool saysMinor = text.find('m') != std::string::npos && text.find("major") == std::string::npos &&
                         text.find("mix") == std::string::npos;
  mode = saysMinor ? kAeolian : kIonian;
  return true;
}

}  // namespace

float FoldPitch(float pitch) {
  if (!std::isfinite(pitch)) return ZQKey::kUnknownPitch;
  pitch = std::fmod(pitch, 12.0f);
  if (pitch >= 11.5f) pitch -= 12.0f;
  if (pitch < -0.5f) pitch += 12.0f;
  return pitch;
}

ZQKey MakeKey(float pitch, int mode) {
  ZQKey key;
  key.pitch = FoldPitch(pitch);
  key.mode = (mode >= kIonian && mode <= kLocrian) ? mode : kIonian;
  return key;
}

int ZQKey::nearestNote() const {
  int note = static_cast<int>(std::lround(pitch)) % 12;
  return note < 0 ? note + 12 : note;
}

int ZQKey::detuneCents() const {
  return static_cast<int>(std::lround((pitch - std::round(pitch)) * 100.0f));
}

const char* ModeName(int mode) { return (mode >= 0 && mode <= kLocrian) ? kModeNames[mode] : ""; }

ZQKeyCode KeyCodeOf(const ZQKey& key) {
  ZQKeyCode code;
  if (!key.known()) return code;
  const int note = key.nearestNote();
  int number = key.minorType() ? kMinorWheel[note] : kMajorWheel[note];
  switch (key.mode) {
    case kDorian: number += 1, code.letter = 'D'; break;
    case kPhrygian: number -= 1, code.letter = 'P'; break;
    case kLydian: number += 1, code.letter = 'L'; break;
    case kMixolydian: number -= 1, code.letter = 'M'; break;
    case kLocrian: number -= 2, code.letter = 'C'; break;
    case kAeolian: code.letter = 'A'; break;
    default: code.letter = 'I'; break;
  }
  code.number = (number + 11) % 12 + 1;
  code.detune = key.detuneCents();
  return code;
}

std::string KeyCodeText(const ZQKeyCode& code, bool shortForm) {
  if (code.number == 0) return "UNKNOWN";
  char letter = code.letter == 'I' ? 'B' : code.letter;
  if (shortForm) letter = (code.letter == 'I' || code.letter == 'L' || code.letter == 'M') ? 'B' : 'A';
  char buffer[32];
  if (code.detune) std::snprintf(buffer, sizeof buffer, "%02d%c %+d", code.number, letter, code.detune);
  else std::snprintf(buffer, sizeof buffer, "%02d%c", code.number, letter);
  return buffer;
}

std::string KeyText(const ZQKey& key, KeyNotation notation, bool withMode) {
  if (!key.known()) return "UNKNOWN";
  if (notation == KeyNotation::kKeycode) return KeyCodeText(KeyCodeOf(key));
  const int note = key.nearestNote();
  std::string text = notation == KeyNotation::kFlat ? kFlatNames[note] : kSharpNames[note];
  if (key.minorType()) text += 'm';
  const int detune = key.detuneCents();
  if (detune) text += ' ', text += (detune > 0 ? "+" : ""), text += std::to_string(detune);
  else if (withMode) text += " NONE";
  if (withMode) text += ' ', text += ModeName(key.mode);
  return text;
}

ZQKey KeyFromText(std::string_view input) {
  std::string text(input.substr(0, 256));
  if (text.empty()) return ZQKey{};
  const float detune = TakeDetune(text);
  text = Lower(text);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.erase(0, 1);
  float pitch = 0.0f;
  int mode = kIonian;
  if (!ParseKeyCode(text, pitch, mode) && !ParseKeyName(text, pitch, mode)) return ZQKey{};
  ZQKey key = MakeKey(pitch + detune, mode);
  // Mode words override whatever the name implied. "mixolydian" holds "lyd" too, so "mix" is
  // tested after it.
  static const std::pair<const char*, int> kModeWords[] = {
      {"dor", kDorian}, {"phr", kPhrygian}, {"lyd", kLydian}, {"mix", kMixolydian}, {"loc", kLocrian}};
  for (const auto& [word, wordMode] : kModeWords) {
    if (text.find(word) != std::string::npos) key.mode = wordMode;
  }
  return key;
}

int KeyIndexFromName(std::string_view text) {
  if (text.empty()) return 0;
  for (int i = 1; i <= 24; ++i) {
    if (EqualsNoCase(text, kIndexNames[i])) return i;
  }
  if ((text.size() == 2 || text.size() == 3) && (text[1] == '#' || text[1] == 'b')) {
    // Only a lower-case 'm' makes a minor key ("BbM" is B-flat major); any other third
    // character ("Bb7") is a chord suffix and the first two name the major key.
    const bool minor = text.size() == 3 && text[2] == 'm';
    const int first = minor ? 13 : 1;
    const std::string_view head = text.substr(0, minor ? 3 : 2);
    for (int i = first; i < first + 12; ++i) {
      std::string_view name = kIndexNames[i];
      const size_t slash = name.find('/');
      if (slash == std::string_view::npos) continue;
      if (EqualsNoCase(head, name.substr(0, slash)) || EqualsNoCase(head, name.substr(slash + 1))) return i;
    }
  }
  return 0;
}

int KeyIndexOf(const ZQKey& key) {
  if (!key.known()) return 0;
  return (key.minorType() ? 13 : 1) + key.nearestNote();
}

const char* KeyIndexName(int index) { return (index >= 0 && index <= 24) ? kIndexNames[index] : ""; }
