#pragma once
// The BPM dialog's logic without its window: the tempo a DJ taps out, and what each of the
// dialog's modes asks of the beat walk and shows in the tempo field.
//
// Threads: main thread only (the dialog's); no allocation.

#include <cstddef>

#include "analysis/TempoRange.h"

// The dialog's "Mode" choices, in the order they are listed.
enum class BpmDialogMode { kManual, kAuto75to150, kBelow100, kAbove100 };

// The walk's hint for a mode: the typed tempo as a whole number, 0, -1 or -2.
int BpmDialogHint(BpmDialogMode mode, double typedBpm);
// The preferred range an automatic mode stands for (manual input keeps the user's setting).
TempoRange BpmDialogRange(BpmDialogMode mode, TempoRange setting);
// The tempo field's text: " <100 BPM", " >100 BPM", the tempo as "%.2f", or "000.0" when there
// is none. size must be at least 16.
void BpmDialogFieldText(BpmDialogMode mode, double bpm, char* out, size_t size);

// Taps to a tempo. Each tap is a time in seconds from any steady clock; the tempo is the slope
// of a line through the last taps, so one early or late tap moves it little. A pause longer
// than kRestartSeconds starts a new count.
class ZQTapTempo {
 public:
  static constexpr int kMaxTaps = 16;
  static constexpr double kRestartSeconds = 2.0;

  void Tap(double seconds);
  void Reset() { count_ = 0; }
  int taps() const { return count_; }
  // 0 until two taps.
  double bpm() const;

 private:
  double times_[kMaxTaps] = {};
  int count_ = 0;  // taps kept, oldest first
};
