// Which tracks stay whole and which stream, and that a streaming deck keeps its window however
// it is thrown around.

#include <random>

#include "DeckFixture.h"

namespace {

TEST(TrackMemory, MemoryModeBoundaries) {
  constexpr int kFiveMinutes = 103360;  // "maxram" 2
  EXPECT_FALSE(CTrackMemory::ShouldStream(299, kFiveMinutes));
  EXPECT_TRUE(CTrackMemory::ShouldStream(300, kFiveMinutes));
  EXPECT_FALSE(CTrackMemory::ShouldStream(900, 310080));
  EXPECT_TRUE(CTrackMemory::ShouldStream(901, 310080));
  EXPECT_TRUE(CTrackMemory::ShouldStream(1, 0)) << "a limit of 0 streams everything";
}

TEST_F(DeckTest, AWholeTrackLoadsEveryBlockAndKeepsThem) {
  LoadTrack(MakeTestSignal(7 * 44100 + 300), false);
  EXPECT_FALSE(deck->memory.streaming());
  EXPECT_EQ(deck->memory.blockCount(), 8);
  EXPECT_EQ(deck->percentLoaded(), 100);
  EXPECT_EQ(deck->memory.Block(7)->framesRead, 300);
  deck->DropBlock(3, false);
  EXPECT_TRUE(deck->memory.Present(3)) << "only an unload frees a whole track's blocks";
}

TEST_F(DeckTest, SeekingAStreamedTrackIsSilentUntilTheBlockArrives) {
  g_trackMemoryLimitKB = 0;
  LoadTrack(MakeTestSignal(60 * 44100), true);
  Render(360, 360);
  double before = deck->Position();
  ASSERT_TRUE(deck->seek(40 * 44100));
  EXPECT_FALSE(deck->seek(10)) << "one seek at a time";
  std::vector<float> out = Render(360, 360);
  EXPECT_NEAR(deck->Position(), before + 360, 1e-9) << "held at its old place until the jump";
  StepManualThreads(0);
  EXPECT_FALSE(deck->seekPending.load());
  out = Render(360, 360);
  EXPECT_NEAR(deck->Position(), 40 * 44100 + 360, 1e-9);
  EXPECT_NE(out[200], 0.0f);
}

// Throws a streaming deck around: seeks anywhere, speeds from -4 to 4, rendering in between.
// After every loader pass each block in memory must be inside the window around the play head
// or pinned (first block, last two, the cue).
TEST_F(DeckTest, AStreamingSeekStormKeepsResidencyInsideTheWindow) {
  g_trackMemoryLimitKB = 0;
  constexpr int kSeconds = 150;
  LoadTrack(MakeTestSignal(kSeconds * 44100, 3), true);
  ASSERT_TRUE(deck->memory.streaming()) << "a limit of 0 streams every track";
  std::mt19937 random(42);
  std::uniform_int_distribution<int> anywhere(0, kSeconds * 44100 - 1);
  std::uniform_real_distribution<double> speeds(-4.0, 4.0);
  int checks = 0;
  for (int round = 0; round < 300; ++round) {
    if (round % 7 == 0) deck->seek(anywhere(random));
    deck->setTargetSpeed(speeds(random));
    Render(4410, 441);
    StepManualThreads(100);
    if (deck->seekPending.load()) continue;
    int current = static_cast<int>(deck->Position()) / kTrackBlockFrames;
    int blocks = deck->memory.blockCount();
    for (int b = 0; b < blocks; ++b) {
      if (!deck->memory.Present(b)) continue;
      // A seek leaves the last three blocks alone; the next pass's sweep takes the third.
      bool pinned = deck->memory.Block(b)->pinned != 0 || b >= blocks - 3;
      ASSERT_TRUE(pinned || std::abs(b - current) <= 21)
          << "block " << b << " resident with the play head in block " << current << " (round " << round << ")";
    }
    ++checks;
  }
  EXPECT_GT(checks, 200);
  EXPECT_TRUE(deck->memory.Present(0));
  EXPECT_TRUE(deck->memory.Present(kSeconds - 1)) << "the first and last blocks are never evicted";
}

}  // namespace
