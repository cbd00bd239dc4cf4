#pragma once
// The state and input logic of a catalogue control, apart from its drawing. The skinned view
// forwards every event here and repaints when told; the engine bindings hang on the callbacks.
//
// Threads: GUI thread only.

#include <functional>
#include <string>

#include "app/control/ControlEvent.h"
#include "app/control/TextScroller.h"

class ControlModel {
 public:
  ControlModel(int id, int deck) : id_(id), deck_(deck) {}
  virtual ~ControlModel() = default;

  virtual void HandleEvent(const ControlEvent& event) = 0;

  int Id() const { return id_; }
  int Deck() const { return deck_; }

  enum Slot : int { kPressSlot = 0, kReleaseSlot, kPressAltSlot, kReleaseAltSlot, kDoubleClickSlot, kEndDragSlot };

  // Set by the view: the state changed and the control must be drawn again.
  std::function<void()> onChanged;
  // Set by the view: each callback that fires, after the binding's own (the view passes it to
  // the hooks of window functions and skin scripts).
  std::function<void(Slot slot, int value, int deck)> observer;
  // The engine bindings. A button's press and release (value: the selected state after the
  // press); a slider's change (onPress) and final value (onRelease), onSpare1 its end of drag.
  ControlCallback onPress, onRelease, onPressAlt, onReleaseAlt, onDoubleClick, onSpare1;

 protected:
  void Changed() {
    if (onChanged) onChanged();
  }
  void Call(Slot slot, int value) { Call(slot, value, deck_); }
  void Call(Slot slot, int value, int deck) {
    const ControlCallback* callbacks[] = {&onPress, &onRelease, &onPressAlt, &onReleaseAlt, &onDoubleClick, &onSpare1};
    if (*callbacks[slot]) (*callbacks[slot])(value, id_, deck);
    if (observer) observer(slot, value, deck);
  }

 private:
  int id_, deck_;
};

// A text display: the text and a second text (a tooltip form), pressed like a button with -1.
class TextModel : public ControlModel {
 public:
  using ControlModel::ControlModel;
  void HandleEvent(const ControlEvent& event) override;
  void SetText(const std::string& text);
  const std::string& Text() const { return text_; }
  // The view measures: a new text or size restarts the scroller.
  void SetWidths(int textWidth, int controlWidth);
  TextScroller& Scroller() { return scroller_; }
  // One main tick of the scroller; repaints when it moved.
  void Tick();

 private:
  std::string text_;
  TextScroller scroller_;
};
