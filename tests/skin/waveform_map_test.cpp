// The sound display's mapping from stripe entries to pixel columns, its zoom and orientation,
// the placement of cue and loop lines, and the beat clock read from the stripe's marks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "analysis/StripeMarks.h"
#include "skin/model/WaveformMap.h"

namespace {

constexpr double kEntriesPerSecond = 441.0;
constexpr double kBeatAt120 = kEntriesPerSecond * 60.0 / 120.0;  // 220.5 entries

// A loud low band with a mark on every beat, starting at `firstBeat`.
std::vector<float> MarkedStripe(int seconds, double beat, double firstBeat = 10.0) {
  std::vector<float> stripe(static_cast<size_t>(seconds * kEntriesPerSecond));
  for (size_t i = 0; i < stripe.size(); ++i) stripe[i] = 0.6f * static_cast<float>(std::sin(i * 0.3));
  for (double at = firstBeat; at < stripe.size(); at += beat) stripe[static_cast<size_t>(at)] += kBeatMark;
  return stripe;
}

std::vector<int> BeatColumns(const WaveformMap& map) {
  std::vector<int> columns;
  for (size_t p = 0; p < map.Kinds().size(); ++p) {
    if (map.Kinds()[p] == WaveColumn::kBeat) columns.push_back(static_cast<int>(p));
  }
  return columns;
}

TEST(WaveformMap, BeatsOf120BpmOpenGapsAtTheBeatSpacingAtEveryZoom) {
  std::vector<float> stripe = MarkedStripe(60, kBeatAt120);
  for (int zoom : {1, 2, 4, 8}) {
    WaveformMap map;
    map.SetGeometry(1200, 80, -1);
    map.SetZoom(zoom);
    map.MapColumns(20 * kEntriesPerSecond + 0.37, stripe.data(), static_cast<int>(stripe.size()));
    std::vector<int> gaps = BeatColumns(map);
    const double spacing = kBeatAt120 / zoom;
    ASSERT_GE(gaps.size(), 4u) << "zoom " << zoom;
    for (size_t i = 1; i < gaps.size(); ++i) {
      // Marks sit on whole entries, columns on a grid of whole columns: one pixel either way.
      EXPECT_NEAR(gaps[i] - gaps[i - 1], spacing, 1.0) << "zoom " << zoom << " gap " << i;
    }
    // Between the gaps the wave is drawn, not left empty.
    float loudest = 0.0f;
    for (int p = gaps[0] + 1; p < gaps[0] + 6; ++p) loudest = std::max(loudest, map.Amplitudes()[p]);
    EXPECT_GT(loudest, 0.3f) << "zoom " << zoom;
  }
}

TEST(WaveformMap, AdjacentMarksLeaveOneGap) {
  std::vector<float> stripe(2000, 0.5f);
  stripe[1000] += kBeatMark;
  stripe[1001] += kAnchorMark;  // two marked entries, two neighbouring columns at one entry each
  WaveformMap map;
  map.SetGeometry(400, 60, 200);
  map.SetZoom(1);
  map.MapColumns(1000.0, stripe.data(), 2000);
  EXPECT_EQ(BeatColumns(map), std::vector<int>{200});
  EXPECT_FLOAT_EQ(map.Amplitudes()[201], 0.5f);  // the second mark draws its signal

  // At a scale finer than an entry one mark spreads over four columns: still one gap.
  map.SetStep(0.25);
  map.MapColumns(1000.0, stripe.data(), 2000);
  EXPECT_EQ(BeatColumns(map).size(), 1u);
}

TEST(WaveformMap, ZoomClampsAndATallControlIsVertical) {
  WaveformMap map;
  map.SetZoom(16);
  EXPECT_EQ(map.Zoom(1), 16);
  map.SetZoom(1);
  EXPECT_EQ(map.Zoom(2), 1);
  EXPECT_EQ(map.Zoom(5), 1);  // the right button is not a zoom step
  map.SetGeometry(100, 300, -1);
  EXPECT_TRUE(map.Geometry().vertical);
  EXPECT_EQ(map.Geometry().longSide, 300);
  EXPECT_EQ(map.Geometry().cursorPos, 100);  // one third of the long side
  map.SetGeometry(600, 60, 600);             // a cursor past the end: one third as well
  EXPECT_FALSE(map.Geometry().vertical);
  EXPECT_EQ(map.Geometry().cursorPos, 200);
}

TEST(WaveformMap, ColumnsBeyondTheSongOrWithGarbageDrawSafely) {
  std::vector<float> stripe(1000, 0.8f);
  stripe[500] = std::nanf("");
  stripe[501] = 1e30f;  // neither becomes a beat
  stripe[502] = -3.0f;  // a loud signal is clamped to the full height
  WaveformMap map;
  map.SetGeometry(300, 40, 100);
  map.SetZoom(1);
  map.MapColumns(0.0, stripe.data(), 1000);
  EXPECT_EQ(map.Kinds()[99], WaveColumn::kOutside);
  EXPECT_EQ(map.Kinds()[100], WaveColumn::kSignal);
  EXPECT_FLOAT_EQ(map.Amplitudes()[100], 0.8f);
  map.MapColumns(500.0, stripe.data(), 1000);
  EXPECT_TRUE(BeatColumns(map).empty());
  EXPECT_FLOAT_EQ(map.Amplitudes()[102], 1.0f);
  map.MapColumns(990.0, stripe.data(), 1000);  // the end passes under the cursor
  EXPECT_EQ(map.Kinds()[109], WaveColumn::kSignal);
  EXPECT_EQ(map.Kinds()[110], WaveColumn::kOutside);
  map.MapColumns(500.0, nullptr, 1000);  // no stripe yet
  EXPECT_EQ(std::count(map.Kinds().begin(), map.Kinds().end(), WaveColumn::kOutside), 300);
}

TEST(WaveformMap, CueAndLoopLinesStandWhereTheirEntriesScrollTo) {
  std::vector<float> stripe(10000, 0.3f);
  WaveformMap map;
  map.SetGeometry(800, 60, 200);
  map.SetZoom(4);  // four entries a column
  map.MapColumns(5000.0, stripe.data(), 10000);
  EXPECT_EQ(map.PixelOf(5000.0), 200);       // the play position is under the cursor
  EXPECT_EQ(map.PixelOf(5000.0 + 40), 210);  // a loop end 40 entries ahead: ten columns right
  EXPECT_EQ(map.PixelOf(5000.0 - 400), 100);  // a cue behind
  EXPECT_EQ(map.PixelOf(5000.0 - 801), -1);  // scrolled off the left
  EXPECT_EQ(map.PixelOf(5000.0 + 2400), -1);

  // Moving on by exactly one column's worth moves a fixed cue one column left, and the wave
  // with it, so neither shimmers while the deck plays.
  const int before = map.PixelOf(4600.0);
  stripe[4999] = 0.9f;
  map.MapColumns(5000.0, stripe.data(), 10000);
  const int loudColumn = 199;
  EXPECT_FLOAT_EQ(map.Amplitudes()[loudColumn], 0.9f);
  map.MapColumns(5004.0, stripe.data(), 10000);
  EXPECT_EQ(map.PixelOf(4600.0), before - 1);
  EXPECT_FLOAT_EQ(map.Amplitudes()[loudColumn - 1], 0.9f);
}

TEST(BeatClock, FractionBarAndPhaseComeFromTheMarks) {
  std::vector<float> stripe = MarkedStripe(30, 200.0, 50.0);  // marks at 50, 250, 450...
  const int length = static_cast<int>(stripe.size());
  BeatSpan span;
  ASSERT_TRUE(FindBeatAround(stripe.data(), length, 1100.0, &span));
  EXPECT_DOUBLE_EQ(span.fraction, 0.25);  // between the marks at 1050 and 1250
  EXPECT_EQ(BeatOfBar(span, FirstMark(stripe.data(), length)), 1);  // the sixth beat: second of its bar
  ASSERT_TRUE(FindBeatAround(stripe.data(), length, 1250.0, &span));
  EXPECT_EQ(BeatOfBar(span, 50), 2);  // standing on a mark starts its beat
  // Before the first mark, or with marks further apart than the reach, there is no beat.
  EXPECT_FALSE(FindBeatAround(stripe.data(), length, 20.0, &span));
  EXPECT_FALSE(FindBeatAround(stripe.data(), length, 1100.0, &span, 40));

  EXPECT_NEAR(BeatPhaseDifference(0.9, 0.1), -0.2, 1e-12);  // the other deck is just past a beat
  EXPECT_NEAR(BeatPhaseDifference(0.1, 0.9), 0.2, 1e-12);
  EXPECT_NEAR(BeatPhaseDifference(0.75, 0.25), -0.5, 1e-12);
  EXPECT_EQ(BeatDifferencePixels(-0.25), -10);
  EXPECT_EQ(BeatDifferencePixels(3.0), 20);  // never outside the box
}

}  // namespace
