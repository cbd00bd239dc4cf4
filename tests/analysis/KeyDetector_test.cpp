#include "analysis/KeyDetector.h"

#include <gtest/gtest.h>

#include <vector>

#include "SyntheticTrack.h"
#include "support/TestFiles.h"

namespace {

TEST(KeyDetector, FindsTheKeyOfACadenceFromAFileAndFromAStreamInAnyPieces) {
  TempFolder folder;
  SyntheticRecipe recipe;
  recipe.seconds = 20.0;
  recipe.keyRoot = 3;  // C
  recipe.minor = false;
  const SyntheticTrack track = MakeSyntheticTrack(recipe);
  const std::string path = folder.File("c major.wav");
  ASSERT_TRUE(WriteWav(path, track.stereo));
  const auto fromFile = DetectKey(path.c_str());
  ASSERT_TRUE(fromFile.has_value());
  EXPECT_EQ(KeyText(fromFile->key), "C");
  EXPECT_GT(fromFile->accuracy, 0.0);
  EXPECT_LE(fromFile->accuracy, 1.0);

  // Blocks are cut where the detector wants them, whatever pieces the caller feeds.
  ZQKeyDetector detector;
  detector.Start(44100, recipe.seconds);
  const int frames = static_cast<int>(track.stereo.size() / 2);
  for (int at = 0, piece = 1; at < frames; at += piece, piece = piece * 3 % 10007 + 1) {
    detector.FeedSamples(track.stereo.data() + 2 * at, std::min(piece, frames - at), 2);
  }
  std::string text;
  const KeyDetectionResult streamed = detector.FinishDetection(&text, 1);
  EXPECT_EQ(KeyText(streamed.key), "C");
  EXPECT_EQ(KeyText(streamed.secondKey), "C") << "no change of key in the second half";
  EXPECT_EQ(text.rfind("[key: C->C, accuracy: ", 0), 0u) << text;
}

TEST(KeyDetector, SilenceHasNoKeyAndAMissingFileNoResult) {
  ZQKeyDetector detector;
  detector.Start(44100, 5.0);
  const std::vector<float> silence(44100 * 5, 0.0f);
  detector.FeedFloats(silence.data(), 44100 * 5, 1);
  std::string text;
  const KeyDetectionResult result = detector.FinishDetection(&text, 0);
  EXPECT_FALSE(result.key.known());
  EXPECT_DOUBLE_EQ(result.accuracy, 0.01);
  EXPECT_EQ(text, "0.010000");
  EXPECT_FALSE(DetectKey("/nonexistent/file.wav").has_value());
}

}  // namespace
