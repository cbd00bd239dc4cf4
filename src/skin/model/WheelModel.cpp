#include "skin/model/WheelModel.h"

#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;

double RevolutionsPerMinute(int rpm) { return rpm == 33 ? 100.0 / 3.0 : rpm > 0 ? rpm : 100.0 / 3.0; }

}  // namespace

double WheelPointerAngle(int x, int y, int width, int height) {
  double a = std::atan2(y - height / 2.0, x - width / 2.0);
  if (a < 0) a += 2 * kPi;
  return (2 * kPi - a) * 180.0 / kPi;
}

int WheelDragSamples(double lastAngle, double angle, int rpm) {
  double delta = lastAngle - angle;
  if (delta > 180) delta -= 360;
  if (delta < -180) delta += 360;
  // A degree is 1/360 of a turn; a turn lasts 60/rpm seconds.
  const double seconds = (delta / 6.0) / RevolutionsPerMinute(rpm);
  return static_cast<int>(std::lround(seconds * 44100));
}

double WheelAngleAt(double seconds, int rpm) {
  const double turns = seconds / 60.0 * RevolutionsPerMinute(rpm);
  double angle = (turns - std::floor(turns)) * 360.0;
  return angle >= 360.0 ? 0.0 : angle;
}

int BeatLampX(int index, int elementWidth, int firstOffset, int controlWidth) {
  if (index < 0) return -1;
  const int x = elementWidth * index + firstOffset;
  return x >= 0 && x < controlWidth ? x : -1;
}
