// Live input: how InputAudioBlock shares the capture channels out, the capture queue's rate
// conversion, the timecode port, and a JACK loopback: a tone played into the program's capture
// ports reaches the deck channel and the recording.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <string>
#include <vector>

#include "audio/InputAudioBlock.h"
#include "audio/LiveInputSource.h"
#include "audio/MasterBus.h"
#include "audio/MixRecorder.h"
#include "audio/Mixer.h"
#include "audio/MixerChannel.h"
#include "audio/devices/OutputLayer.h"
#include "audio/devices/SystemCapture.h"
#include "codecs/DecoderWAV.h"
#include "support/TestFiles.h"
#include "support/WaitFor.h"

extern char** environ;

namespace {

// The five inputs the engine registers, unregistered again at the end of each test.
struct Inputs {
  CLiveInputSource mic{nullptr};
  CLiveInputSource decks[4] = {CLiveInputSource(nullptr), CLiveInputSource(nullptr),
                               CLiveInputSource(nullptr), CLiveInputSource(nullptr)};
  Inputs() {
    CLiveInputSource* d[4] = {&decks[0], &decks[1], &decks[2], &decks[3]};
    SetLiveInputs(&mic, d);
    ResetCapturedInput(kCaptureFromJack);
  }
  ~Inputs() { SetLiveInputs(nullptr, nullptr); }
  static std::vector<float> Play(CLiveInputSource& source, int frames) {
    std::vector<float> out(2 * static_cast<size_t>(frames), 99.0f);
    source.GetSamples(out.data(), frames);
    return out;
  }
};

TEST(InputAudioBlock, SharesFourChannelsOutAndStereoToDeckZeroAndTheMic) {
  Inputs inputs;
  const float four[] = {1, 2, 3, 4, 5, 6, 7, 8};  // two frames of four channels
  InputAudioBlock(four, 2, 4);
  EXPECT_EQ(Inputs::Play(inputs.mic, 2), (std::vector<float>{1, 2, 5, 6}));
  EXPECT_EQ(Inputs::Play(inputs.decks[0], 2), (std::vector<float>{1, 2, 5, 6}));
  EXPECT_EQ(Inputs::Play(inputs.decks[1], 2), (std::vector<float>{3, 4, 7, 8}));
  EXPECT_EQ(Inputs::Play(inputs.decks[2], 2), (std::vector<float>{0, 0, 0, 0})) << "deck 2 never hears input";

  const float stereo[] = {9, 10, 11, 12};
  InputAudioBlock(stereo, 2, 2);
  EXPECT_EQ(Inputs::Play(inputs.decks[0], 2), (std::vector<float>{9, 10, 11, 12}));
  EXPECT_EQ(Inputs::Play(inputs.mic, 2), (std::vector<float>{9, 10, 11, 12}));
  EXPECT_EQ(Inputs::Play(inputs.decks[1], 2), (std::vector<float>{3, 4, 7, 8})) << "untouched by stereo";

  const float three[] = {0, 0, 0};
  InputAudioBlock(three, 1, 3);
  EXPECT_EQ(Inputs::Play(inputs.mic, 2), (std::vector<float>{9, 10, 11, 12})) << "three channels: nothing";

  SetLiveInputs(nullptr, nullptr);
  InputAudioBlock(four, 2, 4);
  EXPECT_EQ(Inputs::Play(inputs.decks[1], 2), (std::vector<float>{3, 4, 7, 8})) << "unwired: nothing";
}

TEST(InputAudioBlock, CaptureQueueConvertsTheRateAndFillsGapsWithSilence) {
  Inputs inputs;
  // 48000 Hz ramp on channel 0: at 44100 Hz the values step by 48000/44100.
  std::vector<float> ramp(480);
  for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<float>(i);
  const float* ports[1] = {ramp.data()};
  CaptureInputFrames(kCaptureFromJack, ports, 1, 480, 48000);
  PullCapturedInput(400);
  std::vector<float> got = Inputs::Play(inputs.mic, 400);
  for (int i = 2; i < 400; ++i) {
    ASSERT_NEAR(got[2 * i] - got[2 * i - 2], 48000.0 / 44100.0, 1e-3) << "frame " << i;
    ASSERT_EQ(got[2 * i + 1], 0.0f) << "channel 1 was not given";
  }
  // The queue holds about 40 more frames; a block of 100 gets them and then silence.
  PullCapturedInput(100);
  got = Inputs::Play(inputs.mic, 100);
  EXPECT_GT(got[0], 400.0f);
  EXPECT_EQ(got[2 * 99], 0.0f);
}

struct FakeTimecode : CTimecodeEngine, CTimecodeDeck {
  TimecodeReading next;
  double deckSeconds = 10.0, speed = 99.0, seekedTo = -1.0;
  int decodedFrames = 0;
  TimecodeReading Decode(const float*, int frames) noexcept override { return decodedFrames = frames, next; }
  double PositionSeconds() const noexcept override { return deckSeconds; }
  void SeekSeconds(double s) noexcept override { seekedTo = s; }
  void SetExternalSpeed(double s) noexcept override { speed = s; }
};

struct ConstantDeck : CAudioSignalSource {
  void GetSamples(float* out, int frames) noexcept override { std::fill(out, out + 2 * frames, 0.25f); }
};

TEST(LiveInputTimecode, SteersTheDeckAndPlaysItInPlaceOfTheInput) {
  ConstantDeck deck;
  CLiveInputSource input(&deck);
  FakeTimecode tc;
  input.AttachTimecode(&tc, &tc);
  const float in[] = {0.5f, 0.5f, 0.5f, 0.5f};
  input.SetInput(in, 2, 2, 0);
  EXPECT_EQ(Inputs::Play(input, 2), (std::vector<float>{0.5f, 0.5f, 0.5f, 0.5f})) << "line input";
  EXPECT_EQ(tc.decodedFrames, 0);

  input.SetTimecodeActive(1);
  tc.next = {1.0, 11.0};  // near the deck: speed only
  EXPECT_EQ(Inputs::Play(input, 2), (std::vector<float>{0.25f, 0.25f, 0.25f, 0.25f}));
  EXPECT_EQ(tc.speed, 1.0);
  EXPECT_EQ(tc.seekedTo, -1.0);
  tc.next = {1.0, 42.0};  // the needle moved
  Inputs::Play(input, 2);
  EXPECT_EQ(tc.seekedTo, 42.0);
  tc.seekedTo = -1.0;
  tc.next = {0.0, 99.0};  // needle up: the deck stops where it is
  Inputs::Play(input, 2);
  EXPECT_EQ(tc.speed, 0.0);
  EXPECT_EQ(tc.seekedTo, -1.0);
}

// A private dummy JACK server at 44100 Hz and a client that plays a tone into two ports.
class JackLoopback : public ::testing::Test {
 protected:
  static constexpr double kPeriodFrames = 100.0;  // 441 Hz

