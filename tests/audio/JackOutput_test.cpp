// The JACK-facing back ends against a private dummy-driver jackd at 48000 Hz, started and
// killed (by pid) around each test; a recording client captures what the output plays. The
// system back end is reached through RtAudio's own JACK API, the one RtAudio device a machine
// without sound cards can open.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <rtaudio/RtAudio.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "OutputTestMix.h"
#include "audio/MixCallback.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputBackend.h"

extern char** environ;

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
    if (access("/usr/bin/jackd", X_OK) != 0) GTEST_SKIP() << "jackd is not installed";
    const std::string name = "lumo-test-" + std::to_string(getpid());
    const char* argv[] = {"jackd", "-n", name.c_str(), "-d", "dummy", "-r", "48000", "-p", "256",
                          nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
    ASSERT_EQ(posix_spawn(&pid_, "/usr/bin/jackd", &quiet, nullptr, const_cast<char**>(argv),
                          environ), 0);
    posix_spawn_file_actions_destroy(&quiet);
    setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
    jack_set_error_function([](const char*) {});  // "cannot connect" until the server is up
    for (auto until = Clock::now() + std::chrono::seconds(10); !recorder_ && Clock::now() < until;
         std::this_thread::sleep_for(std::chrono::milliseconds(50)))
      recorder_ = jack_client_open("lumo-test-recorder", JackNoStartServer, nullptr);
    ASSERT_NE(recorder_, nullptr) << "jackd did not come up";
    g_testMix.Reset();
    g_testMix.frequency = 1000.0;
  }
  void TearDown() override {
    if (recorder_) jack_client_close(recorder_);
    if (pid_ > 0) kill(pid_, SIGTERM), waitpid(pid_, nullptr, 0);
    unsetenv("JACK_DEFAULT_SERVER");
  }

  // Records `samples` of the named output port (bounded wait); returns what arrived.
  std::vector<float> Record(const char* port, size_t samples) {
    recording_.samples.assign(samples, 0.0f);
    recording_.in = jack_port_register(recorder_, "in", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    jack_set_process_callback(recorder_, &Recording::Process, &recording_);
    jack_activate(recorder_);
    EXPECT_EQ(jack_connect(recorder_, port, jack_port_name(recording_.in)), 0) << port;
    for (auto until = Clock::now() + std::chrono::seconds(15);
         recording_.filled.load() < samples && Clock::now() < until;)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    jack_deactivate(recorder_);
    recording_.samples.resize(recording_.filled.load());
    return recording_.samples;
  }

  // A 1 kHz tone made at 44100 Hz must play at 1 kHz on the 48 kHz server: 48 samples a cycle
  // (unresampled it would be 44.1). The median of the crossing intervals ignores the odd gap a
  // dummy-driver overrun leaves; half a sample covers the crossing interpolation.
  static double MedianPeriod(const std::vector<float>& s) {
    std::vector<double> periods;
    double last = -1;
    for (size_t i = s.size() / 10; i + 1 < s.size(); ++i)
      if (s[i] < 0 && s[i + 1] >= 0) {
        const double at = static_cast<double>(i) + s[i] / (s[i] - s[i + 1]);
        if (last >= 0) periods.push_back(at - last);
        last = at;
      }
    if (periods.empty()) return 0;
    std::nth_element(periods.begin(), periods.begin() + static_cast<long>(periods.size() / 2),
                     periods.end());
    return periods[periods.size() / 2];
  }

  pid_t pid_ = -1;
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
