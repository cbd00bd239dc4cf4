#include "app/control/ButtonModel.h"

#include "app/base/Trace.h"

void ButtonModel::SetSelected(bool on) {
  bool value = on && isSwitch_;
  if (value == selected_) return;
  selected_ = value;
  Changed();
}

void ButtonModel::SetLamp(bool on) {
  if (!engineLamp_ || on == selected_) return;
  selected_ = on;
  Changed();
}

void ButtonModel::SetIsSwitch(bool on) {
  isSwitch_ = on;
  if (!engineLamp_) selected_ = false;
  Changed();
}

void ButtonModel::SetHover(bool on) {
  hover_ = on;
  hoverLocked_ = on;
  Changed();
}

ButtonModel::Look ButtonModel::CurrentLook() const {
  bool held = Held();
  if ((isSwitch_ || engineLamp_) && selected_) return held ? kSelectedDown : hover_ ? kSelectedOver : kSelected;
  return held ? kDown : hover_ ? kOver : kUp;
}

void ButtonModel::Press(int button) {
  if (button == 3) {
    rightPressed_ = true;
    Changed();
    Call(kPressAltSlot, selected_);
    return;
  }
  leftPressed_ = true;
  if (isSwitch_ && !engineLamp_) selected_ = !selected_;
  Changed();
  Call(kPressSlot, selected_);
}

void ButtonModel::Release(int button) {
  bool& pressed = button == 3 ? rightPressed_ : leftPressed_;
  if (!pressed) return;
  pressed = false;
  Changed();
  Call(button == 3 ? kReleaseAltSlot : kReleaseSlot, selected_);
}

void ButtonModel::HandleEvent(const ControlEvent& event) {
  switch (event.kind) {
    case kEventMouseDown:
      if (event.button == 1 || event.button == 3) Press(event.button);
      break;
    case kEventMouseUp:
      if (event.button == 1 || event.button == 3) Release(event.button);
      break;
    case kEventDoubleClick:
      Call(kDoubleClickSlot, selected_);
      break;
    case kEventEnter:
      if (!hoverLocked_ && !hover_) {
        hover_ = true;
        Changed();
      }
      break;
    case kEventLeave:
      if (!hoverLocked_) hover_ = false;
      // Dragging off the button ends the press, with its release.
      if (leftPressed_) Call(kReleaseSlot, selected_, event.deck >= 0 ? event.deck : Deck());
      if (rightPressed_) Call(kReleaseAltSlot, selected_, event.deck >= 0 ? event.deck : Deck());
      leftPressed_ = rightPressed_ = false;
      Changed();
      break;
    case kEventCharacter:
      TraceLine("button mt_CHAR");
      break;
    case kEventMessage:
      if (event.status == 0x90 && event.value > 0) {
        Press(1);
      } else if (event.status == 0x80 || event.status == 0x90) {
        Release(1);
      } else if (event.status == 0xB0) {
        Call(kPressSlot, selected_);
        Call(kReleaseSlot, selected_);
      }
      break;
    case kEventBoundKey:
      if (isSwitch_ && !engineLamp_) selected_ = !selected_;
      Changed();
      Call(kPressSlot, selected_);
      Call(kReleaseSlot, selected_);
      break;
    default:
      break;
  }
}
