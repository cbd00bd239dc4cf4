// The JACK-facing back ends against a private dummy-driver jackd at 48000 Hz, started and
// killed (by pid) around each test; a recording client captures what the output plays. The
// system back end is reached through RtAudio's own JACK API, the one RtAudio device a machine
// without sound cards can open.

#include <gtest/gtest.h>
#include <jack/jack.h>
#include <rtaudio/RtAudio.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "JackTestServer.h"
#include "ToneMeasure.h"
#include "OutputTestMix.h"
#include "support/WaitFor.h"
#include "audio/MixCallback.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputBackend.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Recording {
  std::vector<float> samples;
  std::atomic<size_t> filled{0};
  jack_port_t* in = nullptr;

  static int Process(jack_nframes_t frames, void* self) {
    auto* r = static_cast<Recording*>(self);
    const auto* in = static_cast<const float*>(jack_port_get_buffer(r->in, frames));
    const size_t at = r->filled.load(std::memory_order_relaxed);
    const size_t n = std::min<size_t>(frames, r->samples.size() - at);
    std::copy(in, in + n, r->samples.begin() + static_cast<long>(at));
    r->filled.store(at + n, std::memory_order_release);
    return 0;
  }
};

class JackServer : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!JackTestServer::Installed()) GTEST_SKIP() << "jackd is not installed";
    ASSERT_NO_FATAL_FAILURE(StartServer(48000));
    g_testMix.Reset();
    g_testMix.frequency = 1000.0;
  }
  void TearDown() override {
    StopServer();
    unsetenv("JACK_DEFAULT_SERVER");
  }

  // A private dummy server, and the test's own client on it once it answers.
  void StartServer(int rate) {
    recorder_ = server_.Start(rate, "lumo-test-recorder");
    ASSERT_NE(recorder_, nullptr) << "jackd did not come up";
  }
  void StopServer() {
    server_.Stop();
    recorder_ = nullptr;
  }

  // Records `samples` of the named output port (bounded wait); returns what arrived.
  std::vector<float> Record(const char* port, size_t samples) {
    recording_.samples.assign(samples, 0.0f);
    recording_.in = jack_port_register(recorder_, "in", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    jack_set_process_callback(recorder_, &Recording::Process, &recording_);
    jack_activate(recorder_);
    EXPECT_EQ(jack_connect(recorder_, port, jack_port_name(recording_.in)), 0) << port;
    WaitFor([&] { return recording_.filled.load() >= samples; });
    jack_deactivate(recorder_);
    recording_.samples.resize(recording_.filled.load());
    return recording_.samples;
  }

  JackTestServer server_;
  jack_client_t* recorder_ = nullptr;
  Recording recording_;
};

}  // namespace

TEST_F(JackServer, ProOutputPullsTheMixAndResamplesToTheServerRate) {
  g_outputOptions.mode = 0;
  g_outputSelection = OutputSelection{};
  ASSERT_GT(EnumerateOutputDevices(), 0);
  const int jack = OutputDeviceIndexByName("JACK");
  ASSERT_EQ(jack, OutputDeviceCount(true) - 1) << "the pro device follows the system ones";
  g_outputSelection.primary = jack;
  OpenAudioOutputs(0, 0);
  const OutputStatus status = CurrentOutputStatus();
  EXPECT_TRUE(status.primaryOpen);
  EXPECT_EQ(status.deviceRate, 48000);
  EXPECT_EQ(status.channels, 4);
  EXPECT_EQ(g_outputOptions.mode.load(), 2) << "a pro primary runs multichannel";
  EXPECT_EQ(g_outputSelection.secondary, -1);

  const std::vector<float> played = Record("zorvik-lumo:master_left", 48000);
  const uint64_t engineFrames = PrimaryFramesDelivered();
  CloseAudioOutputs(1);
  ASSERT_EQ(played.size(), 48000u);
  // A 1 kHz tone made at 44100 Hz must play at 1 kHz on the 48 kHz server: 48 samples a cycle
  // (unresampled it would be 44.1).
  EXPECT_NEAR(MedianPeriod(played), 48.0, 0.5);
  EXPECT_GT(engineFrames, 44100u * 9 / 10);
  EXPECT_EQ(g_testMix.lastChannels.load(), 4);
  EXPECT_EQ(g_testMix.callsOffAudioThread.load(), 0);
}

TEST_F(JackServer, SystemOutputPlaysTheMixAsResampled16BitSamples) {
  OutputDeviceInfo device;
  device.name = "Jack: system";
  device.api = RtAudio::UNIX_JACK;
  OutputBackendConfig config;
  config.device = &device;
  config.callback = &MixAudioBlock;
  std::unique_ptr<COutputBackend> output = CreateSystemOutput();
  ASSERT_TRUE(output->Open(config)) << "finds the dummy server's playback ports by name";
  EXPECT_EQ(output->DeviceRate(), 48000);

  const std::vector<float> played = Record("Zorvik Lumo:outport 0", 24000);
  output->Close();
  ASSERT_EQ(played.size(), 24000u);
  EXPECT_NEAR(MedianPeriod(played), 48.0, 0.5);
  // 0.5 leaves as 16000 (times 32000, not 32767), which RtAudio hands JACK as about 0.488.
  EXPECT_NEAR(*std::max_element(played.begin() + 4800, played.end()), 16000.0f / 32768.0f, 0.003f);
  EXPECT_EQ(g_testMix.callsOffAudioThread.load(), 0);
}

