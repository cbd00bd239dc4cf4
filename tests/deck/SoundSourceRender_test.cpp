// What a deck sounds like: exact passthrough, the same audio whatever the block size, the stop
// fade, missing blocks, the track ends and the speed ramp.

#include <cmath>

#include "DeckFixture.h"

namespace {

TEST_F(DeckTest, PlaysBitExactAtSpeedOneWithAndWithoutKeyLock) {
  std::vector<int16_t> in = MakeTestSignal(3 * kSecond, 4);
  for (bool keyLock : {true, false}) {
    LoadTrack(in, true);
    deck->setKeyLock(keyLock);  // at speed 1 the key lock passes the track through untouched
    std::vector<float> out = Render(2 * kSecond, keyLock ? 333 : 360);
    const size_t first = 2 * static_cast<size_t>(deck->cueTable[CSoundSource::kFirstSoundSlot].load());
    for (size_t k = 0; k < out.size(); ++k) {
      ASSERT_EQ(out[k], in[first + k] * kOutputScale) << "sample " << k << (keyLock ? " with key lock" : "");
    }
  }
  // The 16-bit reader interpolates between the frame under the position and the next one.
  deck->position = 1000.0;
  std::vector<short> sixteen(2 * 100);
  {
    rt::AudioThreadScope audio;
    deck->ReadInt16(sixteen.data(), 100);
  }
  EXPECT_EQ(sixteen[0], in[2 * 1001]);
  EXPECT_EQ(sixteen[199], in[2 * 1100 + 1]);
}

TEST_F(DeckTest, BlockSizeDoesNotChangeTheAudio) {
  std::vector<int16_t> in = MakeTestSignal(4 * 44100, 2);
  std::vector<std::vector<float>> renders;
  for (int block : {4410, 1, 3, 5}) {
    LoadTrack(in, true);
    deck->setTargetSpeed(0.83);  // a ramp and a fractional position make it a real test
    renders.push_back(Render(44100, block));
  }
  for (size_t r = 1; r < renders.size(); ++r) EXPECT_EQ(renders[r], renders[0]) << "render " << r;
}

TEST_F(DeckTest, AStopFadesTheLastFrameOverExactly441FramesAcrossBlocks) {
  std::vector<int16_t> in = MakeTestSignal(2 * 44100);
  LoadTrack(in, true);
  std::vector<float> before = Render(1000, 360);
  float held = before[2 * 999];
  ASSERT_NE(held, 0.0f);
  deck->setPlaying(0);
  std::vector<float> after = Render(600, 100);
  for (int k = 0; k < 441; ++k) {
    ASSERT_FLOAT_EQ(after[2 * static_cast<size_t>(k)], held * static_cast<float>(441 - k) / 441.0f) << k;
  }
  for (int k = 441; k < 600; ++k) ASSERT_EQ(after[2 * static_cast<size_t>(k)], 0.0f) << k;
}

TEST_F(DeckTest, AMissingBlockIsOneSilentBlockWhileTheClockRunsOn) {
  LoadTrack(MakeTestSignal(5 * 44100), true);
  deck->DropBlock(2, true);
  deck->position = 2 * 44100 - 100.0;
  std::vector<float> out = Render(360, 360);
  for (float v : out) ASSERT_EQ(v, 0.0f);
  EXPECT_DOUBLE_EQ(deck->Position(), 2 * 44100 - 100.0 + 360) << "the position keeps counting";
  EXPECT_FALSE(deck->memory.Present(2));
  StepManualThreads(0);  // the render woke the loader
  EXPECT_TRUE(deck->memory.Present(2));
  out = Render(360, 360);
  EXPECT_NE(out[100], 0.0f);
}

TEST_F(DeckTest, RefusesOversizedBlocksAndStaysSilentWhenEmpty) {
  std::vector<float> out(2 * 4411, 1.0f);
  deck->setPlaying(1);
  {
    rt::AudioThreadScope audio;
    deck->GetSamples(out.data(), 100);
  }
  EXPECT_EQ(out[0], 0.0f) << "play on an empty deck changes no audio";
  EXPECT_EQ(deck->IsPlaying(), true);

  LoadTrack(MakeTestSignal(44100), true);
  double before = deck->Position();
  std::fill(out.begin(), out.end(), 1.0f);
  {
    rt::AudioThreadScope audio;
    deck->GetSamples(out.data(), 4411);
  }
  EXPECT_EQ(out[8821], 0.0f);
  EXPECT_EQ(deck->Position(), before);
}

// An analysis port whose stripe file says the track is silent for its first two seconds.
class QuietStartAnalysis : public StubAnalysis {
 public:
  int LoadStripes(CSoundSource& deck) override {
    std::lock_guard lock(deck.dataLock);
    auto& level = deck.stripes[0];
    for (size_t i = 0; i < level.size(); ++i) level[i] = i < 2 * 441 ? 0.001f : 0.5f;
    return 1;
  }
};

TEST_F(DeckTest, TheFirstRenderParksAtTheFirstSound) {
  QuietStartAnalysis analysis;
  deck->SetAnalysis(&analysis);
  LoadTrack(MakeTestSignal(5 * 44100), false);
  EXPECT_EQ(deck->cueTable[CSoundSource::kFirstSoundSlot].load(), 2 * 44100);
  Render(100, 100);
  EXPECT_DOUBLE_EQ(deck->Position(), 2 * 44100) << "parked without anyone pressing cue";
  EXPECT_FALSE(deck->IsPlaying());
  EXPECT_EQ(deck->cuePos.load(), deck->cueTable[0].load()) << "then the cue returns to the selected slot";

  // A load that plays at once starts from the first sound and keeps playing.
  LoadTrack(MakeTestSignal(5 * 44100), true);
  Render(1000, 100);
  EXPECT_TRUE(deck->IsPlaying());
  EXPECT_NEAR(deck->Position(), 2 * 44100 + 1000, 1e-9);
  deck->SetAnalysis(nullptr);
}

TEST_F(DeckTest, TheTrackEndHoldsTheDeckUnlessTheSongLoops) {
  LoadTrack(MakeTestSignal(44100), true);
  deck->position = 44100 - 50.0;
  std::vector<float> out = Render(1000, 200);
  EXPECT_DOUBLE_EQ(deck->Position(), 44099) << "stands at the last frame";
  EXPECT_TRUE(deck->IsPlaying()) << "the tick, not the render, returns it to the cue";
  EXPECT_EQ(out[2 * 999], 0.0f) << "and the sound has faded";

  deck->loopSong = 1;
  deck->position = 44100 - 50.0;
  Render(100, 100);
  EXPECT_NEAR(deck->Position(), 50.0, 1e-9) << "wrapped to the start";
}

TEST_F(DeckTest, SpeedChangesRampOverTheirFixedLengths) {
  LoadTrack(MakeTestSignal(3 * 44100), true);
  Render(100, 100);
  double start = deck->Position();
  deck->setTargetSpeed(0.0);
  Render(500, 100);
  EXPECT_DOUBLE_EQ(deck->speed.load(), 0.0) << "a stop takes 500 frames";
  // The area under a linear ramp from 1 to 0: about half the frames.
  EXPECT_NEAR(deck->Position() - start, 250.0, 2.0);
  deck->setTargetSpeed(1.0);
  Render(1990, 1990);
  EXPECT_LT(deck->speed.load(), 1.0);
  Render(20, 20);
  EXPECT_DOUBLE_EQ(deck->speed.load(), 1.0) << "back to normal takes 2000";
  deck->setTargetSpeed(-1.0);
  Render(4000, 400);
  EXPECT_DOUBLE_EQ(deck->speed.load(), -1.0);
}

}  // namespace
