#pragma once
// The turning record of a deck (`deck_wheel`) and its row of beat lamps (`deck_beatpos`).
//
// The record is the skin's wheel picture (an RGBA image at transparentwheelx/y, the control's
// size) drawn rotated about the centre, antialiased, over the background of its state, with an
// optional cursor dot near the rim. The tick turns it with the deck's position; a hand on it
// scratches: every pointer move becomes the samples the record moved (WheelModel.h), handed to
// onWheelMove, which the binding passes to the deck's relative scratch.
//
// Threads: GUI thread only.

#include <functional>

#include <wx/graphics.h>

#include "skin/SkinControls.h"

class CSpecialWheel : public CZQSkinnedControl {
 public:
  CSpecialWheel(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 13) {}
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;
  void CaptureLost(bool) override;

  // Turns the picture to where a record at `rpm` stands after `seconds` of music.
  void SetWheelPosition(double seconds, int rpm = 33);
  double Angle() const { return angle_; }
  bool Pressed() const { return pressed_; }

  // (samples, x, y, button, logical id, deck): samples are positive forward.
  std::function<void(int, int, int, int, int, int)> onWheelMove;

 private:
  void EndPress(bool captureLost);

  int overx_ = -1, overy_ = -1, downx_ = -1, downy_ = -1;
  int wheelx_ = -1, wheely_ = -1;
  int radius_ = 0, cursorSize_ = 0;
  wxColour cursorColour_, trailColour_;
  wxBitmap wheel_;  // the picture, cut from the skin once per load
  // The same picture in the graphics renderer's own form, so a frame does not convert it again.
  wxGraphicsBitmap wheelPicture_;
  double angle_ = 0, lastPointerAngle_ = 0;
  int rpm_ = 33;
  bool pressed_ = false, hover_ = false;
};

class CSpecialBeatPos : public CZQSkinnedControl {
 public:
  CSpecialBeatPos(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 14) {}
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;

  // Lights lamp `index` (-1 none); repaints only on a change.
  void SetBeatIndex(int index);
  int BeatIndex() const { return index_; }

 private:
  int onx_ = 0, ony_ = 0, elementWidth_ = 0, firstOffset_ = 0;
  int index_ = -1;
  bool hover_ = false;
};
