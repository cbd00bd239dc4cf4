#include "skin/ImageControl.h"

#include <algorithm>

void CZQImageControl::LoadAttributes(SkinAttributeList& list) {
  frames_ = std::max(1, list.GetInt("frames"));
  frame_ = std::min(frame_, frames_ - 1);
  held_ = 0;
  hover_ = false;
  CZQSkinnedControl::LoadAttributes(list);
}

void CZQImageControl::SetFrame(int frame) {
  frame = std::clamp(frame, 0, frames_ - 1);
  if (frame == frame_) return;
  frame_ = frame;
  Repaint();
}

void CZQImageControl::PaintControl() {
  if (!BlitFromSkin(upx_ + frame_ * ControlWidth(), upy_)) PaintBackground(upx_, upy_, backColour_, backColour_);
}

void CZQImageControl::Release(int button) {
  if (held_ != button) return;
  held_ = 0;
  const ControlCallback& callback = button == 3 ? onReleaseAlt : onRelease;
  if (callback) callback(-1, LogicalId(), Deck());
}

void CZQImageControl::HandleEvent(const ControlEvent& event) {
  switch (event.kind) {
    case kEventMouseDown:
      if (event.button != 1 && event.button != 3) break;
      held_ = event.button;
      if (const ControlCallback& press = event.button == 3 ? onPressAlt : onPress) press(-1, LogicalId(), Deck());
      break;
    case kEventMouseUp:
      Release(event.button);
      break;
    case kEventEnter:
      hover_ = true;
      if (onSpare1) onSpare1(1, LogicalId(), Deck());
      break;
    case kEventLeave:
      // A drag off the image ends the press, so nothing stays held down.
      if (held_) Release(held_);
      hover_ = false;
      if (onSpare1) onSpare1(0, LogicalId(), Deck());
      break;
    default:
      break;
  }
}
