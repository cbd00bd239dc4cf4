// The mix callback's flags: reversed master and monitor, muted output, monitor following the
// master, and where the limiter and the recorder sit.

#include <gtest/gtest.h>

#include <vector>

#include "TestSources.h"
#include "audio/ChannelMap.h"
#include "audio/MasterBus.h"
#include "audio/MixCallback.h"
#include "audio/Mixer.h"
#include "audio/OutputOptions.h"

namespace {

constexpr int kFrames = 32;

class RecordingTap : public CMasterBusRecorder {
 public:
  bool FeedMasterBus(const float* stereo, int frames) noexcept override {
    first = stereo[0];
    count += frames;
    return !failing;
  }
  float first = 0;
  int count = 0;
  bool failing = false;
};

class HalvingLimiter : public CMasterBusProcessor {
 public:
  void ProcessMasterBus(float* stereo, int frames) noexcept override {
    for (int i = 0; i < 2 * frames; ++i) stereo[i] *= 0.5f;
  }
};

class MixAudioBlockTest : public ::testing::Test {
 protected:
  MixAudioBlockTest() : master_(0.5f, 0.5f), cued_(0.25f, 0.25f), mixer_(kFrames) {
    mixer_.AddSource(&master_);
    mixer_.AddSource(&cued_);
    mixer_.SetChannelVolumeGain(1, 0.0f);  // the cued deck is not in the master...
    mixer_.SetChannelMonitorLevel(1, 1.0f);  // ...only in the headphones
    mixer_.SetSourceFlatMonitor(1, 1);
    // Let the volume ramp settle before the tests look at the buses.
    float warm[2 * kFrames];
    mixer_.MixSources(warm, warm, kFrames);
    mixer_.MixSources(warm, warm, kFrames);
    mixer_.MixSources(warm, warm, kFrames);
    mixer_.MixSources(warm, warm, kFrames);
    g_mixRouting.mixer.store(&mixer_);
    g_mixRouting.recorder.store(&tap_);
  }
  ~MixAudioBlockTest() override {
    g_mixRouting.mixer.store(nullptr);
    g_mixRouting.recorder.store(nullptr);
    g_mixRouting.limiter.store(nullptr);
    g_outputOptions.reverseMasterMonitor = 0;
    g_outputOptions.muteOutput = 0;
    g_outputOptions.monitorFollowsMaster = 0;
    g_outputOptions.mode = 0;
    g_outputOptions.externalMixer = 0;
    g_outputOptions.smoothGainInExternal = 1;
  }
  std::vector<float> Mix(int channels) {
    std::vector<float> out(static_cast<size_t>(kFrames * channels), 9.0f);
    EXPECT_EQ(MixAudioBlock(out.data(), kFrames, channels), kFrames);
    return out;
  }
  ConstantSource master_, cued_;
  CZQMixer mixer_;
  RecordingTap tap_;
};

TEST_F(MixAudioBlockTest, ReverseSwapsTheOutputsButNotTheRecording) {
  g_outputOptions.mode = 2;
  std::vector<float> normal = Mix(4);
  EXPECT_FLOAT_EQ(normal[0], 0.5f);
  EXPECT_FLOAT_EQ(normal[2], 0.25f);
  EXPECT_FLOAT_EQ(tap_.first, 0.5f);

  g_outputOptions.reverseMasterMonitor = 1;
  std::vector<float> reversed = Mix(4);
  EXPECT_FLOAT_EQ(reversed[0], 0.25f);
  EXPECT_FLOAT_EQ(reversed[2], 0.5f);
  EXPECT_FLOAT_EQ(tap_.first, 0.5f) << "the recorder follows the master role";
}

TEST_F(MixAudioBlockTest, MuteSilencesTheDeviceButTheMixStillRuns) {
  g_outputOptions.muteOutput = 1;
  mixer_.ReadMasterLevel();
  std::vector<float> out = Mix(2);
  for (float v : out) ASSERT_EQ(v, 0.0f);  // the recording still has the mix: MixRecorder_test
  EXPECT_NEAR(mixer_.ReadMasterLevel().left, 0.25, 0.01) << "the meters still move";
}

TEST_F(MixAudioBlockTest, TheLimiterRunsBeforeTheRecorderAndAFailingDiskRaisesTheFlag) {
  HalvingLimiter limiter;
  g_mixRouting.limiter.store(&limiter);
  Mix(2);
  EXPECT_FLOAT_EQ(tap_.first, 0.25f);
  tap_.failing = true;
  g_mixRouting.stopRecordingRequested.store(0);
  Mix(2);
  EXPECT_EQ(g_mixRouting.stopRecordingRequested.load(), 1);
}

TEST_F(MixAudioBlockTest, MonitorFollowsMasterCopiesTheFirstBusEvenWhenReversed) {
  g_outputOptions.mode = 2;
  g_outputOptions.monitorFollowsMaster = 1;
  std::vector<float> out = Mix(4);
  EXPECT_FLOAT_EQ(out[2], 0.5f) << "the headphones hear the master";
  g_outputOptions.reverseMasterMonitor = 1;
  out = Mix(4);
  // With the roles swapped the copy runs the other way: the monitor overwrites the master.
  EXPECT_FLOAT_EQ(out[0], 0.25f);
  EXPECT_FLOAT_EQ(out[2], 0.25f);
}

TEST_F(MixAudioBlockTest, RefusesWhatItCannotMix) {
  std::vector<float> out(4420 * 2, 1.0f);
  EXPECT_EQ(MixAudioBlock(out.data(), 4411, 2), 0) << "over the 4410-frame bus";
  g_mixRouting.mixer.store(nullptr);
  EXPECT_EQ(MixAudioBlock(out.data(), 16, 2), 0);
  EXPECT_EQ(out[0], 0.0f) << "a null mixer is a silent block";
  g_outputOptions.mode = 2;
  g_mixRouting.mixer.store(&mixer_);
  EXPECT_EQ(MixAudioBlock(out.data(), 16, 1), 0) << "multichannel needs two channels";
}

TEST_F(MixAudioBlockTest, DisablingVolumeInExternalModeLeavesTheTrimAlone) {
  g_outputOptions.mode = 2;
  g_outputOptions.externalMixer = 1;
  g_outputOptions.smoothGainInExternal = 1;
  std::vector<float> out = Mix(4);
  EXPECT_FLOAT_EQ(out[2], 0.0f) << "deck 1's fader is down";
  g_outputOptions.smoothGainInExternal = 0;  // dsblcf
  out = Mix(4);
  // Four channels carry decks 0+2 and 1+3 at half level each.
  EXPECT_FLOAT_EQ(out[2], 0.125f) << "the deck's own output ignores its fader, at once";
  EXPECT_FLOAT_EQ(out[0], 0.25f);
}

TEST(ChannelMap, NormalModes) {
  float master[4] = {0.5f, 0.25f, 0.5f, 0.25f}, monitor[4] = {0.1f, 0.3f, 0.1f, 0.3f};
  float out[2 * 6] = {};
  SpreadNormal(out, 2, 2, 1, master, monitor);
  EXPECT_FLOAT_EQ(out[0], 0.375f) << "split mono: speakers left";
  EXPECT_FLOAT_EQ(out[1], 0.2f) << "headphones right";
  float six[6 * 2] = {};
  SpreadNormal(six, 2, 6, 2, master, monitor);
  EXPECT_FLOAT_EQ(six[0], 0.5f);
  EXPECT_FLOAT_EQ(six[3], 0.3f);
  EXPECT_FLOAT_EQ(six[4], 0.0f) << "channels past the monitor stay silent";
}

TEST(ChannelMap, ExternalLayoutsKeepTheirQuirks) {
  float d0[2] = {0.1f, 0.2f}, d1[2] = {0.3f, 0.4f}, d2[2] = {0.5f, 0.6f}, d3[2] = {0.7f, 0.8f};
  float aux[2] = {0.9f, 0.95f}, monitor[2] = {0.05f, 0.06f};
  const float* decks[4] = {d0, d1, d2, d3};
  float two[2] = {};
  SpreadExternal(two, 1, 2, 0, decks, aux, monitor);
  EXPECT_FLOAT_EQ(two[0], (0.1f + 0.2f + 2 * 0.5f) * 0.25f) << "deck 2 by its left channel, twice";
  EXPECT_FLOAT_EQ(two[1], (0.3f + 0.4f + 2 * 0.7f) * 0.25f);
  float four[4] = {};
  SpreadExternal(four, 1, 4, 2, decks, aux, monitor);
  EXPECT_FLOAT_EQ(four[0], 0.3f);
  EXPECT_FLOAT_EQ(four[3], 0.6f);
  float six[6] = {};
  SpreadExternal(six, 1, 6, 2, decks, aux, monitor);
  EXPECT_FLOAT_EQ(six[4], 0.5f) << "six channels: deck 2 last, deck 3 unheard";
  float twelve[12] = {};
  SpreadExternal(twelve, 1, 12, 2, decks, aux, monitor);
  EXPECT_FLOAT_EQ(twelve[6], 0.7f);
  EXPECT_FLOAT_EQ(twelve[8], 0.9f);
  EXPECT_FLOAT_EQ(twelve[11], 0.06f);
  float five[5] = {9, 9, 9, 9, 9};
  five[4] = 0;
  SpreadExternal(five, 1, 5, 2, decks, aux, monitor);
  EXPECT_EQ(five[4], 0.0f) << "the fifth channel of a five-channel device stays silent";
}

}  // namespace
