#pragma once
// Key and MIDI shortcuts: the tables that map a key (code and modifier flags) or a MIDI note or
// controller to a catalogue control, each control's copy of its bindings (for the learn
// overlay and for saving), learn mode, and the two files shortcuts_kb.xml and
// shortcuts_midi.xml.
//
// Which controls take bindings: a button has one key slot and may hold a MIDI binding, a slider
// two key slots (the first lowers, the second raises) and a MIDI binding, a sound display a
// MIDI binding only; learn, about and tarvo_about none, so learn mode can always be left.
//
// Threads: GUI thread only. Both lookups are single array reads.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

constexpr int kMaxKeySlots = 10;
constexpr int kKeyCodeCount = 8000;
constexpr int kKeyFlagCount = 32;

struct KeySlot {
  int code = 0;
  int flags = 0;
  int character = 32;
};

struct MidiBinding {
  int channel = 0;
  int isKey = 0;      // 1 note, 0 controller
  int keyOrCc = -1;   // -1: not bound
  int toggleMode = 0;
};

struct ControlBindings {
  int keySlotCount = 0;
  bool midiAllowed = false;
  KeySlot keys[kMaxKeySlots];
  MidiBinding midi;
};

struct MidiMapRow {
  int controlId = 0;  // above 0: bound
  int deck = 0;
  int toggleMode = 0;
  int awaitingRelease = 0;
};

// Where shortcuts land: the window sends them on to its controls.
class ShortcutSink {
 public:
  virtual ~ShortcutSink() = default;
  // A bound key: kind 11 with the slot (a slider's slot 0 lowers, slot 1 raises).
  virtual void KeyEvent(int id, int deck, int slot) = 0;
  // A bound note or controller: kind 10 with the message.
  virtual void MidiEvent(int id, int deck, int status, int channel, int data1, int value) = 0;
  // A control's bindings changed in learn (its overlay redraws).
  virtual void BindingsChanged(int id, int deck) = 0;
};

class ShortcutTables {
 public:
  ShortcutTables();
  ~ShortcutTables();

  void SetSink(ShortcutSink* sink) { sink_ = sink; }
  // Whether the skin placed a control; all of them by default.
  void SetControlExists(std::function<bool(int id, int deck)> exists) { exists_ = std::move(exists); }

  // Files. Loading replaces nothing it does not name; a bad file logs and leaves the tables as
  // they were. Saving writes atomically.
  bool LoadKeyShortcuts(const std::string& path);
  bool LoadMidiShortcuts(const std::string& path);
  bool LoadKeyShortcutsText(const std::string& text);
  bool LoadMidiShortcutsText(const std::string& text);
  std::string KeyShortcutsText() const;
  std::string MidiShortcutsText() const;
  bool SaveKeyShortcuts(const std::string& path) const;
  bool SaveMidiShortcuts(const std::string& path) const;
  void Clear();

  // Input. OnKey returns whether the key was consumed (a bound key, or any key in learn mode).
  struct KeyPress {
    int code = 0;        // the file's key codes (see KeyCodes.h)
    int flags = 0;       // KeyModifier bits
    int character = 0;
    int repeat = 0;
    bool windowActive = true;
    bool searchHasFocus = false;
  };
  bool OnKey(const KeyPress& key);
  void MapMidi(int status, int channel, int data1, int value, int time);

  // Learn.
  void SetLearnMode(bool on);
  bool LearnMode() const { return learnMode_; }
  void SetLearnTarget(int id, int deck);

  // Lookups for the overlay and tests; null outside the table.
  const ControlBindings* Bindings(int id, int deck) const;
  const MidiMapRow& NoteRow(int data1, int channel) const { return notes_[data1 * 16 + channel]; }
  const MidiMapRow& ControllerRow(int data1, int channel) const { return controllers_[data1 * 16 + channel]; }
  // "K%d" for a note, "C%d" for a controller, "" when unbound.
  static std::string MidiBindingText(const MidiBinding& binding);

 private:
  struct KeyEntry {
    int16_t id = 0;
    int8_t deck = 0;
  };
  ControlBindings* MutableBindings(int id, int deck);
  bool Exists(int id, int deck) const;
  void LearnKey(const KeyPress& key, int code, int flags);
  void LearnMidi(int status, int channel, int data1, int value);
  void ClearOtherMidiRows(int id, int deck, int data1, int channel);
  void SettlePendingNote();
  void Changed(int id, int deck);

  std::vector<ControlBindings> bindings_;  // [row * kControlIdCount + id], row 0 global
  std::vector<KeyEntry> keys_;
  std::vector<MidiMapRow> notes_, controllers_;
  std::function<bool(int, int)> exists_;
  ShortcutSink* sink_ = nullptr;
  bool learnMode_ = false;
  int targetId_ = 0;
  int targetDeck_ = -1;
  int counter_ = 0;
  int pendingData1_ = -1;
  int pendingChannel_ = -1;

  friend class ShortcutFiles;
};
