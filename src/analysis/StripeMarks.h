#pragma once
// Beat marks live inside the stripe: a mark is a constant added to the entry's signal, which is
// always far below 5 in magnitude, so the bands never overlap.
//   50..60 ordinary beat (55), 60..70 a beat that re-anchors the grid after a lost stretch (65),
//   70..80 reserved (75): read and removed everywhere, never written by the walk.

#include <cmath>

constexpr float kBeatMark = 55.0f;
constexpr float kAnchorMark = 65.0f;
constexpr float kReservedMark = 75.0f;
// Largest magnitude a stripe value may have: the top of the reserved band. Anything beyond,
// and NaN, is garbage and reads as 0, so it can never turn into a beat mark.
constexpr float kStripeLimit = 80.0f;

// The mark carried by a value (bounds open on both sides), 0 for none.
inline float MarkOf(float value) {
  if (value > 50.0f && value < 60.0f) return kBeatMark;
  if (value > 60.0f && value < 70.0f) return kAnchorMark;
  if (value > 70.0f && value < 80.0f) return kReservedMark;
  return 0.0f;
}
inline bool IsMarked(float value) { return value > 50.0f; }
inline float WithoutMark(float value) { return value - MarkOf(value); }
inline float SaneStripeValue(float value) {
  return (std::isnan(value) || std::fabs(value) >= kStripeLimit) ? 0.0f : value;
}
