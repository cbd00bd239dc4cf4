#include "analysis/GainAnalyzer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

// Pink-ish program material: a few seconds of filtered noise plus a tone, at full-scale 32768.
std::vector<float> Music(double scale, int seconds = 5) {
  std::mt19937 random(7);
  std::normal_distribution<float> noise(0.0f, 1.0f);
  std::vector<float> out(static_cast<size_t>(44100 * seconds));
  float low = 0.0f;
  for (size_t i = 0; i < out.size(); ++i) {
    low = 0.97f * low + 0.03f * noise(random);
    out[i] = static_cast<float>(scale * (3000.0 * low + 2000.0 * std::sin(2 * M_PI * 440.0 * i / 44100.0)));
  }
  return out;
}

double GainOf(ZQGainAnalyzer& analyzer, const std::vector<float>& left, const std::vector<float>& right, int channels) {
  EXPECT_EQ(analyzer.Init(44100), 1);
  EXPECT_EQ(analyzer.Analyze(left.data(), right.data(), static_cast<int>(left.size()), channels), 1);
  return analyzer.GetResult();
}

TEST(GainAnalyzer, SixDecibelsMoreInputGivesSixDecibelsLessGain) {
  ZQGainAnalyzer analyzer;
  const auto quiet = Music(1.0);
  const auto loud = Music(std::pow(10.0, 6.0 / 20.0));
  const double a = GainOf(analyzer, quiet, quiet, 2);
  const double b = GainOf(analyzer, loud, loud, 2);
  // The histogram has 0.01 dB buckets: one bucket of rounding either way.
  EXPECT_NEAR(b - a, -6.0, 0.01);
  EXPECT_GT(a, -30.0);
  EXPECT_LT(a, 30.0);
}

TEST(GainAnalyzer, OneKilohertzAtMinusSixDecibelsMatchesMp3gain) {
  // mp3gain 1.6.2 recommends -8.17 dB for ten seconds of a 1 kHz sine at -6 dBFS (sox synth, lame
  // -b 320, mp3gain -s s). A swapped or mistyped coefficient row of the loudness filter moves
  // this by whole decibels; 0.1 dB allows for the MP3 round trip of the reference figure.
  const size_t count = 44100 * 10;
  std::vector<float> sine(count);
  for (size_t i = 0; i < count; ++i) {
    sine[i] = static_cast<float>(0.501187 * 32768.0 * std::sin(2 * M_PI * 1000.0 * i / 44100.0));
  }
  ZQGainAnalyzer analyzer;
  EXPECT_NEAR(GainOf(analyzer, sine, sine, 2), -8.17, 0.1);
}

TEST(GainAnalyzer, MonoEqualsTheSameSignalOnBothSidesAndSongsAreIndependent) {
  ZQGainAnalyzer analyzer;
  const auto music = Music(1.0);
  const double stereo = GainOf(analyzer, music, music, 2);
  const double mono = GainOf(analyzer, music, {}, 1);
  EXPECT_NEAR(mono, stereo, 1e-9);
  // Feeding in pieces that cut windows anywhere changes nothing.
  analyzer.Init(44100);
  for (size_t at = 0; at < music.size(); at += 1001) {
    const int count = static_cast<int>(std::min<size_t>(1001, music.size() - at));
    analyzer.Analyze(music.data() + at, nullptr, count, 1);
  }
  EXPECT_NEAR(analyzer.GetResult(), mono, 0.011);
  uint64_t windows = 0;
  for (uint32_t n : analyzer.albumHistogram()) windows += n;
  EXPECT_EQ(windows, 3u * (music.size() / 2205)) << "the album keeps every song";
}

TEST(GainAnalyzer, SilenceAndTooLittleAudioHaveNoGain) {
  ZQGainAnalyzer analyzer;
  const std::vector<float> silence(44100 * 2, 0.0f);
  EXPECT_EQ(GainOf(analyzer, silence, silence, 2), ZQGainAnalyzer::kNoGain);
  const std::vector<float> short40ms(1764, 1000.0f);
  EXPECT_EQ(GainOf(analyzer, short40ms, short40ms, 2), ZQGainAnalyzer::kNoGain);
  EXPECT_EQ(analyzer.Init(44000), 0);
  EXPECT_EQ(analyzer.Init(48000), 1);
  EXPECT_EQ(analyzer.Analyze(silence.data(), silence.data(), 10, 3), 0);
  EXPECT_EQ(analyzer.Analyze(silence.data(), silence.data(), 0, 2), 1);
}

}  // namespace
