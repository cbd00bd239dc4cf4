// The mixer driven the way the controls drive it: slider positions, the crossfader curve and
// sides, the cue knob, dB dials and dB meters, and fader moves that land inside a ramp.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include "TestSources.h"
#include "app/base/Realtime.h"
#include "audio/Mixer.h"
#include "support/WaitFor.h"

namespace {

constexpr int kFrames = 256;  // more than the 100-frame ramp, so one block settles a change

// A left-only source on side 0, a right-only one on side 1 and a centred sampler with no side:
// after a settled block, left = 0.5 gLeft + 0.25 and right = 0.5 gRight + 0.25.
class CrossfaderTest : public ::testing::Test {
 protected:
  CrossfaderTest() : left_(0.5f, 0.0f), right_(0.0f, 0.5f), sampler_(0.25f, 0.25f), mixer_(kFrames) {
    mixer_.AddSource(&left_);
    mixer_.AddSource(&right_);
    mixer_.AddSource(&sampler_);
    mixer_.SetCrossfaderSide(1, 0);
    mixer_.SetCrossfaderSide(0, 1);
  }
  // Settled gains of the two sides at a crossfader position.
  std::pair<float, float> GainsAt(int position) {
    mixer_.SetCrossfader(position);
    float master[2 * kFrames];
    mixer_.MixSources(master, nullptr, kFrames);
    mixer_.MixSources(master, nullptr, kFrames);
    float l = master[2 * kFrames - 2], r = master[2 * kFrames - 1];
    EXPECT_GE(l, 0.25f - 1e-6f) << "the sampler ignores the crossfader";
    return {(l - 0.25f) / 0.5f, (r - 0.25f) / 0.5f};
  }
  ConstantSource left_, right_, sampler_;
  CZQMixer mixer_;
};

TEST_F(CrossfaderTest, SidesWiredBeforeTheCrossfaderMovesPlayAtFullLevel) {
  float master[2 * kFrames];
  mixer_.MixSources(master, nullptr, kFrames);
  EXPECT_FLOAT_EQ(master[2 * kFrames - 1], 0.75f) << "the right-hand deck is not silenced at start-up";
  GainsAt(0);
  mixer_.SetCrossfaderSide(1, 1);  // move the right-hand deck to the left: it plays at once
  mixer_.MixSources(master, nullptr, kFrames);
  EXPECT_FLOAT_EQ(master[2 * kFrames - 1], 0.75f);
}

TEST_F(CrossfaderTest, CurveMinusOneIsAHardCutAtTheMiddle) {
  mixer_.SetCrossfaderCurve(-1);
  auto [l63, r63] = GainsAt(63);
  EXPECT_FLOAT_EQ(l63, 1.0f);
  EXPECT_FLOAT_EQ(r63, 0.0f);
  auto [l64, r64] = GainsAt(64);
  EXPECT_FLOAT_EQ(l64, 0.0f) << "left silent from the middle on";
  EXPECT_FLOAT_EQ(r64, 1.0f);
}

TEST_F(CrossfaderTest, CurveFiftyStaysFlatForFiftyStepsFromEachEnd) {
  mixer_.SetCrossfaderCurve(50);
  for (int p : {0, 25, 50}) {
    auto [l, r] = GainsAt(p);
    EXPECT_FLOAT_EQ(l, 1.0f) << "left flat at " << p;
    EXPECT_FLOAT_EQ(GainsAt(127 - p).second, 1.0f) << "right flat at " << 127 - p;
    (void)r;
  }
  auto [l51, r51] = GainsAt(51);
  EXPECT_LT(l51, 1.0f) << "the slope starts one step after the flat stretch";
  EXPECT_NEAR(20 * std::log10(l51), -(std::pow(91.0, 1.0 / 77) - 1), 0.01);
  EXPECT_FLOAT_EQ(GainsAt(127).first, 0.0f) << "the far end is silent";
  EXPECT_FLOAT_EQ(GainsAt(0).second, 0.0f);
  // A new curve re-applies the position the crossfader stands at.
  GainsAt(100);
  mixer_.SetCrossfaderCurve(110);
  float master[2 * kFrames];
  mixer_.MixSources(master, nullptr, kFrames);
  EXPECT_FLOAT_EQ(master[2 * kFrames - 2], 0.75f) << "left flat again under the wider curve";
}

TEST(MixerControls, SlidersAndDialsGoThroughTheLaws) {
  ConstantSource deck(0.5f, 0.5f);
  CZQMixer mixer(kFrames);
  mixer.AddSource(&deck);
  float master[2 * kFrames];
  mixer.SetChannelVolume(0, 64);
  mixer.SetChannelTrim(0, 6.0f);
  mixer.SetMasterGain(-6.0f);
  mixer.MixSources(master, nullptr, kFrames);
  double volumeDb = -(std::pow(91.0, 63.0 / 127) - 1);
  EXPECT_NEAR(20 * std::log10(master[2 * kFrames - 2] / 0.5), volumeDb, 0.01) << "+6 trim, -6 master";
  mixer.SetChannelVolume(0, 0);
  mixer.MixSources(master, nullptr, kFrames);
  EXPECT_EQ(master[2 * kFrames - 2], 0.0f) << "only the bottom is silent";
  mixer.SetChannelVolume(0, 500);
  EXPECT_EQ(mixer.ChannelVolumePosition(0), 127) << "positions are clamped";
}

TEST(MixerControls, CueKnobSplitCueAndFlatMonitor) {
  ConstantSource cued(0.4f, 0.2f), flat(0.1f, 0.1f);
  CZQMixer mixer(kFrames);
  mixer.AddSource(&cued);
  mixer.AddSource(&flat);
  mixer.SetCrossfaderSide(1, 0);
  mixer.SetChannelVolume(0, 0);  // cued only: nothing in the master from deck 0
  mixer.SetChannelMonitor(0, 127);
  mixer.SetChannelMonitor(1, 127);
  mixer.SetSourceFlatMonitor(1, 1);
  float master[2 * kFrames], monitor[2 * kFrames];
  mixer.MixSources(master, monitor, kFrames);
  mixer.SetCrossfaderCurve(0);
  mixer.SetCueMix(127);  // all master, no cue
  mixer.MixSources(master, monitor, kFrames);
  EXPECT_FLOAT_EQ(monitor[0], 0.1f + master[0]) << "the flat source ignores the cue knob";
  mixer.SetCueMix(0);
  mixer.MixSources(master, monitor, kFrames);
  EXPECT_FLOAT_EQ(monitor[0], 0.4f + 0.1f) << "all cue: no master in the headphones";

  // Split cue: the side-0 deck in mono on the left ear, whatever the monitor slider says; the
  // sideless source still follows the usual rule.
  mixer.SetChannelMonitor(0, 0);
  mixer.SetSplitCue(1);
  mixer.SetCueMix(64);
  mixer.MixSources(master, monitor, kFrames);
  EXPECT_FLOAT_EQ(monitor[0], 0.3f + 0.1f);
  EXPECT_FLOAT_EQ(monitor[1], 0.1f) << "and neither the deck nor the master on the right";
}

TEST(MixerControls, MetersReadDbWithinATenthOfTheExactLevel) {
  // A full cycle every 100 frames and 4410 frames per read: the RMS is exact. The fast
  // logarithm's scale (0.3018868 against log10 2) drifts by 0.28 % of the reading, so a tenth
  // of a dB holds from full scale down to about -20 dB, where meters matter.
  constexpr int kBlock = 4410;
  CZQMixer mixer(kBlock);
  SineSource sine(0.5f, 100.0);
  mixer.AddSource(&sine);
  std::vector<float> master(2 * kBlock);
  float left, right;
  for (float trimDb : {0.0f, 6.0f}) {
    for (float amplitude : {0.9f, 0.5f, 0.2f}) {
      sine.SetAmplitude(amplitude);
      mixer.SetChannelTrim(0, trimDb);
      mixer.ReadSourceLevelDb(0, &left, &right);
      mixer.MixSources(master.data(), nullptr, kBlock);
      mixer.ReadSourceLevelDb(0, &left, &right);
      float exact = 20 * std::log10(amplitude / std::sqrt(2.0f)) + trimDb;
      EXPECT_NEAR(left, exact, 0.1) << amplitude << " with trim " << trimDb;
      EXPECT_NEAR(right, exact, 0.1);
    }
  }
  mixer.ReadMasterLevelDb(&left, &right);
  mixer.SetChannelTrim(0, 0.0f);
  mixer.MixSources(master.data(), nullptr, kBlock);
  mixer.MixSources(master.data(), nullptr, kBlock);
  mixer.ReadMasterLevelDb(&left, &right);
  EXPECT_NEAR(left, 20 * std::log10(0.2f / std::sqrt(2.0f)), 0.1) << "the master";
  mixer.ReadMonitorLevelDb(&left, &right);
  EXPECT_FLOAT_EQ(left, -318.7f) << "a meter nobody fed";
  sine.SetAmplitude(0.0f);
  mixer.SetChannelTrim(0, 0.0f);
  mixer.ReadSourceLevelDb(0, &left, &right);
  mixer.MixSources(master.data(), nullptr, kBlock);
  mixer.ReadSourceLevelDb(0, &left, &right);
  EXPECT_LT(left, -240.0f) << "a silent source reads its 1e-25 floor, far below anything audible";
  mixer.ReadSourceLevelDb(7, &left, &right);
  EXPECT_EQ(left, -320.0f);
}

// Every frame of a DC source through the ramp: the largest change between neighbouring frames,
// across block boundaries too.
struct StepWatch {
  float last = 0.0f;
  bool first = true;
  float largest = 0.0f;
  void Watch(const float* stereo, int frames) {
    for (int i = 0; i < frames; ++i) {
      if (!first) largest = std::max(largest, std::fabs(stereo[2 * i] - last));
      last = stereo[2 * i];
      first = false;
    }
  }
};

// The ramp runs on gain + 1 from 1 to 2 in 100 frames: no frame moves by more than
// 2 * (2^(1/100) - 1) = 0.0139 of full scale. A snap to the target would move by up to 1.
constexpr float kLargestRampStep = 0.015f;

TEST(MixerRamp, TwoMovesWithinOneHundredFramesRestartFromWhereTheRampStands) {
  ConstantSource dc(1.0f, 1.0f);
  CZQMixer mixer(kFrames);
  mixer.AddSource(&dc);
  StepWatch watch;
  float master[2 * kFrames];
  mixer.MixSources(master, nullptr, 10);
  watch.Watch(master, 10);
  for (int block : {30, 7, 1, 60, 256}) {
    mixer.SetChannelVolume(0, mixer.ChannelVolumePosition(0) == 127 ? 0 : 127);
    mixer.MixSources(master, nullptr, block);
    watch.Watch(master, block);
  }
  EXPECT_LE(watch.largest, kLargestRampStep);
  EXPECT_FLOAT_EQ(master[2 * 255], 0.0f) << "the last move, given time, lands on silence";
}

TEST(MixerRamp, FaderMovesFromAnotherThreadNeverSnapTheGain) {
  ConstantSource dc(1.0f, 1.0f);
  CZQMixer mixer(64);
  mixer.AddSource(&dc);
  std::atomic<bool> stop{false};
  std::atomic<long> blocks{0};
  float largest = 0.0f;
  std::thread audio([&] {
    rt::AudioThreadScope scope;
    StepWatch watch;
    float master[2 * 64];
    while (!stop.load()) {
      int frames = 1 + static_cast<int>(blocks.load() % 64);
      mixer.MixSources(master, nullptr, frames);
      watch.Watch(master, frames);
      blocks.fetch_add(1);
    }
    largest = watch.largest;
  });
  {
    JoinGuard guard{stop, audio};
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    for (long moves = 0; blocks.load() < 200000 && std::chrono::steady_clock::now() < deadline; ++moves) {
      mixer.SetChannelVolume(0, moves % 2 ? 127 : 40 + static_cast<int>(moves % 7));
    }
  }
  EXPECT_GT(blocks.load(), 1000);
  EXPECT_LE(largest, kLargestRampStep);
}

}  // namespace