  void SetUp() override {
    if (access("/usr/bin/jackd", X_OK) != 0) GTEST_SKIP() << "jackd is not installed";
    jack_set_error_function([](const char*) {});
    const std::string name = "lumo-live-" + std::to_string(getpid());
    const char* argv[] = {"jackd", "-n", name.c_str(), "-d", "dummy", "-r", "44100", "-p", "256", nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&quiet, 2, "/dev/null", O_WRONLY, 0);
    ASSERT_EQ(posix_spawn(&pid_, "/usr/bin/jackd", &quiet, nullptr, const_cast<char**>(argv), environ), 0);
    posix_spawn_file_actions_destroy(&quiet);
    setenv("JACK_DEFAULT_SERVER", name.c_str(), 1);
    ASSERT_TRUE(WaitFor([&] { return (source_ = jack_client_open("lumo-test-tone", JackNoStartServer, nullptr)); },
                        std::chrono::seconds(10)))
        << "jackd did not come up";
    for (int c = 0; c < 2; ++c) {
      ports_[c] = jack_port_register(source_, c ? "tone_right" : "tone_left", JACK_DEFAULT_AUDIO_TYPE,
                                     JackPortIsOutput, 0);
    }
    jack_set_process_callback(source_, &JackLoopback::Tone, this);
    ASSERT_EQ(jack_activate(source_), 0);
  }
  void TearDown() override {
    if (source_) jack_client_close(source_);
    if (pid_ > 0) kill(pid_, SIGTERM), waitpid(pid_, nullptr, 0);
    unsetenv("JACK_DEFAULT_SERVER");
  }
  static int Tone(jack_nframes_t frames, void* self) {
    auto* t = static_cast<JackLoopback*>(self);
    for (int c = 0; c < 2; ++c) {
      auto* out = static_cast<float*>(jack_port_get_buffer(t->ports_[c], frames));
      for (jack_nframes_t i = 0; i < frames; ++i) {
        out[i] = 0.5f * static_cast<float>(std::sin(2 * M_PI * static_cast<double>(t->phase_ + i) / kPeriodFrames));
      }
    }
    t->phase_ += frames;
    return 0;
  }

