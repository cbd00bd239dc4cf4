// The beat-locked modulators and delays heard through their cores: where echoes land, how far
// and how fast the flanger sweeps, which channel the phaser delays, how reverb clips and dies
// away, and that a tempo change never makes the modulation jump.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "EffectSignals.h"
#include "effects/EffectAmplitudes.h"
#include "effects/EffectFlangers.h"
#include "effects/EffectPhaser.h"
#include "effects/EffectReverbs.h"

namespace {

// Where the first echo of an impulse at frame 0 comes back, left channel.
int FirstEcho(float sourceBpm, bool withSource, int param1, float blockBpm) {
  CEffectReverbs echo(1);
  FixedTempo tempo(sourceBpm);
  if (withSource) echo.tempoSource = &tempo;
  echo.SetParam(1, param1);
  std::vector<float> signal = Impulse(88200 + 4410, 0);
  RunCore(echo, signal, blockBpm);
  return FirstAbove(signal, 0, 1, 1e-6f);
}

TEST(Echo, LandsOnTheBeatOfItsSourceHeldAtSixtyOrOnTwoBeatsAt120WithoutOne) {
  EXPECT_EQ(FirstEcho(120, true, 500, 120), 22050) << "one beat at 120 BPM";
  EXPECT_EQ(FirstEcho(120, true, 200, 120), 11025) << "half a beat";
  EXPECT_EQ(FirstEcho(30, true, 500, 30), 44100) << "a tempo below 60 is held at 60";
  EXPECT_EQ(FirstEcho(60, true, 700, 60), 88200) << "two beats at 60: the whole line";
  EXPECT_EQ(FirstEcho(0, false, 500, 140), 22050) << "no source runs at 120, whatever the block says";
}

TEST(Echo, FollowsATempoChangeWithoutClearingWhatItHolds) {
  CEffectReverbs echo(1);
  FixedTempo tempo(120);
  echo.tempoSource = &tempo;
  std::vector<float> first = Impulse(4410, 0);
  echo.ProcessCore(first.data(), 4410, 120);
  // At 100 BPM a beat is 26460 frames: the impulse written at frame 0 comes back there.
  std::vector<float> rest = Stereo(30000, 0, 0);
  RunCore(echo, rest, 100);
  EXPECT_EQ(FirstAbove(rest, 0, 0, 1e-6f) + 4410, 26460);
}

TEST(Reverb, ClipsEverySampleAndDiesAway) {
  CEffectReverbs reverb(0);
  std::vector<float> loud = Sine(44100, 4.0, 441);
  RunCore(reverb, loud, 0);
  float peak = 0;
  for (float s : loud) peak = std::max(peak, std::fabs(s));
  EXPECT_EQ(peak, 1.0f) << "four times full scale comes out at exactly full scale";

  reverb.SetParam(2, 1000);  // the longest tail the knob gives
  reverb.Reset();
  std::vector<float> hit = Impulse(10 * 44100, 0, 0.5f);
  RunCore(reverb, hit, 0);
  auto energy = [&](int second) {
    double sum = 0;
    for (int i = second * 44100; i < (second + 1) * 44100; ++i) sum += double(hit[2 * i]) * hit[2 * i];
    return sum;
  };
  EXPECT_GT(energy(0), 0.0);
  for (int s = 1; s < 10; ++s) EXPECT_LT(energy(s), energy(s - 1)) << "second " << s;
  EXPECT_LT(energy(9), energy(0) * 1e-6) << "a -60 dB tail within ten seconds";
}

TEST(Flanger, SweepsItsDelayRangeOnceEveryStretchOfBeatsParam1Picks) {
  CEffectFlangers flanger(1);
  FixedTempo tempo(120);
  flanger.tempoSource = &tempo;
  std::vector<float> frame = Stereo(1, 0, 0);
  flanger.ProcessCore(frame.data(), 1, 120);
  // 1 ms of base delay (44 frames) plus the two frames the interpolation reads behind; 3 ms deep.
  EXPECT_EQ(CEffectFlangers::kLineLength - flanger.SweepHigh(), 44 + 2);
  EXPECT_EQ(flanger.SweepHigh() - flanger.SweepLow(), 133);

  for (auto [param1, beats] : {std::pair{1000, 16.0}, {500, 2.0}, {0, 0.25}}) {
    flanger.SetParam(1, param1);
    std::vector<long> tops;
    double last = 0, lastStep = 1;
    for (long n = 0; tops.size() < 3 && n < 2000000; ++n) {
      flanger.ProcessCore(frame.data(), 1, 120);
      double step = flanger.Sweep() - last;
      if (lastStep > 0 && step < 0) tops.push_back(n);
      last = flanger.Sweep(), lastStep = step;
    }
    ASSERT_EQ(tops.size(), 3u) << param1;
    // The sweep turns only once it has passed a bound, up to a step beyond it: each turn may add
    // up to two frames to the cycle.
    EXPECT_NEAR(tops[2] - tops[1], beats * 22050, 4) << "one sweep up and down lasts " << beats << " beats";
  }
}

TEST(Phaser, DelaysTheRightChannelTenToAHundredMillisecondsAndLeavesTheLeft) {
  for (auto [param, frames] : {std::pair{0, 441}, {1000, 4410}, {500, 55 * 441 / 10}}) {
    CEffectPhaser phaser;
    phaser.SetParam(0, param);
    std::vector<float> in = Sine(3 * 4410, 0.5, 300);
    for (int i = 0; i < 3 * 4410; ++i) in[2 * i + 1] = i == 6000 ? 1.0f : 0.0f;
    std::vector<float> out = in;
    RunCore(phaser, out, 0, 441);
    for (size_t i = 0; i < in.size(); i += 2) ASSERT_EQ(out[i], in[i]) << "left frame " << i / 2;
    EXPECT_EQ(FirstAbove(out, 1, 4411, 0.5f), 6000 + frames) << "param " << param;
  }
}

TEST(Amplitudes, AutoPanKeepsLeftPlusRightAndBeatwawDipsRTimesABeat) {
  CEffectAmplitudes pan;
  pan.SetParam(0, 1);
  pan.SetParam(1, 0);
  std::vector<float> in = Sine(2 * 22050, 0.8, 441);
  std::vector<float> out = in;
  RunCore(pan, out, 120, 360);
  for (size_t i = 0; i < in.size(); i += 2) ASSERT_NEAR(out[i] + out[i + 1], in[i], 1e-6) << i / 2;

  for (auto [mode, speed, dipsPerFourBeats] : {std::tuple{0, 1000, 64}, {0, 0, 4}, {0, 300, 8}, {1, 0, 4},
                                              {1, 1000, 0}}) {
    CEffectAmplitudes fx;
    fx.SetParam(0, mode);
    fx.SetParam(1, speed);
    std::vector<float> dc = Stereo(4 * 22050, 1.0f, 1.0f);
    RunCore(fx, dc, 120, 441);
    int dips = 0;
    for (int i = 1; i + 1 < 4 * 22050; ++i) {
      const float l = dc[2 * i];
      if (l < dc[2 * i - 2] && l <= dc[2 * i + 2] && l < 0.01f) ++dips;
    }
    EXPECT_EQ(dips, dipsPerFourBeats) << "mode " << mode << " speed " << speed;
    EXPECT_FLOAT_EQ(dc[0], 1.0f) << "a cycle starts at full level";
  }
}

TEST(Amplitudes, ATempoChangeBetweenBlocksContinuesTheCurve) {
  CEffectAmplitudes fx;
  fx.SetParam(1, 1000);  // 16 dips a beat: the steepest curve
  std::vector<float> dc = Stereo(3000, 1.0f, 1.0f);
  fx.ProcessCore(dc.data(), 1000, 120);
  fx.ProcessCore(dc.data() + 2000, 1000, 174);
  fx.SetParam(1, 800);
  fx.ProcessCore(dc.data() + 4000, 1000, 174);
  // The largest step a cosine of this rate can take between two frames, plus rounding.
  const double maxStep = 2 * M_PI * 16 * 174 / 60.0 / 44100 * 0.5 + 1e-6;
  for (int i = 1; i < 3000; ++i) ASSERT_LE(std::fabs(dc[2 * i] - dc[2 * i - 2]), maxStep) << "frame " << i;
}

TEST(Flanger, ATempoChangeRetimesTheSweepWhereItStands) {
  CEffectFlangers flanger(1);
  FixedTempo tempo(120);
  flanger.tempoSource = &tempo;
  std::vector<float> block = Stereo(441, 0.1f, 0.1f);
  flanger.ProcessCore(block.data(), 441, 120);
  const double before = flanger.Sweep(), step = flanger.SweepStep();
  flanger.ProcessCore(block.data(), 1, 90);
  EXPECT_NEAR(flanger.Sweep() - before, step * 90 / 120, 1e-9) << "no jump, a slower step";
}

}  // namespace
