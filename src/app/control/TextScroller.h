#pragma once
// A text wider than its display scrolls: it runs left until its end shows, rests, runs back to
// its start, rests, and after two such passes stops until the text changes or the user presses
// the display. One step per main tick.
//
// Threads: GUI thread only.

class TextScroller {
 public:
  static constexpr int kPasses = 2;

  void Enable(bool on, int step = 1, int pauseTicks = 20);
  bool Enabled() const { return enabled_; }
  // A new text or a new size: starts over from the rest position (scrolling only when the
  // text does not fit).
  void Restart(int textWidth, int controlWidth);
  // A press on a stopped display runs it again.
  void Press();
  // One tick; true when the offset changed.
  bool Tick();

  int Offset() const { return offset_; }  // x of the text's left edge, 0 or less
  bool Scrolling() const { return scrolling_; }
  bool Pausing() const { return pauseCount_ >= 0; }

 private:
  bool enabled_ = false, scrolling_ = false;
  int step_ = 1, pauseLength_ = 20;
  int offset_ = 0, direction_ = -1, passes_ = 0, pauseCount_ = -1;
  int textWidth_ = 0, controlWidth_ = 0;
};
