#pragma once
// A fader, knob or endless encoder: the value in [min, max] and the mouse, wheel, key and
// controller laws that move it.
//
// Faders follow the pointer along their long side (a vertical fader's top is its maximum);
// the right button is a temporary move that springs back. Knobs turn by relative vertical drag
// (two degrees a pixel, or one for an endless encoder) and by the wheel, never by absolute
// position. A controller's 0..127 maps on to [min, max] with 63 and 64 both the exact centre
// of a bipolar slider.
//
// Threads: GUI thread only.

#include "app/control/ControlModel.h"

class SliderModel : public ControlModel {
 public:
  using ControlModel::ControlModel;
  void HandleEvent(const ControlEvent& event) override;

  // Keeps the current value, clamped into the new range.
  void SetRange(int min, int max);
  int Min() const { return min_; }
  int Max() const { return max_; }
  // The engine or a script sets the value: ignored on a fader while the hand drags it;
  // otherwise stored (when in range) and reported through onPress, and onRelease when final.
  void SetValue(int value, bool final);
  // Shows a value without reporting it (the tick echoing the engine, a seek position).
  void ShowValue(int value);
  int Value() const { return value_; }

  // Geometry from the skin: the control's size and its cursor's size.
  void SetGeometry(int width, int height, int cursorWidth, int cursorHeight);
  void SetKnob(bool knob) { knob_ = knob; }
  bool IsKnob() const { return knob_; }
  void SetContinuous(bool continuous) { continuous_ = continuous; }
  void SetReversed(bool reversed) { reversed_ = reversed; }
  // Degrees of travel; anything below 270 reads as 270.
  void SetRotation(int degrees) { rotation_ = degrees < 270 ? 270 : degrees; }
  int Rotation() const { return rotation_; }
  double Angle() const { return angle_; }
  bool Vertical() const { return height_ > width_; }
  // The cursor's offset along the long side, in pixels from the left (or top).
  int CursorPosition() const;
  bool Dragging() const { return leftDrag_ || rightDrag_; }
  // A drag ended from outside (capture lost): finishes as a left release.
  void CaptureLost();

  // The value a controller's 0..127 gives.
  int ValueOfController(int value) const;

 private:
  bool Bipolar() const { return max_ == -min_ && max_ != 0; }
  int Span() const { return max_ - min_; }
  int Travel() const;  // pixels the cursor can move
  void Report(int value, bool final);
  void StoreValue(int value);  // clamps, sets the angle, repaints
  void FaderPress(int along);
  void FaderMove(int along);
  void KnobMove(int y);
  void ButtonCycle();
  void Step(int direction, int size);

  int min_ = 0, max_ = 100, value_ = 0, savedValue_ = 0;
  int width_ = 0, height_ = 0, cursorWidth_ = 0, cursorHeight_ = 0;
  bool knob_ = false, continuous_ = false, reversed_ = false;
  int rotation_ = 270;
  double angle_ = 0, startAngle_ = 0;
  int startY_ = 0, grabOffset_ = 0;
  bool leftDrag_ = false, rightDrag_ = false;
};