TEST_F(JackServer, ARestartedServerGetsTheMixBackAndItsNewRateAndPeriodAreFollowed) {
  g_outputOptions.mode = 0;
  g_outputSelection = OutputSelection{};
  ASSERT_GT(EnumerateOutputDevices(), 0);
  g_outputSelection.primary = OutputDeviceIndexByName("JACK");
  OpenAudioOutputs(0, 0);
  ASSERT_TRUE(CurrentOutputStatus().primaryOpen);
  ASSERT_TRUE(WaitFor([] { return PrimaryFramesDelivered() > 4410; }));
  TakeOutputNotice();

  StopServer();
  ASSERT_TRUE(WaitFor([] { return CurrentOutputStatus().recovering; })) << "the loss went unnoticed";
  EXPECT_EQ(TakeOutputNotice(), "output: JACK stopped; the mix runs silently until it is back");
  EXPECT_EQ(TakeOutputNotice(), "") << "told once";
  // The null back end keeps the engine's time meanwhile: a deck goes on playing.
  const uint64_t atLoss = PrimaryFramesDelivered();
  EXPECT_TRUE(WaitFor([&] { return PrimaryFramesDelivered() > atLoss + 4410; }));

  ASSERT_NO_FATAL_FAILURE(StartServer(44100));
  const auto restarted = Clock::now();
  ASSERT_TRUE(WaitFor([] { return CurrentOutputStatus().primaryOpen; }));
  EXPECT_LT(Clock::now() - restarted, std::chrono::seconds(2)) << "sound must be back within 2 s";
  const OutputStatus back = CurrentOutputStatus();
  EXPECT_FALSE(back.nullBackend);
  EXPECT_EQ(back.deviceRate, 44100) << "the restarted server's rate";
  EXPECT_EQ(back.recoveries, 1);
  EXPECT_EQ(TakeOutputNotice(), "output: JACK plays again");
  jack_port_t* master = jack_port_by_name(recorder_, "zorvik-lumo:master_left");
  ASSERT_NE(master, nullptr) << "the new client registered its ports";
  EXPECT_GE(jack_port_connected(master), 1) << "and connected them to the playback ports";

  // Unresampled at 44100 Hz the tone is 44.1 samples a cycle.
  const std::vector<float> played = Record("zorvik-lumo:master_left", 22050);
  ASSERT_EQ(played.size(), 22050u);
  EXPECT_NEAR(MedianPeriod(played), 44.1, 0.5);

  // A loaded server may turn the request down once (a timed-out cycle); it is asked again.
  ASSERT_TRUE(WaitFor([&] { return jack_set_buffer_size(recorder_, 512) == 0; }));
  EXPECT_TRUE(WaitFor([] { return CurrentOutputStatus().blockFrames == 512; }));
  const uint64_t beforeResize = PrimaryFramesDelivered();
  EXPECT_TRUE(WaitFor([&] { return PrimaryFramesDelivered() > beforeResize + 22050; }))
      << "the mix goes on at the new period";
  EXPECT_TRUE(CurrentOutputStatus().primaryOpen);
  CloseAudioOutputs(1);
  EXPECT_EQ(g_testMix.callsOffAudioThread.load(), 0);
}

TEST_F(JackServer, ExternalMixerRegistersAPortPerDeckChannel) {
  g_outputOptions.mode = 0;
  g_outputOptions.externalMixer = 1;
  g_outputSelection = OutputSelection{};
  ASSERT_GT(EnumerateOutputDevices(), 0);
  g_outputSelection.primary = OutputDeviceIndexByName("JACK");
  for (int ports : {0, 12}) {
    g_outputSelection.proPorts = ports;
    OpenAudioOutputs(0, 0);
    const int expected = ports ? ports : 8;
    EXPECT_EQ(CurrentOutputStatus().channels, expected);
    EXPECT_NE(jack_port_by_name(recorder_, "zorvik-lumo:deck4_right"), nullptr);
    EXPECT_EQ(jack_port_by_name(recorder_, "zorvik-lumo:monitor_right") != nullptr, ports == 12);
    ASSERT_TRUE(WaitFor([] { return g_testMix.lastChannels.load() > 0; }));
    EXPECT_EQ(g_testMix.lastChannels.load(), expected) << "the mix fills every port";
    CloseAudioOutputs(0);
    g_testMix.lastChannels = 0;
  }
  g_outputOptions.externalMixer = 0;
  g_outputSelection = OutputSelection{};
  CloseAudioOutputs(1);
}

TEST_F(JackServer, AServerThatIsNotUpYetIsTakenWhenItComes) {
  g_outputOptions.mode = 0;
  g_outputSelection = OutputSelection{};
  ASSERT_GT(EnumerateOutputDevices(), 0);
  g_outputSelection.primary = OutputDeviceIndexByName("JACK");
  StopServer();
  OpenAudioOutputs(0, 0);
  OutputStatus status = CurrentOutputStatus();
  EXPECT_TRUE(status.nullBackend) << "the mix runs on the null back end meanwhile";
  EXPECT_EQ(status.fallback, "output: no device opened (tried JACK); playing silently");
  const uint64_t before = PrimaryFramesDelivered();
  EXPECT_TRUE(WaitFor([&] { return PrimaryFramesDelivered() > before + 4410; }));

  ASSERT_NO_FATAL_FAILURE(StartServer(48000));
  ASSERT_TRUE(WaitFor([] { return CurrentOutputStatus().primaryOpen; }));
  status = CurrentOutputStatus();
  EXPECT_EQ(status.primaryName, "JACK");
  EXPECT_EQ(status.deviceRate, 48000);
  EXPECT_NE(jack_port_by_name(recorder_, "zorvik-lumo:master_left"), nullptr);
  CloseAudioOutputs(1);
}
