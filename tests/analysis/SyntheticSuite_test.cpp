// The analysis against music whose truth is known: thirty one-minute tracks from 70 to 180 BPM,
// in major and minor keys, some swung, some with a tempo step half-way.

#include <gtest/gtest.h>

#include "AnalysisFixture.h"
#include "SuiteScoring.h"
#include "SyntheticTrack.h"
#include "analysis/TrackAnalyzer.h"

namespace {

using SyntheticSuiteTest = AnalysisFixture;

TEST_F(SyntheticSuiteTest, TempoBeatsAndKeyOfThirtyTracks) {
  const auto suite = SyntheticSuite(30, 60.0);
  int inRange = 0, inRangeExact = 0, octaveTolerant = 0;
  double keyScore = 0.0;
  CTrackAnalyzer analyzer;
  for (size_t i = 0; i < suite.size(); ++i) {
    const SyntheticRecipe& recipe = suite[i];
    const SyntheticTrack track = MakeSyntheticTrack(recipe);
    const std::string path = PathOf("suite" + std::to_string(i) + ".wav");
    ASSERT_TRUE(WriteWav(path, track.stereo));
    TrackAnalysis result;
    ASSERT_EQ(analyzer.Analyze(path, result), AnalysisOutcome::kDone);
    std::filesystem::remove(path);

    octaveTolerant += BpmMatches(result.bpm, recipe.bpm, 0.2, true) ||
                      (recipe.secondBpm > 0 && BpmMatches(result.bpm, recipe.secondBpm, 0.2, true));
    keyScore += MirexKeyScore(result.key, recipe.keyRoot, recipe.minor);
    // The search covers 76 to 150 BPM: a steady track inside it must come out within 0.2 BPM,
    // with a mark within 10 ms of nearly every beat.
    if (recipe.secondBpm == 0 && recipe.bpm >= 76 && recipe.bpm <= 150) {
      ++inRange;
      const bool exact = BpmMatches(result.bpm, recipe.bpm, 0.2, false);
      inRangeExact += exact;
      EXPECT_TRUE(exact) << "track " << i << ": " << result.bpm << " for " << recipe.bpm;
      EXPECT_GE(BeatMarkHitRate(analyzer.stripe(), track.beatTimes, recipe.seconds, 10.0), 0.9) << "track " << i;
    }
  }
  EXPECT_EQ(inRangeExact, inRange);
  EXPECT_GE(octaveTolerant, 22) << "beyond the range the tempo may be read as its half or double";
  EXPECT_GE(keyScore / suite.size(), 0.9) << "MIREX-weighted key score";
}

}  // namespace
