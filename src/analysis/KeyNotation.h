#pragma once
// Musical keys and the notations they are written in: sharp names ("C#m"), flat names
// ("Dbm"), and the wheel keycode ("12A"), plus the parser that reads all of them and the song
// record's key index (0 none, 1..12 major A..G#, 13..24 minor).
//
// Plain values, no state: callable from any thread.

#include <string>
#include <string_view>

enum KeyMode { kIonian = 0, kAeolian, kLydian, kMixolydian, kDorian, kPhrygian, kLocrian };

struct ZQKey {
  static constexpr float kUnknownPitch = -1000000.0f;
  float pitch = kUnknownPitch;  // 0 = A, 1 = A#, ... 11 = G#; the fraction is a detune
  int mode = kIonian;

  bool known() const { return pitch != kUnknownPitch; }
  bool minorType() const { return mode == kAeolian || mode == kDorian || mode == kPhrygian || mode == kLocrian; }
  // The nearest note, 0..11, and the detune from it in hundredths of a semitone.
  int nearestNote() const;
  int detuneCents() const;
  bool operator==(const ZQKey& other) const = default;
};

struct ZQKeyCode {
  int number = 0;    // wheel position 1..12, 0 for none
  char letter = 0;   // 'A' aeolian, 'I' ionian, 'D', 'P', 'L', 'M', 'C' for the other modes
  int detune = 0;    // hundredths of a semitone
};

enum class KeyNotation { kSharp, kFlat, kKeycode };

// Holds the pitch to -0.5 up to but not including 11.5.
float FoldPitch(float pitch);
ZQKey MakeKey(float pitch, int mode);
ZQKeyCode KeyCodeOf(const ZQKey& key);

// "C#m", "C#m +12" with a detune, "UNKNOWN" for no key. withMode adds " aeolian" and the like;
// in that long form a zero detune prints as " NONE".
std::string KeyText(const ZQKey& key, KeyNotation notation = KeyNotation::kSharp, bool withMode = false);
// "08A" (letter 'I' prints 'B'); shortForm prints 'B' for ionian, lydian and mixolydian and 'A'
// for every other mode.
std::string KeyCodeText(const ZQKeyCode& code, bool shortForm = false);
const char* ModeName(int mode);

// Reads any of the notations above: "Am", "A minor", "Bbm", "8A", "12B", "Am+1", "D dorian".
// Empty or unreadable text gives the unknown key.
ZQKey KeyFromText(std::string_view text);

// The record's key number for a display name: 0 for no key.
int KeyIndexFromName(std::string_view text);
int KeyIndexOf(const ZQKey& key);
// The 25 display names in index order, "" at 0.
const char* KeyIndexName(int index);
