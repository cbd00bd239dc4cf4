#include "controllers/ShortcutTables.h"

#include <cstring>

#include "skin/model/ControlCatalogue.h"
#include "skin/model/KeyName.h"

namespace {

int Row(int deck) { return deck + 1; }

bool ExemptFromLearn(const char* name) {
  return !std::strcmp(name, "learn") || !std::strcmp(name, "about") || !std::strcmp(name, "tarvo_about");
}

// Keys that may be learnt: printable keys and the named keys from 30 up, Back, Enter and Esc;
// alone, with alt or with shift. Control combinations stay the system's.
bool KeyMayBeLearnt(int code, int flags) {
  const bool codeOk = code > 29 || code == 8 || code == 13 || code == 27;
  return codeOk && (flags == 0 || flags == 2 || flags == 4);
}

}  // namespace

ShortcutTables::ShortcutTables()
    : bindings_(kControlTableRows * kControlIdCount),
      keys_(kKeyCodeCount * kKeyFlagCount),
      notes_(256 * 16),
      controllers_(256 * 16) {
  for (int id = 1; id <= kLastControlId; ++id) {
    const int type = ControlTypeOf(id);
    if (ExemptFromLearn(ControlNameOf(id))) continue;
    ControlBindings shape;
    shape.keySlotCount = type == kButton ? 1 : type == kSlider ? 2 : 0;
    shape.midiAllowed = type == kButton || type == kSlider || type == kSoundDisplay;
    for (int row = 0; row < kControlTableRows; ++row) bindings_[row * kControlIdCount + id] = shape;
  }
}

ShortcutTables::~ShortcutTables() = default;

void ShortcutTables::Clear() {
  for (ControlBindings& b : bindings_) {
    for (KeySlot& k : b.keys) k = KeySlot();
    b.midi = MidiBinding();
  }
  std::fill(keys_.begin(), keys_.end(), KeyEntry());
  std::fill(notes_.begin(), notes_.end(), MidiMapRow());
  std::fill(controllers_.begin(), controllers_.end(), MidiMapRow());
}

const ControlBindings* ShortcutTables::Bindings(int id, int deck) const {
  if (id <= 0 || id > kLastControlId || deck < -1 || deck >= kDeckRows) return nullptr;
  if (ControlIsGlobal(id) != (deck == -1)) return nullptr;
  return &bindings_[Row(deck) * kControlIdCount + id];
}

ControlBindings* ShortcutTables::MutableBindings(int id, int deck) {
  return const_cast<ControlBindings*>(Bindings(id, deck));
}

bool ShortcutTables::Exists(int id, int deck) const {
  return Bindings(id, deck) && (!exists_ || exists_(id, deck));
}

void ShortcutTables::Changed(int id, int deck) {
  if (sink_) sink_->BindingsChanged(id, deck);
}

std::string ShortcutTables::MidiBindingText(const MidiBinding& binding) {
  if (binding.keyOrCc < 0) return "";
  return (binding.isKey ? "K" : "C") + std::to_string(binding.keyOrCc);
}

bool ShortcutTables::OnKey(const KeyPress& key) {
  if (!key.windowActive || key.repeat > 0) return false;
  if (key.searchHasFocus && !learnMode_) return false;  // typing a search fires nothing
  if (key.code < 0 || key.code >= kKeyCodeCount || key.flags < 0 || key.flags >= kKeyFlagCount) return false;
  if (learnMode_) {
    LearnKey(key, key.code, key.flags);
    return true;
  }
  const KeyEntry entry = keys_[key.code * kKeyFlagCount + key.flags];
  const ControlBindings* b = entry.id > 0 ? Bindings(entry.id, entry.deck) : nullptr;
  if (!b || !Exists(entry.id, entry.deck) || b->keySlotCount == 0) return false;
  for (int slot = 0; slot < b->keySlotCount; ++slot) {
    if (b->keys[slot].code == key.code && b->keys[slot].flags == key.flags) {
      if (sink_) sink_->KeyEvent(entry.id, entry.deck, slot);
      return true;
    }
  }
  return false;
}

void ShortcutTables::LearnKey(const KeyPress& key, int code, int flags) {
  ControlBindings* target = targetId_ > 0 ? MutableBindings(targetId_, targetDeck_) : nullptr;
  if (!target || target->keySlotCount == 0) return;
  KeyEntry& entry = keys_[code * kKeyFlagCount + flags];
  if (entry.id > 0) {
    // The key changes hands: the old owner loses it.
    if (ControlBindings* owner = MutableBindings(entry.id, entry.deck)) {
      for (int slot = 0; slot < owner->keySlotCount; ++slot) {
        if (owner->keys[slot].code == code && owner->keys[slot].flags == flags) owner->keys[slot] = KeySlot();
      }
      Changed(entry.id, entry.deck);
    }
    entry = {-1, -1};
  }
  if (!KeyMayBeLearnt(code, flags)) return;
  entry = {static_cast<int16_t>(targetId_), static_cast<int8_t>(targetDeck_)};
  KeySlot& slot = target->keys[counter_ % target->keySlotCount];
  if (slot.code != 0 && !(slot.code == code && slot.flags == flags)) {
    keys_[slot.code * kKeyFlagCount + slot.flags] = {-1, -1};
  }
  slot = {code, flags, key.character};
  counter_ = (counter_ + 1) % target->keySlotCount;
  Changed(targetId_, targetDeck_);
}

void ShortcutTables::MapMidi(int status, int channel, int data1, int value, int /*time*/) {
  if (channel < 0 || channel > 15 || data1 < 0 || data1 > 255) return;
  if (learnMode_) {
    LearnMidi(status, channel, data1, value);
    return;
  }
  const int index = data1 * 16 + channel;
  if (status == 0xB0) {
    const MidiMapRow& row = controllers_[index];
    if (row.controlId > 0 && Exists(row.controlId, row.deck) && sink_) {
      sink_->MidiEvent(row.controlId, row.deck, 0xB0, channel, data1, value);
    }
    return;
  }
  if (status != 0x90 && status != 0x80) return;
  const MidiMapRow& row = notes_[index];
  if (row.controlId <= 0 || !Exists(row.controlId, row.deck) || !sink_) return;
  if (!row.toggleMode) {
    sink_->MidiEvent(row.controlId, row.deck, status, channel, data1, value);
    return;
  }
  // One message per press: each one is a whole click.
  sink_->MidiEvent(row.controlId, row.deck, 0x90, channel, data1, 127);
  sink_->MidiEvent(row.controlId, row.deck, 0x80, channel, data1, 0);
}
