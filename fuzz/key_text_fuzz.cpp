// Key text parser: any text gives a key or none, and a key printed in any notation reads back
// as itself.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "analysis/KeyNotation.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const int index = KeyIndexFromName(text);
  if (index < 0 || index > 24) __builtin_trap();
  const ZQKey key = KeyFromText(text);
  if (!key.known()) return 0;
  if (key.pitch < -0.5f || key.pitch >= 11.5f) __builtin_trap();
  // Whole semitones survive every notation; a detune survives the sharp one to the cent.
  const ZQKey whole = MakeKey(static_cast<float>(key.nearestNote()), key.mode);
  if (KeyFromText(KeyCodeText(KeyCodeOf(whole))) != whole) __builtin_trap();
  if (whole.mode == kIonian || whole.mode == kAeolian) {
    if (KeyFromText(KeyText(whole)) != whole || KeyFromText(KeyText(whole, KeyNotation::kFlat)) != whole) __builtin_trap();
  }
  return 0;
}
