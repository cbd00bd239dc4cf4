#include "audio/FaderLaw.h"

#include <algorithm>
#include <cmath>

namespace {

// b^e by repeated squaring in float: the law's figures depend on this rounding.
float PowerBySquaring(float base, int exponent) {
  float result = 1.0f;
  while (exponent > 0) {
    if (exponent & 1) result *= base;
    base *= base;
    exponent >>= 1;
  }
  return result;
}

}  // namespace

float FaderLawDb(int position, int steps) {
  if (steps < 2) return 0.0f;
  if (position >= steps - 1) return 0.0f;
  if (position <= 0) return -320.0f;
  float base = static_cast<float>(std::pow(91.0, 1.0 / (steps - 1)));
  return -(PowerBySquaring(base, steps - position - 1) - 1.0f);
}

float DbToGain(float db) { return db > -318.8f ? std::pow(10.0f, db * 0.05f) : 0.0f; }

float FaderLawGain(int position, int steps) {
  if (steps >= 2 && position >= steps - 1) return 1.0f;
  return DbToGain(FaderLawDb(position, steps));
}

float CrossfaderBase(int curve, int steps) {
  int span = steps - curve - 1;
  return span > 0 ? static_cast<float>(std::pow(91.0, 1.0 / span)) : 91.0f;
}

float CrossfaderSideGain(int position, int steps, int curve, float base, int side) {
  if (curve == -1) {
    bool leftHalf = position < steps / 2;
    return (side == 0) == leftHalf ? 1.0f : 0.0f;
  }
  // The right side is the left side seen from the other end.
  int travel = side == 0 ? position : steps - position - 1;
  int past = std::max(travel - curve, 0);
  if (past == 0) return 1.0f;
  if (travel >= steps - 1) return 0.0f;
  return DbToGain(-(PowerBySquaring(base, past) - 1.0f));
}
