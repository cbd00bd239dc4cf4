// The mixer's block: phase order, bus routing, the gain ramp and the monitor meter. The cue
// rules are driven through the controls in MixerControls_test.

#include <gtest/gtest.h>

#include <cmath>

#include "TestSources.h"
#include "audio/FaderLaw.h"
#include "audio/Mixer.h"
#include "audio/MixerChannel.h"

namespace {

constexpr int kFrames = 64;

TEST(Mixer, EverySourceFinishesAPhaseBeforeAnyStartsTheNext) {
  std::vector<int> log;
  ConstantSource a(0.1f, 0.1f, &log, 1), b(0.2f, 0.2f, &log, 2);
  CZQMixer mixer(kFrames);
  mixer.AddSource(&a);
  mixer.AddSource(&b);
  float master[2 * kFrames];
  mixer.MixSources(master, nullptr, kFrames);
  // Phases 0, 1, 2 on both (ids 1 and 2), then the samples in slot order.
  EXPECT_EQ(log, (std::vector<int>{1, 2, 11, 12, 21, 22, 101, 102}));
}

TEST(Mixer, SumsSlotsIntoTheMasterWithMasterGainAndTalkOver) {
  ConstantSource a(0.25f, -0.25f), b(0.125f, 0.5f);
  CZQMixer mixer(kFrames);
  mixer.AddSource(&a);
  mixer.AddSource(&b);
  float master[2 * kFrames];
  mixer.MixSources(master, nullptr, kFrames);
  EXPECT_FLOAT_EQ(master[0], 0.375f);
  EXPECT_FLOAT_EQ(master[2 * kFrames - 1], 0.25f);

  mixer.SetMasterGainLinear(0.5f);
  mixer.SetTalkOver(1);
  mixer.MixSources(master, nullptr, kFrames);
  EXPECT_NEAR(master[0], 0.375f * 0.5f * std::pow(10.0f, -0.6f), 1e-6);
}

TEST(Mixer, VolumeChangesRampGeometricallyOverOneHundredFrames) {
  ConstantSource a(0.5f, 0.5f);
  CZQMixer mixer(256);
  mixer.AddSource(&a);
  mixer.SetChannelVolumeGain(0, 0.0f);
  float master[2 * 256];
  mixer.MixSources(master, nullptr, 256);
  EXPECT_FLOAT_EQ(master[2 * 255], 0.0f) << "the ramp reaches silence";
  EXPECT_GT(master[0], 0.0f) << "but not at once";

  mixer.SetChannelVolumeGain(0, 1.0f);
  mixer.MixSources(master, nullptr, 256);
  for (int i = 1; i < 100; ++i) ASSERT_GE(master[2 * i], master[2 * (i - 1)]) << "rising at " << i;
  EXPECT_LT(master[2 * 98], 0.5f);
  EXPECT_FLOAT_EQ(master[2 * 99], 0.5f) << "the 100th frame lands on the target";
  EXPECT_FLOAT_EQ(master[2 * 255], 0.5f);
}

TEST(Mixer, ANullMonitorLeavesItsMeterToReadSilence) {
  ConstantSource a(0.5f, 0.5f);
  CZQMixer mixer(kFrames);
  mixer.AddSource(&a);
  mixer.SetChannelMonitorLevel(0, 1.0f);
  float master[2 * kFrames], monitor[2 * kFrames];
  mixer.MixSources(master, monitor, kFrames);
  EXPECT_NEAR(mixer.ReadMonitorLevel().left, 0.25, 0.01);  // the count restarts at 1
  mixer.MixSources(master, nullptr, kFrames);
  EXPECT_LT(mixer.ReadMonitorLevel().left, 1e-20);
  EXPECT_NEAR(mixer.ReadSourceLevel(0).right, 0.25, 0.01);
}

TEST(Mixer, DenormalsAreFlushedOnEverySlot) {
  ConstantSource tiny(1e-39f, -1e-40f);
  CZQMixer mixer(kFrames);
  mixer.AddSource(&tiny);
  float master[2 * kFrames];
  mixer.MixSources(master, nullptr, kFrames);
  EXPECT_EQ(master[0], 0.0f);
  EXPECT_EQ(master[1], 0.0f);
}

TEST(Mixer, ExternalModeRoutesDecksAuxAndIgnoresThePreviewSlot) {
  ConstantSource d0(0.1f, 0.1f), d1(0.2f, 0.2f), d2(0.3f, 0.3f), d3(0.4f, 0.4f), preview(0.9f, 0.9f),
      sampler(0.05f, 0.05f);
  CZQMixer mixer(kFrames);
  for (CAudioSignalSource* s : std::initializer_list<CAudioSignalSource*>{&d0, &d1, &d2, &d3, &preview, &sampler}) {
    mixer.AddSource(s);
  }
  mixer.SetSmoothGain(0);
  mixer.SetChannelTrimGain(1, 0.5f);
  float buses[4][2 * kFrames], aux[2 * kFrames];
  float* decks[4] = {buses[0], buses[1], buses[2], buses[3]};
  mixer.MixSourcesExternal(decks, aux, nullptr, kFrames);
  EXPECT_FLOAT_EQ(buses[0][0], 0.1f);
  EXPECT_FLOAT_EQ(buses[1][0], 0.1f) << "trim alone, at once, with smoothed gain off";
  EXPECT_FLOAT_EQ(buses[3][5], 0.4f);
  EXPECT_FLOAT_EQ(aux[0], 0.05f) << "samplers only; the preview slot goes nowhere";
}

TEST(MixerChannel, TakesANewSourceOnlyAtTheStartOfABlock) {
  ConstantSource first(0.5f, 0.5f), second(-0.5f, -0.5f);
  CZQMixerChannel channel(&first, 1, true);  // no equaliser: the samples pass unchanged
  channel.SetSource(&second);
  EXPECT_EQ(channel.CurrentSource(), &first);
  float out[2 * 8];
  channel.GetSamples(out, 8);
  EXPECT_EQ(channel.CurrentSource(), &second);
  EXPECT_FLOAT_EQ(out[0], -0.5f);
  CZQMixerChannel empty(nullptr, 2, false);
  EXPECT_EQ(empty.GetLength(), -1);
}

TEST(FaderLaw, EndsStepsAndTheStepBeforeSilence) {
  EXPECT_EQ(FaderLawGain(127, 128), 1.0f);
  EXPECT_EQ(FaderLawGain(0, 128), 0.0f);
  EXPECT_NEAR(FaderLawDb(1, 128), -86.8f, 0.2f) << "one step up is quiet, not silent";
  EXPECT_NEAR(FaderLawDb(126, 128), -(std::pow(91.0, 1.0 / 127) - 1), 1e-5);
  EXPECT_NEAR(FaderLawDb(64, 128), -(std::pow(91.0, 63.0 / 127) - 1), 1e-3) << "mid travel, -8.4 dB";
  for (int v = 1; v < 128; ++v) ASSERT_GT(FaderLawGain(v, 128), FaderLawGain(v - 1, 128)) << "at " << v;
}

}  // namespace
