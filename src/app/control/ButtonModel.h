#pragma once
// A push button or switch: pressed flags for both mouse buttons, hover, the selected (lit)
// state of a switch, and the six looks they select. Every source of input ends in HandleEvent:
// a mouse press, a script's 0x90/0x80 pair, a controller's 0xB0 (press and release at once,
// since controllers send no release), a bound key.
//
// Threads: GUI thread only.

#include "app/control/ControlModel.h"

class ButtonModel : public ControlModel {
 public:
  // The six looks, in the order of the skin's corners.
  enum Look : int { kUp = 0, kOver, kDown, kSelected, kSelectedOver, kSelectedDown };

  using ControlModel::ControlModel;
  void HandleEvent(const ControlEvent& event) override;

  // Forces the lit state from the engine; a plain button (not a switch) stays unlit.
  void SetSelected(bool on);
  // Also clears the lit state.
  void SetIsSwitch(bool on);
  bool IsSwitch() const { return isSwitch_; }
  bool Selected() const { return selected_; }
  // A lamp the engine drives (play, cue, loop): the press does not toggle it and the tick sets
  // it from the engine's state, whatever the skin says about switching.
  void SetEngineLamp(bool on) { engineLamp_ = on; }
  bool EngineLamp() const { return engineLamp_; }
  void SetLamp(bool on);
  // Hover that the pointer leaving does not clear (a button that shows a mode).
  void SetHover(bool on);
  bool Held() const { return leftPressed_ || rightPressed_; }
  bool Hover() const { return hover_; }
  Look CurrentLook() const;

 private:
  void Press(int button);
  void Release(int button);

  bool isSwitch_ = false, selected_ = false;
  bool leftPressed_ = false, rightPressed_ = false;
  bool hover_ = false, hoverLocked_ = false;
  bool engineLamp_ = false;
};
