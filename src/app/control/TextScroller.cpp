#include "app/control/TextScroller.h"

void TextScroller::Enable(bool on, int step, int pauseTicks) {
  enabled_ = on;
  step_ = step > 0 ? step : 1;
  pauseLength_ = pauseTicks > 0 ? pauseTicks : 0;
  Restart(textWidth_, controlWidth_);
}

void TextScroller::Restart(int textWidth, int controlWidth) {
  textWidth_ = textWidth;
  controlWidth_ = controlWidth;
  offset_ = 0;
  direction_ = -1;
  passes_ = 0;
  pauseCount_ = -1;
  scrolling_ = enabled_ && textWidth_ > controlWidth_;
}

void TextScroller::Press() {
  if (!scrolling_ && enabled_ && textWidth_ > controlWidth_) Restart(textWidth_, controlWidth_);
}

bool TextScroller::Tick() {
  if (!scrolling_) return false;
  if (pauseCount_ >= 0) {
    if (++pauseCount_ < pauseLength_) return false;
    pauseCount_ = -1;
    if (passes_ >= kPasses) {
      scrolling_ = false;  // rests at the start until something changes
      return false;
    }
  }
  offset_ += direction_ * step_;
  const int leftmost = controlWidth_ - textWidth_;
  if (direction_ < 0 && offset_ <= leftmost) {
    offset_ = leftmost;  // the text's last pixel at the display's right edge
    direction_ = 1;
    pauseCount_ = 0;
  } else if (direction_ > 0 && offset_ >= 0) {
    offset_ = 0;
    direction_ = -1;
    ++passes_;
    pauseCount_ = 0;
  }
  return true;
}
