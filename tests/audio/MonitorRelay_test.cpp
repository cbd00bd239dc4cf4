#include "audio/MonitorRelay.h"

#include <gtest/gtest.h>

#include <vector>

#include "audio/MixCallback.h"
#include "audio/OutputOptions.h"

OutputOptions g_outputOptions;

namespace {

std::vector<float> Block(int frames, float value) {
  return std::vector<float>(static_cast<size_t>(frames) * 2, value);
}

class MonitorRelay : public ::testing::Test {
 protected:
  void SetUp() override {
    g_outputOptions.muteOutput = 0;
    SetSecondaryOutputOpen(true);  // drains whatever the last test left
  }
  void TearDown() override { SetSecondaryOutputOpen(false); }
};

}  // namespace

TEST_F(MonitorRelay, PassesBlocksInOrderAndSilenceWhenEmpty) {
  EXPECT_TRUE(SecondaryOutputOpen());
  RelayMonitorBlock(Block(360, 0.25f).data(), 360);
  std::vector<float> out = Block(361, 9.0f);  // one guard frame
  EXPECT_EQ(MonitorAudioBlock(out.data(), 360, 2), 360);
  EXPECT_EQ(out[0], 0.25f);
  EXPECT_EQ(out[719], 0.25f);
  EXPECT_EQ(out[720], 9.0f);
  EXPECT_EQ(MonitorAudioBlock(out.data(), 360, 2), 0);  // empty: silence, not stale audio
  EXPECT_EQ(out[0], 0.0f);
  EXPECT_EQ(out[720], 9.0f);
}

TEST_F(MonitorRelay, DropsABlockWhenTheReaderFallsBehind) {
  RelayMonitorBlock(Block(100, 0.1f).data(), 100);
  RelayMonitorBlock(Block(100, 0.2f).data(), 100);
  RelayMonitorBlock(Block(100, 0.3f).data(), 100);
  std::vector<float> out = Block(100, 0.0f);
  // Two blocks wait behind the one read: the next one is skipped.
  EXPECT_EQ(MonitorAudioBlock(out.data(), 100, 2), 100);
  EXPECT_EQ(out[0], 0.2f);
  // Exactly one waits now: no drop.
  EXPECT_EQ(MonitorAudioBlock(out.data(), 100, 2), 100);
  EXPECT_EQ(out[0], 0.3f);
}

TEST_F(MonitorRelay, FullRingLosesTheBlockAndMuteSilences) {
  const int ringFrames = static_cast<int>(kMonitorRelayBytes / 8);  // 17640: four full blocks
  for (int i = 0; i < 4; ++i) RelayMonitorBlock(Block(4410, 0.5f).data(), 4410);
  RelayMonitorBlock(Block(1, 0.9f).data(), 1);  // lost
  std::vector<float> out = Block(ringFrames, 0.0f);
  g_outputOptions.muteOutput = 1;
  EXPECT_EQ(MonitorAudioBlock(out.data(), ringFrames, 2), ringFrames);
  EXPECT_EQ(out[0], 0.0f);  // read, then cleared
  EXPECT_EQ(MonitorAudioBlock(out.data(), 1, 2), 0);  // the lost frame never arrived
}
