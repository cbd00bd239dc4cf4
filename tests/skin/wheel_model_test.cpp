// The record's arithmetic: hand movement to samples, the picture's angle with the music, and
// which beat lamp lights.
#include <gtest/gtest.h>

#include <cmath>

#include "skin/model/WheelModel.h"

namespace {

// The samples of a drag through `degrees` in motion events of `step` degrees each.
int Drag(double from, double degrees, double step, int rpm) {
  int samples = 0;
  for (double done = 0; done < std::abs(degrees) - 1e-9; done += step) {
    const double a = from - std::copysign(done, degrees), b = from - std::copysign(done + step, degrees);
    samples += WheelDragSamples(std::fmod(a + 720, 360), std::fmod(b + 720, 360), rpm);
  }
  return samples;
}

TEST(WheelModel, HandMovementMovesTheMusicAtRecordSpeed) {
  // 200 degrees of hand movement at 33 1/3 rpm is one second of music, forward when clockwise,
  // whatever the size of the motion events and across the 0/360 line.
  EXPECT_EQ(Drag(100.0, 200.0, 10.0, 33), 44100);
  EXPECT_EQ(Drag(100.0, -200.0, 4.0, 33), -44100);
  // Crossing the 0/360 line is a small step, not a whole turn the other way.
  EXPECT_EQ(WheelDragSamples(2.0, 358.0, 33), 882);
  EXPECT_EQ(WheelDragSamples(358.0, 2.0, 33), -882);
  // At 45 rpm a degree is less music: three quarters of a turn is a second.
  EXPECT_EQ(Drag(10.0, 270.0, 9.0, 45), 44100);
}

TEST(WheelModel, ThePointerAngleTurnsWithTheHand) {
  // A clockwise quarter turn on screen (top to right) is a forward quarter turn of the record.
  const double top = WheelPointerAngle(50, 0, 100, 100);
  const double right = WheelPointerAngle(100, 50, 100, 100);
  EXPECT_NEAR(WheelDragSamples(top, right, 33), 90 / 200.0 * 44100, 1);
}

TEST(WheelModel, ThePictureRunsWithTheMusic) {
  EXPECT_NEAR(WheelAngleAt(1.5, 33), 300.0, 1e-9);
  EXPECT_NEAR(WheelAngleAt(1.8, 33), 0.0, 1e-9);  // a whole turn
  EXPECT_NEAR(WheelAngleAt(-0.5, 33), 260.0, 1e-9) << "reverse play turns it back";
}

TEST(WheelModel, OnlyALampInsideTheControlLights) {
  EXPECT_EQ(BeatLampX(0, 20, 4, 100), 4);
  EXPECT_EQ(BeatLampX(4, 20, 4, 100), 84);
  EXPECT_EQ(BeatLampX(5, 20, 4, 100), -1) << "beyond the width only the up image shows";
  EXPECT_EQ(BeatLampX(-1, 20, 4, 100), -1);
}

}  // namespace
