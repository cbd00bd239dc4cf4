#include "audio/devices/OutputLayer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>

#include "OutputTestMix.h"
#include "app/base/Realtime.h"
#include "audio/MixCallback.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputPlan.h"

OutputOptions g_outputOptions;
TestMix g_testMix;

int MixAudioBlock(float* out, int frames, int channels) noexcept {
  if (!rt::OnAudioThread()) g_testMix.callsOffAudioThread++;
  g_testMix.calls++;
  g_testMix.frames += frames;
  g_testMix.lastFrames = frames;
  g_testMix.lastChannels = channels;
  const double f = g_testMix.frequency.load();
  for (int i = 0; i < frames; ++i, ++g_testMix.phaseFrame) {
    const float v =
        f == 0.0 ? 0.0f
                 : static_cast<float>(0.5 * std::sin(6.283185307179586 * f * g_testMix.phaseFrame / 44100.0));
    for (int c = 0; c < channels; ++c) out[i * channels + c] = v;
  }
  return frames;
}

TEST(OutputPlan, OpenRules) {
  // Table: 3 system devices (0..2) and JACK (3).
  OutputPlan p = PlanAudioOutputs(0, 1, 1, 1, 3, 4);
  EXPECT_EQ(p.primary, 1);
  EXPECT_EQ(p.secondary, -1) << "secondary equal to primary is dropped";
  EXPECT_EQ(p.mode, 1) << "without a secondary the mode stays";

  p = PlanAudioOutputs(0, 0, 2, 2, 3, 4);
  EXPECT_EQ(p.secondary, 2);
  EXPECT_EQ(p.mode, 0) << "a second card forces normal mode";
  EXPECT_EQ(p.channels, 2);

  p = PlanAudioOutputs(0, 0, 3, 1, 3, 4);
  EXPECT_EQ(p.secondary, -1) << "the pro device is never a secondary";
  EXPECT_EQ(p.mode, 1);

  p = PlanAudioOutputs(0, 3, 1, 0, 3, 4);
  EXPECT_TRUE(p.pro);
  EXPECT_EQ(p.mode, 2);
  EXPECT_EQ(p.secondary, -1);
  EXPECT_EQ(p.channels, 4);

  p = PlanAudioOutputs(6, 0, 1, 0, 3, 4);
  EXPECT_EQ(p.mode, 2) << "a channel request means multichannel";
  EXPECT_EQ(p.secondary, -1);
  EXPECT_EQ(p.channels, 6);

  p = PlanAudioOutputs(0, 2, 0, 2, 3, 4);
  EXPECT_EQ(p.mode, 0);  // the secondary wins over multichannel
  EXPECT_EQ(PlanAudioOutputs(0, 0, 1, 2, 3, 4).channels, 2);
  EXPECT_EQ(PlanAudioOutputs(0, 0, -1, 2, 3, 4).channels, 4);

  EXPECT_EQ(PlanAudioOutputs(0, -1, 1, 0, 3, 4).primary, -1);
  EXPECT_EQ(PlanAudioOutputs(0, 4, 1, 0, 3, 4).primary, -1) << "an index past the table";
}

TEST(OutputPlan, UnitsUsedThroughTheProBackEndAreLeftOut) {
  EXPECT_TRUE(IsExcludedSystemDevice("ALSA: BCD-2000 USB Audio"));
  EXPECT_TRUE(IsExcludedSystemDevice("ALSA: Behringer BCD3000"));
  EXPECT_FALSE(IsExcludedSystemDevice("ALSA: BCD-200"));
  EXPECT_FALSE(IsExcludedSystemDevice("PulseAudio: default"));
}

class OutputLayer : public ::testing::Test {
 protected:
  void SetUp() override {
    g_testMix.Reset();
    g_outputOptions.mode = 0;
    g_outputSelection = OutputSelection{};
  }
  void TearDown() override { CloseAudioOutputs(1); }

  // Waits (bounded) until the primary has pulled `frames`; returns the seconds it took.
  static double SecondsUntilDelivered(uint64_t frames) {
    const auto start = std::chrono::steady_clock::now();
    while (PrimaryFramesDelivered() < frames &&
           std::chrono::steady_clock::now() - start < std::chrono::seconds(10))
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
};

TEST_F(OutputLayer, VanishedDeviceRunsTheMixSilentlyAtRealTime) {
  EnumerateOutputDevices();
  g_outputSelection.primary = OutputDeviceIndexByName("ALSA: a card that was unplugged");
  ASSERT_EQ(g_outputSelection.primary, -1);
  OpenAudioOutputs(0, 0);
  const OutputStatus status = CurrentOutputStatus();
  EXPECT_TRUE(status.nullBackend);
  EXPECT_FALSE(status.primaryOpen);
  EXPECT_EQ(status.primaryName, "null");
  EXPECT_EQ(status.blockFrames, 360);  // the default latency's fragment
  EXPECT_EQ(status.deviceRate, 44100);

  // Half a second of engine time must take about half a second: the null back end keeps real
  // time rather than running free. Tolerances: the count trails the clock by up to two
  // fragments (16 ms), and a busy machine may delay the thread.
  const double seconds = SecondsUntilDelivered(22050);
  EXPECT_GT(seconds, 0.5 - 0.02);
  EXPECT_LT(seconds, 1.5);
  EXPECT_EQ(g_testMix.lastFrames.load(), 360);
  EXPECT_EQ(g_testMix.lastChannels.load(), 2);
  EXPECT_EQ(g_testMix.callsOffAudioThread.load(), 0);

  CloseAudioOutputs(0);
  const long long calls = g_testMix.calls.load();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(g_testMix.calls.load(), calls) << "nothing mixes after close";
}

TEST_F(OutputLayer, ShortestLatencyMixesFifteenFrameBlocks) {
  g_outputSelection.primary = 99;  // past the table: cannot open, so the null back end runs
  g_outputSelection.latencyFrames = 120;
  OpenAudioOutputs(0, 0);
  EXPECT_EQ(CurrentOutputStatus().blockFrames, 15);
  EXPECT_TRUE(CurrentOutputStatus().nullBackend);
  SecondsUntilDelivered(4410);
  EXPECT_EQ(g_testMix.lastFrames.load(), 15);
  EXPECT_GE(g_testMix.calls.load(), 4410 / 15);
}

TEST_F(OutputLayer, ChannelRequestOpensMultichannelWithoutSecondary) {
  g_outputSelection.primary = -1;
  OpenAudioOutputs(6, 0);
  EXPECT_FALSE(CurrentOutputStatus().secondaryOpen);
  EXPECT_EQ(g_outputSelection.secondary, 1) << "a negative primary changes no setting";
  SecondsUntilDelivered(1000);
  EXPECT_EQ(g_testMix.lastChannels.load(), 6);
}
