#pragma once
// What a VU meter lights, without a toolkit: the 24 decibel steps of the bitmap meter, the
// percent scale of the drawn meter, and the fall and peak hold both share.
//
// Threads: GUI thread (the main tick). No allocation.

constexpr int kVuStepCount = 24;

// The step a level in dB lights up to: the last threshold below it (-48, -40 ... 8.5, 10 dB),
// 23 above 10 dB, -1 (nothing lit) at -48 dB and below.
int VuStepOf(float decibels);

// The drawn meter's scale: -48 dB is empty, +10 dB full, linear in dB between, so that 0 dB
// stands at about five sixths of the height, where the mixer's headroom starts.
float VuPercentOfDb(float decibels);

// A level that jumps up at once and falls at most `fall` units a paint, with a peak held for
// 50 paints before it drops to the level.
class VuBallistics {
 public:
  static constexpr int kPeakHoldPaints = 50;
  explicit VuBallistics(int fall = 1) : fall_(fall) {}
  void Push(int target);
  int Level() const { return level_; }
  int Peak() const { return peak_; }
  void Reset(int floor);

 private:
  int fall_;
  int level_ = -1;
  int peak_ = -1;
  int hold_ = 0;
};
