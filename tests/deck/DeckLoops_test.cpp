// Loops and cues as a DJ uses them on a playing deck. Tracks here have no analysis, so a beat
// is 22050 frames (120 BPM) and loop sizes are easy to reason about.

#include "DeckFixture.h"
#include "library/SongDatabase.h"

namespace {

constexpr int kBeat = 22050;

class LoopTest : public DeckTest {
 protected:
  void SetUp() override {
    in = MakeTestSignal(30 * kSecond, 3);
    LoadTrack(in, true);
    Render(100, 100);
    deck->position = 4.0 * kSecond;  // a whole frame, so the speed-1 render reads exact samples
  }
  // Renders until the deck's pass count reaches `passes` (or a generous limit).
  void RenderToPass(int passes) {
    for (int k = 0; k < 2000 && deck->loopPasses.load() < passes; ++k) Render(64, 64);
  }
  std::vector<int16_t> in;
};

TEST_F(LoopTest, BeatLoopsRepeatBitExactlyWithTheirBeatLength) {
  for (int code : {16, 64, 256}) {
    deck->endLoop(1);
    deck->position = 4.0 * kSecond;
    int start = deck->GetPosition();
    ASSERT_EQ(deck->beatLoop(code), 1) << code;
    int length = kBeat * code / 64;
    EXPECT_EQ(deck->loopLength.load(), length);
    // Odd block sizes: the wrap falls inside blocks at every offset.
    std::vector<float> out = Render(3 * length + 17, 333);
    for (int k = 0; k < 3 * length + 17; ++k) {
      // The output trails the position by one frame, so the loop sounds from start - 1.
      int frame = start - 1 + (k + 1) % length;
      ASSERT_EQ(out[2 * static_cast<size_t>(k)], in[2 * static_cast<size_t>(frame)] * kOutputScale)
          << "code " << code << " frame " << k;
    }
    EXPECT_EQ(deck->loopPasses.load(), 3);
  }
}

TEST_F(LoopTest, ASubBeatLoopLetsGoOnAWholeBeat) {
  ASSERT_EQ(deck->beatLoop(16), 1);  // a quarter beat: four passes make a beat
  RenderToPass(6);
  ASSERT_EQ(deck->loopPasses.load(), 6);
  EXPECT_EQ(deck->endLoop(0), 1);
  EXPECT_EQ(deck->exitPending.load(), 1);
  RenderToPass(7);
  EXPECT_EQ(deck->loopActive.load(), 1) << "still looping at pass 7";
  Render(kBeat, 64);
  EXPECT_EQ(deck->loopActive.load(), 0) << "let go at pass 8";
  EXPECT_GT(deck->Position(), deck->loopEnd.load()) << "and plays on past the loop";
  EXPECT_EQ(deck->lastLength.load(), kBeat / 4) << "remembered for recall";

  // A whole-beat loop lets go at once; the second press of its size is the same.
  ASSERT_EQ(deck->beatLoop(64), 1);
  EXPECT_EQ(deck->beatLoop(64), 1);
  EXPECT_EQ(deck->loopActive.load(), 0);
  ASSERT_EQ(deck->recallLoop(), 1);
  EXPECT_EQ(deck->loopLength.load(), kBeat);
}

TEST_F(LoopTest, PendingChangesWaitForTheWrapWhilePlayingAndApplyAtOnceWhenStopped) {
  ASSERT_EQ(deck->beatLoop(128), 1);  // two beats
  int start = deck->loopStart.load();
  Render(kBeat + 1000, 250);           // into the second beat
  ASSERT_EQ(deck->resizeLoop(-deck->loopLength.load() / 2), 1);
  Render(500, 250);
  EXPECT_EQ(deck->loopLength.load(), 2 * kBeat) << "the loop in force plays out";
  Render(kBeat, 250);                  // across the wrap
  EXPECT_EQ(deck->loopLength.load(), kBeat);
  EXPECT_EQ(deck->loopStart.load(), start);

  // Shifting by a whole length hands over at the old end, straight into the next loop.
  ASSERT_EQ(deck->shiftLoop(kBeat), 1);
  EXPECT_EQ(deck->shiftLoop(kBeat), 0) << "one pending change at a time";
  Render(kBeat + 10, 250);
  EXPECT_EQ(deck->loopStart.load(), start + kBeat);

  // Stopped, with the position inside: at once.
  deck->setPlaying(0);
  Render(500, 250);
  ASSERT_GT(deck->Position(), deck->loopStart.load());
  ASSERT_EQ(deck->resizeLoop(kBeat), 1);
  EXPECT_EQ(deck->loopLength.load(), 2 * kBeat);
}

TEST_F(LoopTest, CommandsThatWouldBreakTheLoopAreRefused) {
  EXPECT_EQ(deck->recallLoop(), 0) << "nothing to recall yet";
  EXPECT_EQ(deck->resizeLoop(100), 0) << "no loop";
  ASSERT_EQ(deck->beatLoop(8), 1);  // 1/8 beat
  EXPECT_EQ(deck->resizeLoop(-deck->nextLength.load() / 2), 1) << "down to 1/16";
  EXPECT_EQ(deck->resizeLoop(-deck->nextLength.load() / 2), 0) << "1/32 is below the floor";
  EXPECT_EQ(deck->nextLength.load(), kBeat / 16);
  deck->endLoop(1);
  deck->position = 30.0 * kSecond - 1000;
  EXPECT_EQ(deck->beatLoop(64), 0) << "a loop past the end of the track";
  EXPECT_EQ(deck->loopActive.load(), 0);
}

TEST_F(LoopTest, LoopInAndOutMeasuresWholeSixteenths) {
  ASSERT_EQ(deck->loopInOrOut(), 1);  // no beat marks: in at the position
  EXPECT_EQ(deck->loopStart.load(), 4 * kSecond);
  deck->position = 4.0 * kSecond + kBeat + 700;  // a beat and a bit
  ASSERT_EQ(deck->loopInOrOut(), 1);
  EXPECT_EQ(deck->loopLength.load(), kBeat);
  EXPECT_EQ(deck->loopInOrOut(), 1) << "with a loop running it halves it";
  EXPECT_EQ(deck->nextLength.load(), kBeat / 2);

  deck->endLoop(1);
  deck->loopInOrOut();
  deck->loopInOrOut();  // out at the in point
  EXPECT_EQ(deck->loopLength.load(), kBeat / 8);
}

TEST_F(LoopTest, SkipBeatsWrapsInsideALoop) {
  double pos = deck->Position();
  deck->setPlaying(0);
  ASSERT_EQ(deck->skipBeats(4), 1);
  EXPECT_DOUBLE_EQ(deck->Position(), pos + 4 * kBeat);
  ASSERT_EQ(deck->skipBeats(-1), 1);
  EXPECT_DOUBLE_EQ(deck->Position(), pos + 3 * kBeat);
  ASSERT_EQ(deck->beatLoop(128), 1);
  deck->skipBeats(1);
  deck->skipBeats(1);
  EXPECT_DOUBLE_EQ(deck->Position(), pos + 3 * kBeat) << "two beats on in a two-beat loop: back to the start";
}

TEST_F(LoopTest, TheCueButtonPreviewsAndReturns) {
  deck->setPlaying(0);
  Render(500, 250);
  deck->setCueHere();
  int cue = deck->cuePos.load();
  // On the cue of a stopped deck the press plays; pressed exactly on the cue of a playing deck
  // nothing happens. Either way the release, once the deck has moved on, stops it at the cue.
  for (int playing : {0, 1}) {
    deck->setPlaying(playing);
    ASSERT_EQ(deck->cuePress(), 1);
    EXPECT_TRUE(deck->IsPlaying());
    Render(playing ? 250 : 2000, 250);
    deck->cueRelease();
    Render(250, 250);
    EXPECT_FALSE(deck->IsPlaying()) << "playing before: " << playing;
    EXPECT_EQ(deck->Position(), cue) << "playing before: " << playing;
  }
}

TEST_F(LoopTest, HotCuesStoreJumpAndDeleteOnAHold) {
  deck->position = 7.0 * kSecond;
  ASSERT_EQ(deck->hotCue(3), 1);
  deck->hotCueRelease(3);
  EXPECT_EQ(deck->getCue(3), 7 * kSecond) << "an empty slot takes the position";
  Render(kSecond, 441);
  ASSERT_EQ(deck->hotCue(3), 1);
  deck->hotCueRelease(3);
  EXPECT_DOUBLE_EQ(deck->Position(), 7.0 * kSecond) << "a set slot jumps";
  EXPECT_TRUE(deck->IsPlaying());
  for (int tick = 0; tick < 5; ++tick) deck->CueHoldTick();
  EXPECT_EQ(deck->getCue(3), 7 * kSecond) << "released: kept";

  deck->hotCue(3);
  deck->CueHoldTick();
  deck->CueHoldTick();
  EXPECT_EQ(deck->getCue(3), 7 * kSecond) << "held 0.8 s: kept";
  deck->CueHoldTick();
  EXPECT_EQ(deck->getCue(3), 0) << "held 1.2 s: deleted";

  // The cue-clear switch deletes a set slot without jumping to it.
  deck->hotCue(3);
  deck->hotCueRelease(3);
  const double here = deck->Position();
  deck->position = here + kSecond;
  ASSERT_EQ(deck->deleteCue(3), 1);
  EXPECT_EQ(deck->getCue(3), 0);
  EXPECT_DOUBLE_EQ(deck->Position(), here + kSecond);
  EXPECT_EQ(deck->deleteCue(20), 0) << "no such slot";
}

TEST_F(DeckTest, CuesAndTheLoopSurviveASaveAndReloadOfTheSongDatabase) {
  std::string db = folder.File("db.knx");
  LoadSongDatabase(db);
  TSongRecord record;
  record.name = "track1.wav";
  LoadTrack(MakeTestSignal(20 * kSecond), false);  // writes track1.wav
  ASSERT_TRUE(deck->load(folder.File("track1.wav"), 0, &record, 1));
  FinishLoad(*deck);
  Render(100, 100);
  deck->position = 3.0 * kSecond;
  deck->hotCue(1);
  deck->position = 9.0 * kSecond;
  deck->hotCue(4);
  deck->position = 12.0 * kSecond;
  deck->beatLoop(256);
  deck->unload();
  deck->loaderPass();
  ASSERT_EQ(SaveSongDatabase(db), 1);

  ASSERT_EQ(LoadSongDatabase(db), 1);
  TSongRecord reloaded;
  ASSERT_EQ(FindSong("track1.wav", reloaded), 1);
  ASSERT_TRUE(deck->load(folder.File("track1.wav"), 0, &reloaded, 1));
  FinishLoad(*deck);
  Render(100, 100);  // parks at the first sound, then the cue is the selected slot's
  EXPECT_EQ(deck->getCue(1), 3 * kSecond);
  EXPECT_EQ(deck->getCue(4), 9 * kSecond);
  EXPECT_EQ(deck->cueSlot.load(), 4);
  ASSERT_EQ(deck->recallLoop(), 1);
  EXPECT_EQ(deck->loopStart.load(), 12 * kSecond);
  EXPECT_EQ(deck->loopLength.load(), 4 * kBeat);
  DropSongDatabase();
}

}  // namespace
