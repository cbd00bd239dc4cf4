// Live input: how InputAudioBlock shares the capture channels out, the capture queue's rate
// conversion, the timecode port, and a JACK loopback: a tone played into the program's capture
// ports reaches the deck channel and the recording, and the live-input setting opens a capture
// device through RtAudio.

#include <gtest/gtest.h>
#include <jack/jack.h>

#include <cmath>
#include <string>
#include <vector>

#include "JackTestServer.h"
#include "ToneMeasure.h"
#include "app/Engine.h"
#include "app/OptionsApply.h"
#include "app/Settings.h"
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
#include "app/control/EngineCommands.h"
#include "support/ScopedEngine.h"
#include "support/TraceCapture.h"
#include "support/WaitFor.h"

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
    if (!JackTestServer::Installed()) GTEST_SKIP() << "jackd is not installed";
    source_ = server_.Start(44100, "lumo-test-tone");
    ASSERT_NE(source_, nullptr) << "jackd did not come up";
    for (int c = 0; c < 2; ++c) {
      ports_[c] = jack_port_register(source_, c ? "tone_right" : "tone_left", JACK_DEFAULT_AUDIO_TYPE,
                                     JackPortIsOutput, 0);
    }
    jack_set_process_callback(source_, &JackLoopback::Tone, this);
    ASSERT_EQ(jack_activate(source_), 0);
  }
  void TearDown() override {
    server_.Stop();
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

  JackTestServer server_;
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
  std::vector<float> left;
  for (size_t i = pcm.size() / 2 - 44100; i < pcm.size() / 2; ++i) left.push_back(pcm[2 * i]);
  EXPECT_NEAR(MedianPeriod(left), kPeriodFrames, 0.5);
  double squares = 0;
  for (float v : left) squares += double(v) * v;
  EXPECT_NEAR(std::sqrt(squares / 44100), 0.5 / std::sqrt(2.0) * 30000, 0.15 * 10600);
}

}  // namespace

namespace {

// The live-input setting, as start-up and the options dialog's OK apply it, with the mix on the
// null back end. RtAudio's JACK API lists each client with outputs as a capture device and
// connects to it, so choosing the tone client brings the tone to deck input 0 and the
// microphone; "none" closes the capture; a device that is not there is said so, and no more.
TEST_F(JackLoopback, TheLiveInputSettingOpensTheChosenDeviceAndNoneClosesIt) {
  ScopedEngine engine(false);
  ASSERT_TRUE(engine.ok());
  struct Teardown {
    ~Teardown() {
      EngineCloseOutputs();  // before the engine's objects go
      g_settings = Settings{};
      g_outputSelection = OutputSelection{};
    }
  } teardown;
  CZQMixer& mixer = *g_engine.mixer;
  mixer.SetMicOn(1);
  CurrentEngineSink().Run(EngineCommand::kAnalogIn, 0, 1, 0);  // deck A's line-input switch
  g_outputSelection = OutputSelection{};
  g_outputSelection.primary = -1;
  const std::string tone = "Jack: lumo-test-tone";
  ASSERT_NE(LiveInputChoices().size(), 1u) << "no capture device listed";
  EXPECT_EQ(LiveInputChoices()[0], "none");
  g_settings.audinp = tone;
  EngineOpenOutputs();
  ASSERT_TRUE(SystemCaptureOpen());
  // Both meters settle on the tone's mean square, 0.125, once input flows.
  EXPECT_TRUE(WaitFor([&] { return std::fabs(mixer.ReadMicLevel().left - 0.125) < 0.03; })) << "microphone";
  EXPECT_TRUE(WaitFor([&] { return std::fabs(mixer.ReadSourceLevel(0).left - 0.125) < 0.03; })) << "deck A";

  TraceCapture trace;
  Settings chosen = g_settings;
  chosen.audinp = "none";
  EXPECT_TRUE(ApplyChosenOptions(chosen, OptionsApplyHooks{}).liveInputChanged);
  EXPECT_FALSE(SystemCaptureOpen());
  EXPECT_TRUE(trace.Saw("live input: capture closed"));
  EXPECT_TRUE(WaitFor([&] { return mixer.ReadMicLevel().left < 1e-6; })) << "the tone stops";

  chosen = g_settings;  // as the dialog collects it at OK
  chosen.audinp = "Jack: no such client";
  OptionsOutcome outcome = ApplyChosenOptions(chosen, OptionsApplyHooks{});
  EXPECT_FALSE(outcome.audioReopened);
  EXPECT_TRUE(outcome.saved) << "the choice is kept for when the device is back";
  EXPECT_FALSE(SystemCaptureOpen());
  EXPECT_TRUE(trace.Saw("live input: can not open \"Jack: no such client\""));
  EXPECT_NE(TakeOutputNotice().find("no such client"), std::string::npos) << "the window tells the user";
}

}  // namespace
