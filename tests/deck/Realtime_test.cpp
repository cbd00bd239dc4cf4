// The real-time rule, checked: after warm-up, four playing decks mixed through the real engine
// objects make no heap allocation, free nothing and wait on no lock on the audio thread.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "app/Engine.h"
#include "audio/OfflineOutput.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"
#include "deck/StretchFeeder.h"
#include "support/AllocationCounter.h"
#include "support/TestFiles.h"

namespace {

// The real engine's decks in manual mode, mixed through the offline output block by block.
class Realtime : public ::testing::Test {
 protected:
  Realtime() {
    SetThreadsManual(true);
    EXPECT_TRUE(EngineInitFolders(nullptr));
    EngineCreateAudioObjects();
  }
  ~Realtime() override {
    EngineDeleteAudioObjects();
    SetThreadsManual(false);
  }
  // Loads deck d with its own test signal of `seconds`, the loader stepped by hand.
  CSoundSource* LoadDeck(int d, int seconds) {
    std::string path = root.path() + "deck" + std::to_string(d) + ".wav";
    WriteStereo16(path, MakeTestSignal(seconds * 44100, d + 1));
    CSoundSource* deck = g_engine.decks[d];
    if (!deck->load(path, 1, nullptr, 1)) return nullptr;
    while (deck->loadPending.load()) deck->loaderPass();
    return deck;
  }
  void Pull(int blocks) {
    for (int i = 0; i < blocks; ++i) output.PullBlock(block.data());
  }
  // Nothing allocated, freed or waited on since ResetAudioThreadCounts, and every deck still playing.
  void ExpectRealtimeSafe(unsigned long waitsBefore) {
    EXPECT_EQ(AudioThreadAllocations(), 0u);
    EXPECT_EQ(AudioThreadFrees(), 0u);
    EXPECT_EQ(rt::BlockingWaitsOnAudioThread(), waitsBefore);
    for (int d = 0; d < kDeckCount; ++d) EXPECT_TRUE(g_engine.decks[d]->IsPlaying());
  }

  ScopedDataRoot root;
  COfflineOutput output{360};
  std::vector<float> block = std::vector<float>(2 * 360);
};

TEST_F(Realtime, FourPlayingDecksMixWithoutAllocating) {
  for (int d = 0; d < kDeckCount; ++d) {
    CSoundSource* deck = LoadDeck(d, 20);
    ASSERT_NE(deck, nullptr);
    deck->setTargetSpeed(0.9 + 0.05 * d);
  }
  Pull(50);  // warm-up

  ResetAudioThreadCounts();
  unsigned long waitsBefore = rt::BlockingWaitsOnAudioThread();
  Pull(1000);  // about 8 s of audio
  ExpectRealtimeSafe(waitsBefore);
  float peak = 0;
  for (float v : block) peak = std::max(peak, std::abs(v));
  EXPECT_GT(peak, 0.1f) << "the decks really played";
}

// The busiest a deck gets: four decks key-locked through Rubber Band, two of them looping and
// one scratched, with slot swaps from pitch changes and a switch of renderer on each scratch.
TEST_F(Realtime, KeyLockedLoopingScratchedDecksMixWithoutAllocating) {
  for (int d = 0; d < kDeckCount; ++d) {
    CSoundSource* deck = LoadDeck(d, 30);
    ASSERT_NE(deck, nullptr);
    deck->setHq(true);
    deck->setKeyLock(true);
    deck->setPitch(300 * d - 400);
  }
  Pull(100);  // slots built, stretchers warm
  g_engine.decks[1]->beatLoop(32);
  g_engine.decks[2]->beatLoop(256);

  ResetAudioThreadCounts();
  unsigned long waitsBefore = rt::BlockingWaitsOnAudioThread();
  for (int i = 0; i < 1200; ++i) {
    if (i % 300 == 0) g_engine.decks[0]->setPitch(i / 3);  // a swap of slots
    if (i % 200 == 50) g_engine.decks[3]->scratchStart(100, 0);
    if (i % 200 > 50 && i % 200 < 120) g_engine.decks[3]->scratchMove(100 - (i % 200 - 50));
    if (i % 200 == 120) g_engine.decks[3]->scratchEnd();
    if (i % 8 == 0) g_engine.decks[3]->scratchTick(7);
    Pull(1);
  }
  ExpectRealtimeSafe(waitsBefore);
  EXPECT_GT(g_engine.decks[0]->stretchFeeder().swaps(), 2) << "the slots really swapped";
  EXPECT_GT(g_engine.decks[1]->loopPasses.load(), 10) << "the loop really ran";
}

TEST(AllocationCounter, SeesTheAudioThread) {
  ResetAudioThreadCounts();
  {
    rt::AudioThreadScope audio;
    int* volatile p = new int(7);  // volatile: the compiler may not elide the pair
    delete p;
  }
  EXPECT_EQ(AudioThreadAllocations(), 1u) << "otherwise the test above proves nothing";
  EXPECT_EQ(AudioThreadFrees(), 1u);
}

}  // namespace
