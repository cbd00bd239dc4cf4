// The engine's tick over real decks: a finished track goes back to its cue, the stop reaches
// the listener off the audio thread, the display gets the deck's news once, and a recording
// whose disk failed is stopped.

#include "DeckFixture.h"
#include "app/EngineTick.h"
#include "audio/MixRecorder.h"
#include "audio/OfflineOutput.h"
#include "support/ScopedEngine.h"

#include <vector>

namespace {

constexpr int kSecond = 44100;

int g_events[3] = {};
void CountEvents(int event, int) { ++g_events[event]; }

TEST_F(DeckTest, TheTickReturnsAFinishedTrackToItsCue) {
  LoadTrack(MakeTestSignal(3 * kSecond), false);
  Render(100, 100);
  deck->position = 1.0 * kSecond;
  deck->setCueHere();
  CEngineTick tick;
  CSoundSource* decks[1] = {deck.get()};
  DeckTickReport report;
  tick.Run(decks, 1, &report);
  EXPECT_EQ(report.status, kStatusLoaded) << "the load's news, once";
  tick.Run(decks, 1, &report);
  EXPECT_EQ(report.status, 0);

  deck->SetCallbacks(&CountEvents, nullptr);
  deck->setPlaying(1);
  deck->position = 3.0 * kSecond - 500;
  Render(1000, 250);
  ASSERT_TRUE(deck->IsPlaying()) << "the end holds the deck, playing, on its last frame";
  bool returned = false;
  for (int t = 0; t < 2; ++t) {  // a deck is looked at every second tick
    tick.Run(decks, 1, &report);
    returned = returned || report.returnedToCue;
  }
  EXPECT_TRUE(returned);
  Render(250, 250);
  EXPECT_FALSE(deck->IsPlaying());
  EXPECT_DOUBLE_EQ(deck->Position(), 1.0 * kSecond);
  EXPECT_EQ(g_events[0], 0) << "the render only queued the stop";
  tick.Run(decks, 1, &report);
  EXPECT_EQ(g_events[0], 1) << "the next tick told the listener";
  deck->SetCallbacks(nullptr, nullptr);

  // A loop never finishes the track.
  deck->setPlaying(1);
  deck->position = 3.0 * kSecond - 30000;
  deck->beatLoop(64);
  tick.Run(decks, 1, &report);
  EXPECT_TRUE(report.loopChanged);
  Render(20000, 250);
  tick.Run(decks, 1, &report);
  tick.Run(decks, 1, &report);
  EXPECT_TRUE(deck->IsPlaying());
}

}  // namespace

namespace {

// The window and lumo automix see a failed disk only through this tick: the engine's own
// recorder, writing to /dev/full, is stopped by it and the failure is told once.
TEST(EngineTickRecorder, AFullDiskStopsTheEnginesRecordingAndIsReportedOnce) {
  ScopedEngine engine(true);
  ASSERT_TRUE(engine.ok());
  CEngineTick tick;
  tick.SetAutoMix(nullptr);
  ASSERT_EQ(g_engine.recorder->Start("/dev/full"), 1);
  tick.Run(g_engine.decks, kDeckCount, nullptr);
  EXPECT_FALSE(tick.TakeRecorderFailure()) << "nothing written yet";

  COfflineOutput offline(441);
  std::vector<float> out(2 * 441);
  for (int block = 0; block < 400 && g_engine.recorder->IsRecording(); ++block) {
    offline.PullBlock(out.data());
    tick.Run(g_engine.decks, kDeckCount, nullptr);
  }
  EXPECT_FALSE(g_engine.recorder->IsRecording()) << "the tick stops the recording";
  EXPECT_TRUE(tick.TakeRecorderFailure()) << "the window switches the record button off";
  EXPECT_FALSE(tick.TakeRecorderFailure());
  tick.Run(g_engine.decks, kDeckCount, nullptr);
  EXPECT_FALSE(tick.TakeRecorderFailure());
}

}  // namespace
