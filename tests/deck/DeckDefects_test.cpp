// Faults found in review of the deck's transport, each pinned by the path a user takes: a seek
// that outlives its track, a cue start that plays from the old place, a rate that is not a
// number, cue pins that pile up on a streamed track, and a stop event fired on the audio thread.

#include <cmath>

#include "DeckFixture.h"

namespace {

TEST_F(DeckTest, ASeekMadeBeforeALoadDoesNotMoveTheNewTrack) {
  // On an empty deck there is nothing to seek in.
  EXPECT_EQ(deck->seek(30 * kSecond), 0);
  LoadTrack(MakeTestSignal(40 * kSecond), true);
  deck->loaderPass();
  Render(441, 441);
  EXPECT_LT(deck->Position(), kSecond) << "an auto-play load starts at the top";

  // A seek accepted on the old track but not yet served belongs to that track.
  ASSERT_EQ(deck->seek(30 * kSecond), 1);
  ASSERT_TRUE(deck->load(folder.File("track1.wav"), 1, nullptr, 1));
  FinishLoad(*deck);
  deck->loaderPass();
  Render(441, 441);
  EXPECT_LT(deck->Position(), kSecond);
  EXPECT_EQ(deck->seekPending.load(), 0);
}

double g_positionAtStart = -1;
CSoundSource* g_deck = nullptr;
void RecordStartPosition(int event, int) {
  if (event > 0) g_positionAtStart = g_deck->Position();
}

TEST_F(DeckTest, PlayFromCueMovesToTheCueBeforeTheDeckStarts) {
  std::vector<int16_t> in = MakeTestSignal(10 * kSecond);
  LoadTrack(in, false);
  Render(100, 100);
  deck->position = 5.0 * kSecond;
  deck->setCueHere();
  deck->position = 1.0 * kSecond;
  g_deck = deck.get();
  deck->SetCallbacks(&RecordStartPosition, nullptr);
  ASSERT_EQ(deck->playFromCue(), 1);
  EXPECT_EQ(g_positionAtStart, 5.0 * kSecond) << "anyone told the deck started sees it at the cue";
  std::vector<float> out = Render(10, 10);
  EXPECT_EQ(out[0], in[2 * (5 * kSecond)] * kOutputScale) << "the first frame played is the cue's";
  deck->SetCallbacks(nullptr, nullptr);
}

TEST_F(DeckTest, ARateThatIsNotANumberIsIgnored) {
  LoadTrack(MakeTestSignal(5 * kSecond), true);
  Render(100, 100);
  double start = deck->Position();
  deck->setTargetSpeed(std::nan(""));
  deck->setTargetSpeed(INFINITY);
  std::vector<float> out = Render(4410, 4410);
  EXPECT_DOUBLE_EQ(deck->Position(), start + 4410) << "the deck plays on at its speed";
  EXPECT_NE(out[2 * 4409], 0.0f);
}

TEST_F(DeckTest, MovingTheCueOnAStreamedTrackReleasesTheOldCuesBlocks) {
  g_trackMemoryLimitKB = 0;
  LoadTrack(MakeTestSignal(120 * kSecond), false);
  Render(100, 100);
  for (int seconds : {10, 50, 90}) {
    deck->position = seconds * double(kSecond) + 500;
    deck->setCueHere();
    deck->loaderPass();
    deck->loaderPass();
  }
  deck->position = 60.0 * kSecond;
  deck->loaderPass();
  for (int old : {9, 10, 11, 49, 50, 51}) EXPECT_FALSE(deck->memory.Present(old)) << "block " << old;
  for (int cue : {89, 90, 91}) EXPECT_TRUE(deck->memory.Present(cue)) << "the cue's own block " << cue;
  // The 20-second window both ways, the cue's three, the first block and the last two.
  EXPECT_LE(deck->memory.presentCount(), 41 + 3 + 3);
}

bool g_stopSeenOnAudioThread = false;
int g_stops = 0;
void RecordStopThread(int event, int) {
  if (event != 0) return;
  ++g_stops;
  if (rt::OnAudioThread()) g_stopSeenOnAudioThread = true;
}

TEST_F(DeckTest, AStopAtTheCueIsReportedOffTheAudioThread) {
  LoadTrack(MakeTestSignal(5 * kSecond), true);
  Render(1000, 100);
  deck->SetCallbacks(&RecordStopThread, nullptr);
  deck->stopAtCue = 1;  // what the cue button asks of a playing deck away from its cue
  Render(100, 100);
  EXPECT_FALSE(deck->IsPlaying());
  EXPECT_EQ(g_stops, 0) << "the render only queues the event";
  deck->DeliverTransportEvents();
  deck->DeliverTransportEvents();
  EXPECT_EQ(g_stops, 1);
  EXPECT_FALSE(g_stopSeenOnAudioThread);
  deck->SetCallbacks(nullptr, nullptr);
}

}  // namespace
