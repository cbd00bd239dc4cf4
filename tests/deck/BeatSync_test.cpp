// Beat matching between two decks with beat marks written straight into their stripes, so the
// beat frames are known exactly: the one-shot sync, tempo matching and its refusals, the phase
// scan's self-repair, and the loop-aware nudge. Alignment is measured on the decks' own play
// heads against the injected grids.

#include <cmath>

#include "TwoDeckFixture.h"
#include "deck/BeatSync.h"
#include "support/AllocationCounter.h"

namespace {

using BeatSync = TwoDeckTest;

constexpr double kOneMs = 44.1;

// 126 BPM: a beat is exactly 210 stripe entries, so the injected marks carry the beat frames
// exactly. (At 120 BPM every other mark sits up to 50 frames early inside its entry, which a
// sync inherits: about 1.1 ms, the stripe's resolution.)
TEST_F(BeatSync, TwoDecksAtOneTempoEndOnTheSameBeat) {
  auto beats0 = LoadWithBeats(0, 126.0f, 1000);
  auto beats1 = LoadWithBeats(1, 126.0f, 3000);
  PlayFrom(0, 10 * kSecond + 137);
  PlayFrom(1, 10 * kSecond + 137 + 2000 + 0.3 * 21000);  // grid 2000 frames later, plus 0.3 beat
  Render(kSecond / 2);
  ASSERT_NEAR(std::fabs(LagFrames(beats0, beats1)), 0.3 * 21000, 10) << "the decks start 0.3 beat apart";
  EXPECT_NEAR(std::fabs(BeatDifference(*deck[0], *deck[1])), 30, 1) << "what the window shows";

  ResetAudioThreadCounts();
  ASSERT_EQ(deck[1]->beatSync(*deck[0]), 1);
  EXPECT_EQ(deck[1]->getPitch(), 0) << "same tempo: only the phase moves";
  Render(kSecond);
  EXPECT_EQ(deck[1]->syncPending.load(), 0);
  EXPECT_LT(std::fabs(LagFrames(beats0, beats1)), kOneMs);
  EXPECT_LE(std::abs(BeatDifference(*deck[0], *deck[1])), 1);
  EXPECT_EQ(AudioThreadAllocations(), 0u) << "the phase scan and the nudge allocate nothing";
}

TEST_F(BeatSync, AFasterTrackIsPitchedDownAndStaysOnTheBeat) {
  auto beats0 = LoadWithBeats(0, 120.0f, 500);
  auto beats1 = LoadWithBeats(1, 125.0f, 2500);
  PlayFrom(0, 5 * kSecond);
  PlayFrom(1, 7 * kSecond + 9000);
  Render(kSecond / 4);
  ASSERT_EQ(deck[1]->beatSync(*deck[0]), 1);
  EXPECT_EQ(deck[1]->getPitch(), -400) << "125 BPM at -4 % is 120 BPM";
  Render(kSecond / 2);  // the speed ramp, then the nudge
  ASSERT_EQ(deck[1]->syncPending.load(), 0);
  // Sixteen beats of deck 0, checked at every block.
  double worst = 0;
  for (int b = 0; b < 16 * 22050; b += 256) {
    Render(256);
    worst = std::max(worst, std::fabs(LagFrames(beats0, beats1)));
  }
  EXPECT_LT(worst, 5 * kOneMs);
}

TEST_F(BeatSync, ImpossibleMatchesAreRefusedAndChangeNothing) {
  LoadWithBeats(0, 130.0f, 0);
  LoadWithBeats(1, 60.0f, 0);
  PlayFrom(0, kSecond);
  deck[1]->setPitch(150);
  EXPECT_EQ(deck[1]->matchTempo(*deck[0]), 0) << "60 against 130 BPM needs more than 50 %";
  EXPECT_EQ(deck[1]->beatSync(*deck[0]), 0);
  EXPECT_EQ(deck[1]->getPitch(), 150);
  EXPECT_EQ(deck[1]->syncPending.load(), 0);

  LoadWithBeats(1, 0.0f, 0);
  PlayFrom(1, 3 * kSecond);
  EXPECT_EQ(deck[1]->matchTempo(*deck[0]), 0) << "no tempo, nothing to match";
  EXPECT_EQ(deck[0]->matchTempo(*deck[1]), 0);
  Render(kSecond / 10);
  CSoundSource::BeatInfo info = deck[1]->getBeatInfo();
  EXPECT_EQ(info.beatFrames2, 22050) << "the phase still runs on a 120 BPM grid";
  EXPECT_GE(info.beatIndex, 0);
}

TEST_F(BeatSync, SyncStartsAStoppedDeckAndAlignsIt) {
  auto beats0 = LoadWithBeats(0, 128.0f, 700);
  auto beats1 = LoadWithBeats(1, 128.0f, 1900);
  PlayFrom(0, 20 * kSecond);
  deck[1]->position = 4 * kSecond + 5000;
  Render(kSecond / 4);
  ASSERT_FALSE(deck[1]->IsPlaying());
  ASSERT_EQ(deck[1]->beatSync(*deck[0]), 1);
  EXPECT_TRUE(deck[1]->IsPlaying());
  Render(kSecond / 2);
  EXPECT_LT(std::fabs(LagFrames(beats0, beats1)), kOneMs);
}

TEST_F(BeatSync, APassageWithoutMarksIsRepairedAsItPlays) {
  // Beats every 22050 frames from 0; the beat at 220500 lost its mark.
  LoadWithBeats(0, 120.0f, 0);
  const size_t lost = 2205;
  {
    std::lock_guard lock(deck[0]->dataLock);
    ASSERT_TRUE(IsMarked(deck[0]->stripes[0][lost]));
    deck[0]->stripes[0][lost] -= kBeatMark;
  }
  PlayFrom(0, 220500 - 11025);  // half a beat before the lost one
  Render(256);
  EXPECT_NEAR(deck[0]->beatPhase.load(), 0.5, 0.02) << "the next mark found is a beat too far: the lost one counts";
  std::lock_guard lock(deck[0]->dataLock);
  EXPECT_TRUE(IsMarked(deck[0]->stripes[0][lost])) << "and is marked again";
}

TEST_F(BeatSync, ANudgeThatWouldLeaveALoopJumpsABeatTheOtherWay) {
  LoadWithBeats(0, 120.0f, 0);
  PlayFrom(0, 10 * 22050 + 1000);
  Render(256);
  ASSERT_TRUE(deck[0]->beatLoop(64));  // one beat
  Render(kSecond + 5000);  // round the loop twice, and 5000 frames into it
  const int start = deck[0]->loopStart.load(), end = deck[0]->loopEnd.load();
  ASSERT_TRUE(deck[0]->loopActive.load());
  deck[0]->setPlaying(0);
  const double pos = deck[0]->Position();
  ASSERT_GT(pos, start + 1000.0);

  ASSERT_EQ(deck[0]->nudge(-500), 1) << "inside the loop: taken";
  EXPECT_DOUBLE_EQ(deck[0]->Position(), pos - 500);
  const double here = deck[0]->Position();
  const double back = start - here - 100;  // 100 frames before the loop start
  ASSERT_EQ(deck[0]->nudge(back), 1);
  EXPECT_DOUBLE_EQ(deck[0]->Position(), here + 22050 + back) << "a beat later instead";
  EXPECT_LE(deck[0]->Position(), end);
  EXPECT_EQ(deck[0]->nudge(3 * 22050), 0) << "nowhere inside: refused";

  ASSERT_TRUE(deck[0]->endLoop(1));
  EXPECT_EQ(deck[0]->nudge(-deck[0]->Position() - 10), 0) << "before the track start";
}

}  // namespace
