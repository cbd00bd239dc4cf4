// shortcuts_kb.xml and shortcuts_midi.xml are the user's files and may be edited by hand: any
// bytes must load or be refused, and what loaded must save and drive the tables safely.
#include <cstddef>
#include <cstdint>
#include <string>

#include "controllers/ShortcutTables.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A skin with one control in sixteen keeps the save small, so the fuzzer spends its time on
  // the reader.
  static ShortcutTables tables;
  static const bool placed = [] {
    tables.SetControlExists([](int id, int) { return id % 16 == 1; });
    return true;
  }();
  (void)placed;
  tables.Clear();
  const std::string text(reinterpret_cast<const char*>(data), size);
  tables.LoadKeyShortcutsText(text);
  tables.LoadMidiShortcutsText(text);
  tables.KeyShortcutsText();
  tables.MidiShortcutsText();
  ShortcutTables::KeyPress key;
  for (size_t i = 0; i + 1 < size && i < 64; i += 2) {
    key.code = data[i] * 8;
    key.flags = data[i + 1] & 31;
    tables.OnKey(key);
    tables.MapMidi(data[i] & 0xF0, data[i + 1] & 15, data[i], data[i + 1], 0);
  }
  return 0;
}
