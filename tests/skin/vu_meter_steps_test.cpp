// What a VU meter lights for a level, and how the light falls and the peak holds.
#include <gtest/gtest.h>

#include <cmath>

#include "skin/model/VuMeterSteps.h"

namespace {

TEST(VuMeterSteps, StepIsTheLastThresholdBelowTheLevel) {
  EXPECT_EQ(VuStepOf(-318.7f), -1);  // the mixer's silence
  EXPECT_EQ(VuStepOf(-48.0f), -1);   // a threshold is passed only when exceeded
  EXPECT_EQ(VuStepOf(-9.0f), 7);     // above -10, not above -8.5
  EXPECT_EQ(VuStepOf(0.1f), 15);
  EXPECT_EQ(VuStepOf(24.0f), 23);
  EXPECT_EQ(VuStepOf(std::nanf("")), -1);
  EXPECT_NEAR(VuPercentOfDb(0.0f), 82.8f, 0.1f);
}

TEST(VuMeterSteps, LevelJumpsUpFallsOneStepAPaintAndThePeakHolds) {
  VuBallistics meter(1);
  meter.Reset(-1);
  meter.Push(20);
  EXPECT_EQ(meter.Level(), 20);
  EXPECT_EQ(meter.Peak(), 20);
  for (int paint = 1; paint < VuBallistics::kPeakHoldPaints; ++paint) {
    meter.Push(-1);
    ASSERT_EQ(meter.Level(), std::max(-1, 20 - paint)) << paint;
    ASSERT_EQ(meter.Peak(), 20) << "the peak holds for 50 paints, paint " << paint;
  }
  meter.Push(-1);
  EXPECT_EQ(meter.Peak(), meter.Level());  // then it drops to the level
  meter.Push(5);
  meter.Push(3);
  EXPECT_EQ(meter.Level(), 4);  // a drop of two falls by one
}

}  // namespace
