#include "skin/model/VuMeterSteps.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kThresholds[kVuStepCount] = {-48, -40, -35, -30, -25, -20, -15, -10, -8.5f, -7, -5.5f, -4,
                                             -3,  -2,  -1,  0,   1,   2,   3,   4,   5.5f,  7,  8.5f,  10};
constexpr float kEmptyDb = -48.0f;
constexpr float kFullDb = 10.0f;

}  // namespace

int VuStepOf(float decibels) {
  if (std::isnan(decibels)) return -1;
  int step = -1;
  for (int i = 0; i < kVuStepCount && kThresholds[i] < decibels; ++i) step = i;
  return step;
}

float VuPercentOfDb(float decibels) {
  if (std::isnan(decibels)) return 0.0f;
  return std::clamp((decibels - kEmptyDb) * 100.0f / (kFullDb - kEmptyDb), 0.0f, 100.0f);
}

void VuBallistics::Push(int target) {
  level_ = std::max(target, level_ - fall_);
  if (level_ >= peak_) {
    peak_ = level_;
    hold_ = kPeakHoldPaints;
  } else if (--hold_ <= 0) {
    peak_ = level_;
    hold_ = kPeakHoldPaints;
  }
}

void VuBallistics::Reset(int floor) {
  level_ = peak_ = floor;
  hold_ = 0;
}
