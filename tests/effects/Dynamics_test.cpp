// The gain computer in its three presets and the master limiter built on it: what passes
// untouched, what is held at the ceiling, the compressor's make-up, and level control's slow
// return to unity after a quiet stretch.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "EffectSignals.h"
#include "audio/MasterLimiter.h"
#include "effects/EffectDynamics.h"

namespace {

double Db(double x) { return 20 * std::log10(x); }

TEST(Dynamics, TheFastLogarithmTracksTheTrueOne) {
  // Thresholds act on this approximation: within 0.1 dB of the shape error, plus 0.3 % of the
  // value for its scale (0.3018868 where log10(2) is 0.30103).
  for (float level = 1e-6f; level < 8.0f; level *= 1.07f) {
    EXPECT_NEAR(CEffectDynamics::FastLevelDb(level), Db(level), 0.1 + 0.003 * std::fabs(Db(level))) << level;
  }
  EXPECT_EQ(CEffectDynamics::FastLevelDb(0.0f), -318.7f);
  EXPECT_EQ(CEffectDynamics::FastLevelDb(-1.0f), -318.7f);
}

TEST(MasterLimiter, PassesAQuietSignalBitExactAndHoldsALoudOneAtItsCeiling) {
  CMasterLimiter limiter;
  std::vector<float> quiet = Sine(44100, 0.7, 441);  // -3.1 dB, under the -1.5 dB ceiling
  std::vector<float> bus = quiet;
  for (int at = 0; at < 44100; at += 360) limiter.ProcessMasterBus(bus.data() + 2 * at, std::min(360, 44100 - at));
  EXPECT_EQ(bus, quiet) << "off: untouched";
  limiter.SetOn(true);
  bus = quiet;
  for (int at = 0; at < 44100; at += 360) limiter.ProcessMasterBus(bus.data() + 2 * at, std::min(360, 44100 - at));
  EXPECT_EQ(bus, quiet) << "on, under the ceiling: bit for bit";

  // +6 dB: twice full scale. The ceiling is -1.5 dB as the fast logarithm reads it.
  const double ceiling = std::pow(10.0, -1.5 / 20) * std::pow(10.0, 0.25 / 20);
  for (double hz : {50.0, 441.0, 5000.0}) {
    CMasterLimiter loud;
    loud.SetOn(true);
    std::vector<float> hot = Sine(2 * 44100, 2.0, hz);
    for (int at = 0; at < 2 * 44100; at += 441) loud.ProcessMasterBus(hot.data() + 2 * at, 441);
    // The first peaks are met by a 0.3 ms attack; from 10 ms on the gain has settled.
    float peak = 0;
    for (size_t i = 0; i < hot.size(); ++i) {
      ASSERT_TRUE(std::isfinite(hot[i]));
      if (i >= 2 * 441) peak = std::max(peak, std::fabs(hot[i]));
    }
    EXPECT_LE(peak, ceiling) << hz << " Hz";
    EXPECT_GT(peak, ceiling * std::pow(10.0, -1.0 / 20)) << "limited, not silenced";
  }
}

TEST(MasterLimiter, SwitchingOnStartsFromUnityGain) {
  CMasterLimiter limiter;
  limiter.SetOn(true);
  std::vector<float> hot = Stereo(4410, 2.0f, 2.0f);
  limiter.ProcessMasterBus(hot.data(), 4410);
  EXPECT_LT(limiter.Dynamics().CurrentGain(), 0.5);
  limiter.SetOn(false);
  limiter.ProcessMasterBus(hot.data(), 4410);
  limiter.SetOn(true);
  std::vector<float> quiet = Stereo(4410, 0.25f, 0.25f), out = quiet;
  limiter.ProcessMasterBus(out.data(), 4410);
  EXPECT_EQ(out, quiet) << "no gain reduction left over from the earlier run";
}

// Steady output level of the compressor for a DC input of `in`.
float CompressedDc(CEffectDynamics& fx, float in) {
  std::vector<float> dc = Stereo(44100, in, in);
  RunCore(fx, dc, 0);
  return dc[2 * 44099];
}

TEST(Dynamics, TheCompressorMakesUpWhatItsCurveTakesAtFullScale) {
  CEffectDynamics fx;
  fx.SetParam(0, 1);  // -9 dB, 9:1: full scale comes out at -8 dB, made up by 8 dB
  EXPECT_NEAR(CompressedDc(fx, 0.1f) / 0.1f, std::pow(10.0, 0.4), 1e-5) << "under the threshold: make-up only";
  for (float in : {0.5f, 1.0f}) {
    double outDb = (Db(in) + 9) / 9 - 9 + 8;
    EXPECT_NEAR(Db(CompressedDc(fx, in)), outDb, 0.25 / 9 + 0.01) << in;
  }
  fx.SetParam(4, -18);  // a lower threshold re-computes the make-up: 16 dB
  EXPECT_NEAR(Db(fx.Makeup()), 16.0, 1e-4);
  EXPECT_NEAR(Db(CompressedDc(fx, 1.0f)), 0.0, 0.05) << "full scale still comes out at full scale";
  fx.SetParam(5, 3);
  EXPECT_NEAR(Db(fx.Makeup()), 12.0, 1e-4);
  fx.SetParam(5, 0);  // refused: no ratio of zero
  EXPECT_NEAR(Db(fx.Makeup()), 12.0, 1e-4);
}

TEST(Dynamics, LevelControlReturnsToUnityOnlyAfterFourSecondsBelowItsThreshold) {
  CEffectDynamics fx;  // level control
  for (int b = 0; b < 1000; ++b) {
    std::vector<float> loud = Stereo(441, 0.5f, 0.5f);
    fx.ProcessCore(loud.data(), 441, 0);
  }
  EXPECT_NEAR(fx.CurrentGain(), std::pow(10.0, -12.0 / 20), 1e-3)
      << "ten seconds at 0 dB (after the 6 dB input gain) bring the gain to the -12 dB target";

  // Then a -60 dB probe, under the -42 dB threshold; the gain after each frame.
  std::vector<double> gain;
  for (int f = 0; f < CEffectDynamics::kAgcReturnFrames + 36 * 44100; f += 4410) {
    std::vector<float> probe = Stereo(4410, 0.001f, 0.001f);
    for (int i = 0; i < 4410; ++i) {
      fx.ProcessCore(probe.data() + 2 * i, 1, 0);
      gain.push_back(fx.CurrentGain());
    }
  }
  auto growth = [&](int frame) { return gain[frame + 1] / gain[frame]; };
  const int returnAt = CEffectDynamics::kAgcReturnFrames;  // give or take the level's few frames of fall
  EXPECT_DOUBLE_EQ(growth(1000), growth(returnAt - 100)) << "nothing changes course for four seconds";
  EXPECT_LT(gain[returnAt - 100], 1.0);
  EXPECT_NE(growth(returnAt + 100), growth(returnAt - 100)) << "then the gain heads for unity";
  EXPECT_EQ(gain.back(), 1.0) << "and stops there, 35 s later";
  EXPECT_LE(*std::max_element(gain.begin() + returnAt + 100, gain.end()), 1.0);
}

TEST(Dynamics, WholeBlocksSoundAsFrameByFrame) {
  // A block of one frame steps the gain computer on every frame. On music that swells from
  // quiet to 6 dB over full scale with a hit every quarter second, compare each preset's 10 ms
  // loudness through 4410-frame blocks with that. Level control stays within 0.3 dB. The
  // compressor and limiter answer a segment's peak with the full attack, where frame by frame
  // the attack toward a short peak is cut off as soon as it has passed: they may come out up to
  // 2 dB quieter on this heavy compression, never louder.
  constexpr int kFrames = 5 * 44100, kWindow = 441;
  std::vector<float> music(2 * kFrames);
  for (int i = 0; i < kFrames; ++i) {
    const double swell = 0.05 + 1.95 * i / kFrames, hit = i % 11025 < 300 ? 1.5 : 1.0;
    music[2 * i] = static_cast<float>(swell * hit * (0.6 * std::sin(i * 0.031) + 0.4 * std::sin(i * 0.2)));
    music[2 * i + 1] = static_cast<float>(swell * hit * (0.6 * std::sin(i * 0.029) + 0.4 * std::sin(i * 0.17)));
  }
  auto energy = [&](const std::vector<float>& v, int from) {
    double sum = 1e-12;
    for (int i = 2 * from; i < 2 * (from + kWindow); ++i) sum += double(v[i]) * v[i];
    return sum;
  };
  for (auto [preset, quieter, louder] : {std::tuple{0, -0.3, 0.3}, {1, -2.0, 0.05}, {2, -2.0, 0.05}}) {
    std::vector<float> byFrame = music, byBlock = music;
    CEffectDynamics a, b;
    a.SetParam(0, preset);
    b.SetParam(0, preset);
    RunCore(a, byFrame, 0, 1);
    RunCore(b, byBlock, 0, 4410);
    double low = 0, high = 0;
    for (int w = 0; w + kWindow <= kFrames; w += kWindow) {
      const double dB = 10 * std::log10(energy(byBlock, w) / energy(byFrame, w));
      low = std::min(low, dB), high = std::max(high, dB);
    }
    EXPECT_GT(low, quieter) << "preset " << preset;
    EXPECT_LT(high, louder) << "preset " << preset;
  }
}

TEST(MasterLimiter, ASpikeOrAStepSeenAheadNeverPassesTheCeiling) {
  // A level with no zero crossing (so no snap helps), a one-sample spike mid-block, one on a
  // block's last frame, and a step that stays. The look-ahead stops at the block's end, so each
  // event sits past the first segment of its block at every block size tried.
  // Over the threshold the gain sets the level to -1.5 dB plus a 500th of the excess (0.02 dB
  // for an event 10 dB over); under it, as the fast logarithm reads levels, nothing changes.
  double low = 0.5, high = 1.0;  // the level the fast logarithm reads as -1.5 dB, by bisection
  for (int i = 0; i < 60; ++i) {
    const double mid = (low + high) / 2;
    (CEffectDynamics::FastLevelDb(static_cast<float>(mid)) > -1.5f ? high : low) = mid;
  }
  const double ceiling = std::max(low, std::pow(10.0, -1.5 / 20)) * std::pow(10.0, 0.03 / 20);
  constexpr int kFrames = 2 * 4410, kSpike = 1007, kLastFrameSpike = 4409, kStep = 6005;
  for (int blockFrames : {4410, 441, 360}) {
    CMasterLimiter limiter;
    limiter.SetOn(true);
    std::vector<float> bus = Stereo(kFrames, 0.5f, 0.5f);
    bus[2 * kSpike] = bus[2 * kSpike + 1] = 1.9f;
    bus[2 * kLastFrameSpike] = bus[2 * kLastFrameSpike + 1] = -1.9f;
    for (int i = kStep; i < kFrames; ++i) bus[2 * i] = bus[2 * i + 1] = 1.8f;
    for (int at = 0; at < kFrames; at += blockFrames) {
      limiter.ProcessMasterBus(bus.data() + 2 * at, std::min(blockFrames, kFrames - at));
    }
    for (int i = 0; i < kFrames; ++i) {
      ASSERT_LE(std::fabs(bus[2 * i]), ceiling) << "block " << blockFrames << ", frame " << i;
      ASSERT_EQ(bus[2 * i], bus[2 * i + 1]);
    }
    // The gain starts down no more than two segments ahead of the spike: far before it the
    // level is untouched, and the step comes out held, not silenced.
    const int reach = 2 * CEffectDynamics::kControlFrames;
    EXPECT_EQ(bus[2 * (kSpike - reach - 1)], 0.5f) << "block " << blockFrames;
    EXPECT_LT(bus[2 * (kSpike - 1)], 0.5f);
    EXPECT_GT(bus[2 * (kFrames - 1)], ceiling * std::pow(10.0, -0.5 / 20));
  }
}

}  // namespace