  pid_t pid_ = -1;
  jack_client_t* source_ = nullptr;
  jack_port_t* ports_[2] = {};
  long long phase_ = 0;
};

TEST_F(JackLoopback, ToneOnTheCapturePortsReachesTheDeckChannelAndTheRecording) {
  Inputs inputs;
  CZQMixer mixer(22050);
  CZQMixerChannel channel(&inputs.decks[0], 1, false);  // deck A switched to its line input
  mixer.AddSource(&channel);
  CMixRecorder recorder;
  TempFolder folder;
  g_mixRouting.mixer.store(&mixer);
  g_mixRouting.recorder.store(&recorder);
  struct Unroute {
    ~Unroute() {
      CloseAudioOutputs(1);
      g_mixRouting.recorder.store(nullptr);
      g_mixRouting.mixer.store(nullptr);
    }
  } unroute;

  g_outputSelection = OutputSelection{};
  ASSERT_GT(EnumerateOutputDevices(), 0);
  g_outputSelection.primary = OutputDeviceIndexByName("JACK");
  ASSERT_GE(g_outputSelection.primary, 0);
  OpenAudioOutputs(0, 0);
  ASSERT_TRUE(CurrentOutputStatus().primaryOpen);
  for (int c = 0; c < 2; ++c) {
    std::string to = std::string("zorvik-lumo:in_") + std::to_string(c + 1);
    ASSERT_EQ(jack_connect(source_, jack_port_name(ports_[c]), to.c_str()), 0) << to;
  }
  ASSERT_EQ(recorder.Start(folder.File("live.wav")), 1);
  ASSERT_TRUE(WaitFor([&] { return recorder.Duration() >= 1.5; }));
  MeanSquares level = mixer.ReadSourceLevel(0);
  ASSERT_EQ(recorder.Stop(), 1);

  EXPECT_NEAR(level.left, 0.125, 0.04) << "the channel meter sees the tone (0.5 peak: 0.125 mean square)";
  CDecoderWAV wav(0);
  AudioFormat format{};
  ASSERT_TRUE(wav.open(folder.File("live.wav"), &format, 0));
  std::vector<short> pcm(2 * static_cast<size_t>(format.frames));
  ASSERT_EQ(wav.read(pcm.data(), format.frames, 0), format.frames);
  // The last second: the tone's period and level, with nothing else mixed in.
  double crossings = 0, first = -1, last = -1, squares = 0;
  size_t from = pcm.size() / 2 - 44100;
  for (size_t i = from; i + 1 < pcm.size() / 2; ++i) {
    double a = pcm[2 * i], b = pcm[2 * i + 2];
    squares += a * a;
    if (a < 0 && b >= 0) {
      double at = static_cast<double>(i) + a / (a - b);
      if (first < 0) first = at;
      last = at, ++crossings;
    }
  }
  ASSERT_GT(crossings, 100);
  EXPECT_NEAR((last - first) / (crossings - 1), kPeriodFrames, 0.5);
  EXPECT_NEAR(std::sqrt(squares / 44100), 0.5 / std::sqrt(2.0) * 30000, 0.15 * 10600);
}

}  // namespace

namespace {

// The same tone through a system capture stream (RtAudio's JACK API: the one capture device a
// machine without sound cards has), with the mix running on the null back end.
TEST_F(JackLoopback, ToneThroughASystemCaptureStreamReachesTheMicrophone) {
  Inputs inputs;
  CZQMixer mixer(22050);
  CZQMixerChannel micChannel(&inputs.mic, 5, false);
  mixer.SetMicChannel(&micChannel);
  mixer.SetMicOn(1);
  g_mixRouting.mixer.store(&mixer);
  struct Unroute {
    ~Unroute() {
      CloseSystemCapture();
      CloseAudioOutputs(1);
      g_mixRouting.mixer.store(nullptr);
    }
  } unroute;
  g_outputSelection = OutputSelection{};
  g_outputSelection.primary = -1;  // the null back end: a real-time clock, no device
  OpenAudioOutputs(0, 0);
  ASSERT_TRUE(OpenSystemCapture("", true));
  EXPECT_TRUE(SystemCaptureOpen());
  const char** inputsOfCapture = jack_get_ports(source_, "Zorvik Lumo input", nullptr, JackPortIsInput);
  ASSERT_NE(inputsOfCapture, nullptr);
  for (int c = 0; c < 2 && inputsOfCapture[c]; ++c) {
    ASSERT_EQ(jack_connect(source_, jack_port_name(ports_[c]), inputsOfCapture[c]), 0) << inputsOfCapture[c];
  }
  jack_free(inputsOfCapture);
  mixer.ReadMicLevel();
  // The meter's mean square settles on the tone's 0.125 once input flows.
  ASSERT_TRUE(WaitFor([&] { return std::fabs(mixer.ReadMicLevel().left - 0.125) < 0.03; }));
}

}  // namespace
