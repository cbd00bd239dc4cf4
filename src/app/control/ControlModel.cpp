#include "app/control/ControlModel.h"

void TextModel::SetText(const std::string& text) {
  if (text == text_) return;
  text_ = text;
  Changed();
}

void TextModel::SetWidths(int textWidth, int controlWidth) { scroller_.Restart(textWidth, controlWidth); }

void TextModel::Tick() {
  if (scroller_.Tick()) Changed();
}

void TextModel::HandleEvent(const ControlEvent& event) {
  if (event.kind != kEventMouseDown && event.kind != kEventMouseUp) return;
  if (event.kind == kEventMouseDown) scroller_.Press();
  bool alt = event.button == 3;
  if (event.kind == kEventMouseDown) Call(alt ? kPressAltSlot : kPressSlot, -1);
  else Call(alt ? kReleaseAltSlot : kReleaseSlot, -1);
}
