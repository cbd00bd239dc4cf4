#include "analysis/TapTempo.h"

#include <cmath>
#include <cstdio>

int BpmDialogHint(BpmDialogMode mode, double typedBpm) {
  switch (mode) {
    case BpmDialogMode::kManual: return typedBpm > 0.0 ? static_cast<int>(std::lround(typedBpm)) : 0;
    case BpmDialogMode::kAuto75to150: return 0;
    case BpmDialogMode::kBelow100: return -1;
    case BpmDialogMode::kAbove100: return -2;
  }
  return 0;
}

// The ranges fold by octaves, so each mode takes the one its tempi mostly fall in: 75-150 lies
// almost all in 70-140; below 100 in 60-120; above 100 in 100-200.
TempoRange BpmDialogRange(BpmDialogMode mode, TempoRange setting) {
  switch (mode) {
    case BpmDialogMode::kManual: return setting;
    case BpmDialogMode::kAuto75to150: return TempoRange::k70to140;
    case BpmDialogMode::kBelow100: return TempoRange::k60to120;
    case BpmDialogMode::kAbove100: return TempoRange::k100to200;
  }
  return setting;
}

void BpmDialogFieldText(BpmDialogMode mode, double bpm, char* out, size_t size) {
  if (mode == BpmDialogMode::kBelow100) std::snprintf(out, size, " <100 BPM");
  else if (mode == BpmDialogMode::kAbove100) std::snprintf(out, size, " >100 BPM");
  else if (bpm > 0.0 && bpm < 1000.0) std::snprintf(out, size, "%.2f", bpm);
  else std::snprintf(out, size, "000.0");
}

void ZQTapTempo::Tap(double seconds) {
  if (count_ > 0) {
    const double gap = seconds - times_[count_ - 1];
    // A long pause, or a clock that went back, starts a new count.
    if (!(gap > 0.0) || gap > kRestartSeconds) count_ = 0;
  }
  if (count_ == kMaxTaps) {
    for (int i = 1; i < kMaxTaps; ++i) times_[i - 1] = times_[i];
    --count_;
  }
  times_[count_++] = seconds;
}

double ZQTapTempo::bpm() const {
  if (count_ < 2) return 0.0;
  // Least-squares slope of tap time against tap number.
  const double n = count_;
  double sx = 0, sy = 0, sxx = 0, sxy = 0;
  for (int i = 0; i < count_; ++i) {
    const double y = times_[i] - times_[0];
    sx += i, sy += y, sxx += double(i) * i, sxy += i * y;
  }
  const double slope = (n * sxy - sx * sy) / (n * sxx - sx * sx);
  return slope > 0.0 ? 60.0 / slope : 0.0;
}
