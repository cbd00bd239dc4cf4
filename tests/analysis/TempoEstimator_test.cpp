// The tempo a DJ counts, through the path a song takes: a WAV file analysed by the track pass,
// its record and stripe. Plus the least-squares measurement from marks and the range setting.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <vector>

#include "AnalysisFixture.h"
#include "SuiteScoring.h"
#include "SyntheticTrack.h"
#include "analysis/StripeMarks.h"
#include "analysis/TempoGrid.h"
#include "analysis/TrackAnalyzer.h"
#include "app/base/Realtime.h"
#include "support/AllocationCounter.h"

namespace {

class TempoTest : public AnalysisFixture {
 protected:
  void TearDown() override {
    SetPreferredTempoRange(TempoRange::kAuto);
    AnalysisFixture::TearDown();
  }
  TrackAnalysis Analyse(const std::vector<short>& stereo, const std::string& name) {
    const std::string path = PathOf(name);
    EXPECT_TRUE(WriteWav(path, stereo));
    TrackAnalysis result;
    EXPECT_EQ(analyzer.Analyze(path, result), AnalysisOutcome::kDone);
    std::filesystem::remove(path);
    return result;
  }
  int Marks() const {
    int marks = 0;
    for (float v : analyzer.stripe()) marks += IsMarked(v);
    return marks;
  }
  static SyntheticRecipe Recipe(double bpm, double seconds, DrumFeel feel = DrumFeel::kStraight) {
    SyntheticRecipe recipe;
    recipe.bpm = bpm;
    recipe.seconds = seconds;
    recipe.feel = feel;
    return recipe;
  }

