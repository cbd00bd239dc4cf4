// The JACK-facing back ends against a real server: a private dummy-driver jackd at 48000 Hz,
// started and killed by each test. A second client records what the output plays. The pro back
// end speaks to JACK itself; the system back end is reached through RtAudio's own JACK API,
// the one RtAudio device this machine without sound cards can open.

#include <gtest/gtest.h>
#include <jack/jack.h>
#include <fcntl.h>
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

#include <rtaudio/RtAudio.h>

#include "OutputTestMix.h"
#include "audio/MixCallback.h"
#include "audio/OutputOptions.h"
#include "audio/devices/OutputBackend.h"
#include "audio/devices/OutputLayer.h"

extern char** environ;

namespace {

bool JackdInstalled() { return access("/usr/bin/jackd", X_OK) == 0; }

// A jackd child with a name of its own; killed by its pid when the guard goes.
class PrivateJackServer {
 public:
  explicit PrivateJackServer(int rate) : name_("lumo-test-" + std::to_string(getpid())) {
    const std::string rateText = std::to_string(rate);
    const char* argv[] = {"jackd", "-n", name_.c_str(), "-d", "dummy", "-r", rateText.c_str(),
                          "-p", "256", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    if (posix_spawn(&pid_, "/usr/bin/jackd", &actions, nullptr, const_cast<char**>(argv),
                    environ) != 0)
      pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    setenv("JACK_DEFAULT_SERVER", name_.c_str(), 1);
  }
  ~PrivateJackServer() {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      waitpid(pid_, nullptr, 0);
    }
    unsetenv("JACK_DEFAULT_SERVER");
  }
  // True once a client can connect (the server takes a moment to come up).
  bool WaitUntilReady() {
    jack_set_error_function(&Quiet);  // "cannot connect" is expected until the server is up
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (pid_ > 0 && std::chrono::steady_clock::now() < deadline) {
      jack_status_t status;
      if (jack_client_t* c = jack_client_open("lumo-test-wait", JackNoStartServer, &status)) {
        jack_client_close(c);
        return true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }

 private:
  static void Quiet(const char*) {}

  std::string name_;
  pid_t pid_ = -1;
};

// Records one port of the output into a preallocated buffer.
class PortRecorder {
 public:
  explicit PortRecorder(size_t capacity) : samples_(capacity) {
    jack_status_t status;
    client_ = jack_client_open("lumo-test-recorder", JackNoStartServer, &status);
    if (!client_) return;
    in_ = jack_port_register(client_, "in", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    jack_set_process_callback(client_, &PortRecorder::Process, this);
    jack_activate(client_);
  }
  ~PortRecorder() {
    if (client_) jack_client_close(client_);
  }
  bool Connect(const char* source) {
    return client_ && jack_connect(client_, source, jack_port_name(in_)) == 0;
  }
  size_t recorded() const { return filled_.load(std::memory_order_acquire); }
  const std::vector<float>& samples() const { return samples_; }

 private:
  static int Process(jack_nframes_t frames, void* self) {
    auto* r = static_cast<PortRecorder*>(self);
    const auto* in = static_cast<const float*>(jack_port_get_buffer(r->in_, frames));
    size_t at = r->filled_.load(std::memory_order_relaxed);
    const size_t n = std::min<size_t>(frames, r->samples_.size() - at);
    std::copy(in, in + n, r->samples_.begin() + static_cast<long>(at));
    r->filled_.store(at + n, std::memory_order_release);
    return 0;
  }

  std::vector<float> samples_;
  std::atomic<size_t> filled_{0};
  jack_client_t* client_ = nullptr;
  jack_port_t* in_ = nullptr;
};

// The median distance between rising zero crossings, interpolated: robust to the odd gap a
// dummy-driver overrun leaves in the recording.
double MedianPeriod(const std::vector<float>& s, size_t from, size_t to) {
  std::vector<double> periods;
  double last = -1;
  for (size_t i = from + 1; i < to; ++i)
    if (s[i - 1] < 0 && s[i] >= 0) {
      const double at = static_cast<double>(i - 1) + s[i - 1] / (s[i - 1] - s[i]);
      if (last >= 0) periods.push_back(at - last);
      last = at;
    }
  if (periods.empty()) return 0;
  std::nth_element(periods.begin(), periods.begin() + static_cast<long>(periods.size() / 2),
                   periods.end());
  return periods[periods.size() / 2];
}

// Waits (bounded) until the recorder is full.
void WaitUntilRecorded(const PortRecorder& recorder, size_t samples) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
  while (recorder.recorded() < samples && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

}  // namespace

TEST(JackOutput, PullsTheMixAndResamplesToTheServerRate) {
  if (!JackdInstalled()) GTEST_SKIP() << "jackd is not installed";
  PrivateJackServer server(48000);
  ASSERT_TRUE(server.WaitUntilReady());

  g_testMix.Reset();
  g_testMix.frequency = 1000.0;
  g_outputOptions.mode = 0;
  g_outputSelection = OutputSelection{};
  ASSERT_GT(EnumerateOutputDevices(), 0);
  const int jack = OutputDeviceIndexByName("JACK");
  ASSERT_GE(jack, 0);
  EXPECT_TRUE(OutputDevice(jack)->pro);
  EXPECT_EQ(jack, OutputDeviceCount(true) - 1) << "the pro device comes after the system ones";
  g_outputSelection.primary = jack;
  OpenAudioOutputs(0, 0);
  const OutputStatus status = CurrentOutputStatus();
  EXPECT_TRUE(status.primaryOpen);
  EXPECT_EQ(status.primaryName, "JACK");
  EXPECT_EQ(status.deviceRate, 48000);
  EXPECT_EQ(status.channels, 4);
  EXPECT_EQ(g_outputOptions.mode.load(), 2) << "a pro primary runs multichannel";
  EXPECT_EQ(g_outputSelection.secondary, -1);

  PortRecorder recorder(48000);  // one second at the server's rate
  ASSERT_TRUE(recorder.Connect("zorvik-lumo:master_left"));
  WaitUntilRecorded(recorder, 48000);
  const uint64_t engineFrames = PrimaryFramesDelivered();
  CloseAudioOutputs(1);
  ASSERT_EQ(recorder.recorded(), 48000u);

  EXPECT_EQ(g_testMix.lastChannels.load(), 4);
  EXPECT_LE(g_testMix.lastFrames.load(), 4410);
  EXPECT_EQ(g_testMix.callsOffAudioThread.load(), 0);
  EXPECT_GT(engineFrames, 44100u * 9 / 10);
  // 1 kHz made at 44100 must play as 1 kHz at 48000: 48 samples a cycle. Played unresampled it
  // would be 44.1; half a sample of tolerance covers the interpolation of the crossings.
  EXPECT_NEAR(MedianPeriod(recorder.samples(), 4800, 48000), 48.0, 0.5);
}

TEST(SystemOutput, RtAudioStreamPlaysTheMixAsResampled16BitSamples) {
  if (!JackdInstalled()) GTEST_SKIP() << "jackd is not installed";
  PrivateJackServer server(48000);
  ASSERT_TRUE(server.WaitUntilReady());

  OutputDeviceInfo device;
  {
    RtAudio probe(RtAudio::UNIX_JACK);
    probe.showWarnings(false);
    for (unsigned int i = 0; i < probe.getDeviceCount(); ++i)
      if (probe.getDeviceInfo(i).name == "system") device.apiDevice = static_cast<int>(i);
  }
  ASSERT_GE(device.apiDevice, 0) << "the dummy server's playback ports";
  device.name = "Jack: system";
  device.api = RtAudio::UNIX_JACK;

  g_testMix.Reset();
  g_testMix.frequency = 1000.0;
  std::atomic<uint64_t> frames{0};
  OutputBackendConfig config;
  config.device = &device;
  config.callback = &MixAudioBlock;
  config.framesDelivered = &frames;
  std::unique_ptr<COutputBackend> output = CreateSystemOutput();
  ASSERT_TRUE(output->Open(config));
  EXPECT_EQ(output->DeviceRate(), 48000);

  PortRecorder recorder(24000);
  ASSERT_TRUE(recorder.Connect("Zorvik Lumo:outport 0"));
  WaitUntilRecorded(recorder, 24000);
  output->Close();
  ASSERT_EQ(recorder.recorded(), 24000u);
  EXPECT_EQ(g_testMix.callsOffAudioThread.load(), 0);
  EXPECT_GT(frames.load(), 22050u * 9 / 10);
  EXPECT_NEAR(MedianPeriod(recorder.samples(), 4800, 24000), 48.0, 0.5);
  // 0.5 leaves as 16000 (times 32000, not 32767), which RtAudio hands JACK as about 0.488.
  const float peak = *std::max_element(recorder.samples().begin() + 4800, recorder.samples().end());
  EXPECT_NEAR(peak, 16000.0f / 32768.0f, 0.003f);
}
