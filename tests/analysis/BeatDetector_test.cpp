#include "analysis/BeatDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "analysis/StripeMarks.h"

namespace {

// A stripe of a kick-like low band: a decaying burst at every beat.
std::vector<float> ClickStripe(double bpm, int seconds) {
  std::vector<float> a(static_cast<size_t>(seconds) * 441 + 1, 0.0f);
  for (double t = 0.25; t < seconds; t += 60.0 / bpm) {
    const int at = static_cast<int>(std::lround(t * 441));
    for (int k = 0; k < 40 && at + k < seconds * 441; ++k) {
      a[static_cast<size_t>(at + k)] = static_cast<float>(0.8 * std::exp(-k / 8.0) * std::sin(k * 0.9));
    }
  }
  return a;
}

int Marks(const std::vector<float>& a) {
  int marks = 0;
  for (float v : a) marks += IsMarked(v);
  return marks;
}

float Detect(std::vector<float>& a, int seconds, int hint, ZQBeatDetector& detector) {
  std::vector<float> b(a.size(), 0.0f);
  return detector.DetectBpm(static_cast<int>(a.size()) - 1, a.data(), b.data(), seconds, hint);
}

TEST(BeatDetector, ClickTrackGivesItsTempoAndOneMarkPerBeat) {
  ZQBeatDetector detector;
  auto a = ClickStripe(120.0, 60);
  const float bpm = Detect(a, 60, 0, detector);
  EXPECT_NEAR(bpm, 120.0, 0.2);
  // 120 beats in a minute, a few lost at the two ends where the walk stops short.
  EXPECT_NEAR(Marks(a), 119, 4);
  for (float v : a) EXPECT_LT(v, 60.0f) << "no anchor or reserved marks on a steady track";
}

TEST(BeatDetector, ShortSilentAndBeatlessTracksGetNoTempoAndNoMarks) {
  ZQBeatDetector detector;
  auto nine = ClickStripe(120.0, 9);
  EXPECT_EQ(Detect(nine, 9, 0, detector), 0.0f);
  EXPECT_EQ(Marks(nine), 0);
  std::vector<float> silence(30 * 441 + 1, 0.0f);
  EXPECT_EQ(Detect(silence, 30, 0, detector), 0.0f);
  EXPECT_EQ(Marks(silence), 0);
  // A constant rises only where it starts: nothing repeats across the track.
  std::vector<float> hum(60 * 441 + 1, 0.3f);
  EXPECT_EQ(Detect(hum, 60, 0, detector), 0.0f);
  EXPECT_EQ(Marks(hum), 0);
}

TEST(BeatDetector, HintsSelectTheRangeAndManualHintsAreHeldInside) {
  ZQBeatDetector detector;
  auto a = ClickStripe(100.0, 40);
  EXPECT_NEAR(Detect(a, 40, -1, detector), 100.0, 0.5);
  a = ClickStripe(100.0, 40);
  const float high = Detect(a, 40, -2, detector);
  EXPECT_GE(high, 100.0f) << "100 lies below the range of hint -2";
  // Fast manual tempi are taken as typed up to 298.
  for (double fast : {230.0, 298.0}) {
    a = ClickStripe(fast, 40);
    EXPECT_NEAR(Detect(a, 40, static_cast<int>(fast), detector), fast, 1.0) << fast;
  }
  for (int hint : {1, 2, 20, 56, 195, 299, 400, 100000, -7}) {
    a = ClickStripe(100.0, 40);
    const float bpm = Detect(a, 40, hint, detector);
    EXPECT_TRUE(std::isfinite(bpm)) << hint;
    EXPECT_LE(bpm, 400.0f) << hint;
  }
}

TEST(BeatDetector, MarksAreMovedThirtyThreeEntriesEarlier) {
  ZQBeatDetector detector;
  auto a = ClickStripe(120.0, 30);
  const auto original = a;
  Detect(a, 30, 0, detector);
  for (size_t i = 0; i + 33 < a.size(); ++i) {
    if (IsMarked(a[i])) {
      EXPECT_NEAR(WithoutMark(a[i]), original[i + 33], 1e-5) << "the marked entry carries the later signal";
    }
  }
}

}  // namespace
