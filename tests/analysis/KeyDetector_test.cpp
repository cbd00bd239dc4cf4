#include "analysis/KeyDetector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
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

// Sustained sines, 16-bit stereo, summed at the given frequencies and amplitudes.
std::vector<short> Chord(const std::vector<std::pair<double, double>>& tones, double seconds) {
  const size_t frames = static_cast<size_t>(seconds * 44100);
  std::vector<short> out(frames * 2);
  for (size_t i = 0; i < frames; ++i) {
    double v = 0.0;
    for (const auto& [hz, amplitude] : tones) v += amplitude * std::sin(2.0 * M_PI * hz * i / 44100.0);
    out[2 * i] = out[2 * i + 1] = static_cast<short>(std::lround(v * 32767.0));
  }
  return out;
}

TEST(KeyDetector, TheFileUtilityHearsNotesAtTheirPitchWhereThePassHearsThemAnOctaveUp) {
  // A loud C major triad between 4 and 6.3 kHz over a soft F# major triad near 400 Hz. The pass's
  // bank, built for half the rate, reaches 6.6 kHz and hears the C; the file utility's bank
  // ends near 3.3 kHz, so only the F# is left for it.
  TempFolder folder;
  const auto chord = Chord({{4186.0, 0.25}, {5274.0, 0.25}, {6272.0, 0.25}, {370.0, 0.04}, {466.2, 0.04},
                            {554.4, 0.04}},
                           8.0);
  const std::string path = folder.File("two chords.wav");
  ASSERT_TRUE(WriteWav(path, chord));
  const auto fromFile = DetectKey(path.c_str());
  ASSERT_TRUE(fromFile.has_value());
  EXPECT_EQ(KeyText(fromFile->key), "F#");

  ZQKeyDetector pass;
  pass.Start(44100, 8.0);
  pass.FeedSamples(chord.data(), static_cast<int>(chord.size() / 2), 2);
  EXPECT_EQ(KeyText(pass.FinishDetection().key), "C");
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
