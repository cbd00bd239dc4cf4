#include "app/control/ControlModel.h"

void TextModel::SetText(const std::string& text) {
  if (text == text_) return;
  text_ = text;
  Changed();
}

void TextModel::HandleEvent(const ControlEvent& event) {
  if (event.kind != kEventMouseDown && event.kind != kEventMouseUp) return;
  bool alt = event.button == 3;
  if (event.kind == kEventMouseDown) Call(alt ? kPressAltSlot : kPressSlot, -1);
  else Call(alt ? kReleaseAltSlot : kReleaseSlot, -1);
}
