#include "audio/devices/OutputLayer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <thread>

#include "OutputTestMix.h"
#include "app/base/Realtime.h"
#include "app/base/Trace.h"
#include "audio/devices/OutputBackend.h"
#include "support/AllocationCounter.h"
#include "support/WaitFor.h"

#include <jack/jack.h>
#include "audio/MixCallback.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputPlan.h"

OutputOptions g_outputOptions;
TestMix g_testMix;

int MixAudioBlock(float* out, int frames, int channels) noexcept {
  if (!rt::OnAudioThread()) g_testMix.callsOffAudioThread++;
  g_testMix.calls++;
  g_testMix.lastFrames = frames;
  g_testMix.lastChannels = channels;
  if (const int stall = g_testMix.stallOnceMs.exchange(0)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(stall));
    g_testMix.stallEndFrame = g_testMix.framesMixed.load();
    g_testMix.stallEndNs = std::chrono::steady_clock::now().time_since_epoch().count();
  }
  g_testMix.framesMixed += frames;
  const double step = 6.283185307179586 * g_testMix.frequency.load() / 44100.0;
  for (int i = 0; i < frames; ++i, ++g_testMix.phaseFrame) {
    const auto v = static_cast<float>(0.5 * std::sin(step * static_cast<double>(g_testMix.phaseFrame)));
    for (int c = 0; c < channels; ++c) out[i * channels + c] = v;
  }
  return frames;
}

TEST(OutputPlan, OpenRules) {
  // A table of 3 system devices (0..2) and JACK (3).
  struct Case {
    int channels, primary, secondary, mode;
    OutputPlan expected;  // primary, secondary, mode, channels, pro
    const char* why;
  } cases[] = {
      {0, 1, 1, 1, {1, -1, 1, 2, false}, "a secondary equal to the primary is dropped"},
      {0, 0, 2, 2, {0, 2, 0, 2, false}, "a second card forces normal mode"},
      {0, 0, 3, 1, {0, -1, 1, 2, false}, "the pro device is never a secondary"},
      {0, 3, 1, 0, {3, -1, 2, 4, true}, "a pro primary: multichannel, four ports, no secondary"},
      {6, 0, 1, 0, {0, -1, 2, 6, false}, "a channel request means multichannel, no secondary"},
      {0, 0, -1, 2, {0, -1, 2, 4, false}, "multichannel opens four channels by default"},
      {0, -1, 1, 0, {-1, -1, 0, 2, false}, "no primary: nothing opens"},
      {0, 4, 1, 2, {-1, -1, 2, 4, false}, "an index past the table opens nothing"},
  };
  for (const Case& c : cases) {
    const OutputPlan p = PlanAudioOutputs(c.channels, c.primary, c.secondary, c.mode, 3, 4);
    EXPECT_EQ(p.primary, c.expected.primary) << c.why;
    EXPECT_EQ(p.secondary, c.expected.secondary) << c.why;
    EXPECT_EQ(p.mode, c.expected.mode) << c.why;
    EXPECT_EQ(p.channels, c.expected.channels) << c.why;
    EXPECT_EQ(p.pro, c.expected.pro) << c.why;
  }
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
    WaitFor([&] { return PrimaryFramesDelivered() >= frames; });
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
  // fragments (16 ms); the upper bound only catches a clock that stalls, since a busy CI
  // machine may hold the thread back for a while.
  const double seconds = SecondsUntilDelivered(22050);
  EXPECT_GT(seconds, 0.5 - 0.02);
  EXPECT_LT(seconds, 5.0);
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

TEST_F(OutputLayer, NullOutputCatchesUpAtMostOneRingAfterAStall) {
  g_outputSelection.primary = 99;  // the null back end
  OpenAudioOutputs(0, 0);
  ASSERT_LT(SecondsUntilDelivered(4410), 10.0);
  g_testMix.stallOnceMs = 1000;
  ASSERT_TRUE(WaitFor([] { return g_testMix.stallEndFrame.load() >= 0; })) << "the stall never happened";
  const long long target = g_testMix.stallEndFrame.load() + 22050;
  WaitFor([&] { return g_testMix.framesMixed.load() >= target; });
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count() -
      static_cast<double>(g_testMix.stallEndNs.load()) * 1e-9;
  // Half a second of mix after the stall: one ring (8 x 360 frames, 65 ms) may come at once,
  // the rest at real time, so it takes about 0.43 s. Mixing the whole missed second flat out
  // gets there at once.
  EXPECT_GT(seconds, 0.3) << "the missed second was mixed flat out";
}

TEST(JackMessages, ReachTheLogWithoutBlockingTheProcessThread) {
  OutputDeviceInfo unused;
  ProbeJackServer(&unused);  // installs the program's message handlers, server or not
  struct Seen { std::string lines; } seen;
  SetTraceHook([](const char* line, void* context) { static_cast<Seen*>(context)->lines += line; },
               &seen);
  const unsigned long waits = rt::BlockingWaitsOnAudioThread();
  ResetAudioThreadCounts();
  {
    rt::AudioThreadScope processThread;
    jack_error_callback("JackEngine::XRun: client = zorvik-lumo was not finished");
  }
  EXPECT_EQ(rt::BlockingWaitsOnAudioThread(), waits);
  EXPECT_EQ(AudioThreadAllocations(), 0u);
  DrainRealtimeTrace();
  SetTraceHook(nullptr, nullptr);
  EXPECT_EQ(seen.lines, "jack: JackEngine::XRun: client = zorvik-lumo was not finished");
}

TEST(OutputPlan, DesktopOrderPrefersTheSoundServerThenJackThenAlsa) {
  auto device = [](const char* name, bool server, bool pro) {
    OutputDeviceInfo d;
    d.name = name;
    d.soundServer = server;
    d.pro = pro;
    return d;
  };
  // RtAudio lists the ALSA hardware first, which a running sound server usually holds.
  const std::vector<OutputDeviceInfo> table = {
      device("ALSA: HDA Intel PCH (hw:0,0)", false, false), device("ALSA: default", false, false),
      device("PulseAudio: Default Device", true, false), device("JACK", false, true)};
  EXPECT_EQ(OutputFallbackOrder(table, true), (std::vector<int>{2, 3, 1, 0}));
  EXPECT_EQ(OutputFallbackOrder(table, false), (std::vector<int>{3, 1, 0, 2}))
      << "without a server: JACK, ALSA's default, the hardware; the server's device last";
  EXPECT_TRUE(OutputFallbackOrder({}, true).empty());
}