  CTrackAnalyzer analyzer;
};

// The landed detector searched 76..150 only, so 174 read 87; the range setting folds it back.
TEST_F(TempoTest, FastTempoReadsAsPlayedAndFoldsIntoAPreferredRange) {
  const auto track = MakeSyntheticTrack(Recipe(174.0, 40.0));
  EXPECT_NEAR(Analyse(track.stereo, "dnb.wav").bpm, 174.0, 0.1);
  SetPreferredTempoRange(TempoRange::k60to120);
  EXPECT_NEAR(Analyse(track.stereo, "dnb.wav").bpm, 87.0, 0.1);
  TSongRecord record;
  ASSERT_EQ(FindSong("dnb.wav", record), 1);
  EXPECT_NEAR(record.bpm, 87.0f, 0.1f);
  EXPECT_GE(record.bpmConfidence, 0.5f) << "a steady kick is a confident tempo";
}

TEST_F(TempoTest, ATwelveEightShuffleReadsItsBeatNotItsTriplets) {
  const auto track = MakeSyntheticTrack(Recipe(96.0, 40.0, DrumFeel::kShuffle));
  EXPECT_NEAR(Analyse(track.stereo, "shuffle.wav").bpm, 96.0, 0.2);
  // Fast, the triplet grid's strongest period is two thirds of the beat, an octave family that
  // holds 60 but not 180: the kicks on every third of 60 send it up.
  const auto fast = MakeSyntheticTrack(Recipe(180.0, 40.0, DrumFeel::kShuffle));
  EXPECT_NEAR(Analyse(fast.stereo, "fast shuffle.wav").bpm, 180.0, 0.3);
}

// Kick on one, snare on three, hats on every beat: the groove moves at half the tempo a DJ
// counts. Read at half it was, for every such track; at the tempo of dubstep and of a slow one.
// The marks must sit on the beats too: the stripe's low band hears mostly the bass line on the
// off-beats there, and a walk that followed it put every mark half a beat late.
TEST_F(TempoTest, HalfTimeDrumsReadTheTempoTheHatsKeepAndMarkItsBeats) {
  for (double bpm : {140.0, 84.0}) {
    SyntheticRecipe recipe = Recipe(bpm, 40.0, DrumFeel::kHalfTime);
    recipe.keyRoot = 10;  // a bass in B flat: its second harmonic is loud in the stripe's band
    const auto track = MakeSyntheticTrack(recipe);
    EXPECT_NEAR(Analyse(track.stereo, "half-time.wav").bpm, bpm, 0.3);
    EXPECT_GE(BeatMarkHitRate(analyzer.stripe(), track.beatTimes, 40.0, 70.0), 0.9) << bpm;
    EXPECT_LE(Marks(), static_cast<int>(track.beatTimes.size() * 11 / 10)) << "one mark a beat";
  }
}

// A 12/8 shuffle that slows by 4 % half-way, from the evaluation set: the beat's phase is found
// over 20 s, and at the track's one tempo a fold across the step smeared, so the walk started on
// the wrong phase and half the marks missed.
TEST_F(TempoTest, MarksFollowATempoStep) {
  const SyntheticRecipe recipe = TempoEvaluationSet(118, 40.0)[117];
  ASSERT_GT(recipe.secondBpm, 0.0);
  const auto track = MakeSyntheticTrack(recipe);
  EXPECT_GT(Analyse(track.stereo, "step.wav").bpm, 0.0f);
  EXPECT_GE(BeatMarkHitRate(analyzer.stripe(), track.beatTimes, recipe.seconds, 70.0), 0.9);
}

// The landed detector gave 30 to 38 s tracks a tempo near 150 whatever they played; a steady
// minute must read close enough that two synced decks do not drift (37 ms a minute at 0.08).
TEST_F(TempoTest, ThirtySecondsReadRightOrNotAtAllAndAMinuteReadsToAHundredth) {
  const float shortTrack = Analyse(MakeSyntheticTrack(Recipe(128.0, 30.0)).stereo, "thirty.wav").bpm;
  EXPECT_TRUE(shortTrack == 0.0f || std::fabs(shortTrack - 128.0f) < 0.05f) << shortTrack;
  EXPECT_NEAR(Analyse(MakeSyntheticTrack(Recipe(128.0, 60.0)).stereo, "minute.wav").bpm, 128.0, 0.01);
}

TEST_F(TempoTest, MusicWithoutABeatGetsNoTempoAndNoGrid) {
  const char* const names[] = {"silence", "pink noise", "sine", "pad of steady partials", "random hits"};
  for (int kind : {0, 1, 2, 3, 4}) {
    // The pad's partials beat against each other at an exact rate for a whole minute.
    const double seconds = kind == 4 ? 15.0 : kind == 3 ? 60.0 : 40.0;
    const TrackAnalysis result = Analyse(MakeBeatless(kind, seconds, 3), "beatless.wav");
    EXPECT_EQ(result.bpm, 0.0f) << names[kind];
    EXPECT_EQ(Marks(), 0) << names[kind];
    EXPECT_LT(result.bpmConfidence, ZQTempoEstimator::kBeatless) << names[kind];
  }
}

TEST(TempoEstimator, FeedingAllocatesNothing) {
  const auto track = MakeSyntheticTrack([] {
    SyntheticRecipe recipe;
    recipe.seconds = 12.0;
    return recipe;
  }());
  std::vector<float> mono(track.stereo.size() / 2);
  for (size_t i = 0; i < mono.size(); ++i) mono[i] = track.stereo[2 * i] / 32768.0f;
  ZQTempoEstimator estimator;
  estimator.Start(12);
  ResetAudioThreadCounts();
  {
    rt::AudioThreadScope scope;
    // Odd pieces, so frames straddle the calls.
    for (size_t at = 0; at < mono.size(); at += 4999) {
      estimator.Feed(mono.data() + at, static_cast<int>(std::min<size_t>(4999, mono.size() - at)));
    }
  }
  EXPECT_EQ(AudioThreadAllocations(), 0u);
  EXPECT_NEAR(estimator.Estimate(TempoRange::kAuto).bpm, 120.0, 2.0);
}

// Marks at a known period with the stripe's rounding: the fit recovers the tempo far below one
// entry's resolution, and a lost stretch does not bend it.
TEST(TempoFromMarks, FitsTheLongestSteadyStretch) {
  const double bpm = 128.0, period = ZQBeatDetector::kLagToBpm / bpm;
  std::vector<float> a(60 * 441, 0.0f);
  for (int k = 0; k < 100; ++k) a[static_cast<size_t>(std::lround(200 + k * period))] += kBeatMark;
  EXPECT_NEAR(TempoFromMarks(a.data(), static_cast<int>(a.size()), 127.5), bpm, 0.005);
  // A stray mark in the middle splits the run; the longer part still gives the tempo.
  a[static_cast<size_t>(std::lround(200 + 30.5 * period))] += kBeatMark;
  EXPECT_NEAR(TempoFromMarks(a.data(), static_cast<int>(a.size()), 128.0), bpm, 0.01);
  std::vector<float> few(60 * 441, 0.0f);
  for (int k = 0; k < 10; ++k) few[static_cast<size_t>(std::lround(200 + k * period))] += kBeatMark;
  EXPECT_EQ(TempoFromMarks(few.data(), static_cast<int>(few.size()), 128.0), 0.0) << "too few marks to measure";
}

TEST(TempoRange, ParsesTheSettingAndFoldsByOctaves) {
  TempoRange range;
  ASSERT_TRUE(ParseTempoRange("70-140", range));
  EXPECT_DOUBLE_EQ(FoldIntoTempoRange(174.0, range), 87.0);
  EXPECT_DOUBLE_EQ(FoldIntoTempoRange(140.0, range), 70.0) << "the top is excluded";
  EXPECT_DOUBLE_EQ(FoldIntoTempoRange(35.0, range), 70.0);
  ASSERT_TRUE(ParseTempoRange("auto", range));
  EXPECT_DOUBLE_EQ(FoldIntoTempoRange(174.0, range), 174.0);
  EXPECT_DOUBLE_EQ(FoldIntoTempoRange(0.0, TempoRange::k100to200), 0.0);
  EXPECT_FALSE(ParseTempoRange("50-100", range));
  EXPECT_FALSE(ParseTempoRange("", range));
}

}  // namespace
