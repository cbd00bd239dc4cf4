// MIDI learn: the next note or controller binds the target control. Whether a device sends a
// release of its own is found out here: a note-on followed by its note-off is a pair, a lone
// note-off or a note-on whose note-off never comes (the user moved on) is one message per press.
#include "controllers/ShortcutTables.h"

#include "skin/model/ControlCatalogue.h"

void ShortcutTables::SetLearnMode(bool on) {
  learnMode_ = on;
  targetId_ = 0;
  targetDeck_ = -1;
  counter_ = 0;
  if (!on) {
    pendingData1_ = -1;
    pendingChannel_ = -1;
  }
}

void ShortcutTables::SetLearnTarget(int id, int deck) {
  if (id == targetId_ && deck == targetDeck_) return;
  SettlePendingNote();
  targetId_ = id;
  targetDeck_ = deck;
  counter_ = 0;
}

void ShortcutTables::SettlePendingNote() {
  if (pendingData1_ < 0) return;
  MidiMapRow& row = notes_[pendingData1_ * 16 + pendingChannel_];
  if (row.awaitingRelease) {
    row.awaitingRelease = 0;
    row.toggleMode = 1;
    if (ControlBindings* b = MutableBindings(row.controlId, row.deck)) {
      b->midi.toggleMode = 1;
      Changed(row.controlId, row.deck);
    }
  }
  pendingData1_ = pendingChannel_ = -1;
}

void ShortcutTables::LearnMidi(int status, int channel, int data1, int value) {
  ControlBindings* target = targetId_ > 0 ? MutableBindings(targetId_, targetDeck_) : nullptr;
  if (!target || !target->midiAllowed) return;
  const bool note = status == 0x90 || status == 0x80;
  if (!note && status != 0xB0) return;
  MidiMapRow& row = (note ? notes_ : controllers_)[data1 * 16 + channel];
  if (row.controlId > 0 && !(row.controlId == targetId_ && row.deck == targetDeck_)) {
    if (ControlBindings* owner = MutableBindings(row.controlId, row.deck)) {
      owner->midi = MidiBinding();
      Changed(row.controlId, row.deck);
    }
  }
  if (!note) {
    row = {targetId_, targetDeck_, 0, 0};
    target->midi = {channel, 0, data1, 0};
  } else {
    if (status == 0x90 && value > 0) {
      pendingData1_ = data1;
      pendingChannel_ = channel;
      row.awaitingRelease = 1;
    } else {
      // A release: with no press before it the device sends one message per press.
      row.toggleMode = row.awaitingRelease ? 0 : 1;
      row.awaitingRelease = 0;
      if (pendingData1_ == data1 && pendingChannel_ == channel) pendingData1_ = pendingChannel_ = -1;
    }
    row.controlId = targetId_;
    row.deck = targetDeck_;
    target->midi = {channel, 1, data1, row.toggleMode};
  }
  Changed(targetId_, targetDeck_);
  ClearOtherMidiRows(targetId_, targetDeck_, data1, channel);
}

// Drops the control's older bindings. The walk passes over every row on the message's data byte
// and on its channel, so a second binding on the same channel survives; files saved that way
// load the same, and the walk is kept as it is.
void ShortcutTables::ClearOtherMidiRows(int id, int deck, int data1, int channel) {
  for (int d = 0; d < 256; ++d) {
    if (d == data1) continue;
    for (int ch = 0; ch < 16; ++ch) {
      if (ch == channel) continue;
      for (std::vector<MidiMapRow>* table : {&notes_, &controllers_}) {
        MidiMapRow& row = (*table)[d * 16 + ch];
        if (row.controlId == id && row.deck == deck) row = {-1, -1, 0, 0};
      }
    }
  }
}
