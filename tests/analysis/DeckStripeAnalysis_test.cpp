#include "analysis/DeckStripeAnalysis.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "AnalysisFixture.h"
#include "SyntheticTrack.h"
#include "analysis/StripeFile.h"
#include "analysis/StripeMarks.h"
#include "analysis/TrackAnalyzer.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"

namespace {

class DeckStripeAnalysisTest : public AnalysisFixture {
 protected:
  void SetUp() override {
    SetThreadsManual(true);
    AnalysisFixture::SetUp();
    deck = std::make_unique<CSoundSource>(0, root.path());
    deck->SetAnalysis(&analysis);
  }
  void TearDown() override {
    deck.reset();
    AnalysisFixture::TearDown();
    SetThreadsManual(false);
  }
  void Load(const std::string& path) {
    ASSERT_TRUE(deck->load(path, 0, nullptr, 0));
    while (deck->loadPending.load()) deck->loaderPass();
    ASSERT_TRUE(deck->fileOpen.load());
  }
  // Runs the loader until the whole track is in memory; in manual mode the one-shot analysis
  // runs in step, inside the pass that completes the track.
  bool LoadedAndAnalysed() {
    for (int pass = 0; pass < 200 && !deck->analysed.load(); ++pass) deck->loaderPass();
    return deck->analysed.load() != 0;
  }
  int Marks() {
    std::lock_guard lock(deck->dataLock);
    int marks = 0;
    for (float v : deck->stripes[0]) marks += IsMarked(v);
    return marks;
  }

  CDeckStripeAnalysis analysis;
  std::unique_ptr<CSoundSource> deck;
};

TEST_F(DeckStripeAnalysisTest, ADeckAnalysesANewTrackAndTheNextLoadReadsTheStripe) {
  SyntheticRecipe recipe;
  recipe.bpm = 124.0;
  recipe.seconds = 40.0;
  const std::string path = PathOf("deck song.wav");
  ASSERT_TRUE(WriteWav(path, MakeSyntheticTrack(recipe).stereo));

  Load(path);
  ASSERT_TRUE(LoadedAndAnalysed());
  EXPECT_NEAR(deck->bpm.load(), 124.0f, 0.2f);
  EXPECT_NEAR(Marks(), 80, 4) << "a mark on nearly every beat of forty seconds";
  EXPECT_NE(analysis.gain(), ZQGainAnalyzer::kNoGain);

  // Unloading writes what the deck learnt; the next load of the name takes it from the files.
  deck->unload();
  deck->loaderPass();
  TSongRecord record;
  ASSERT_EQ(FindSong("deck song.wav", record), 1);
  EXPECT_NEAR(record.bpm, 124.0f, 0.2f);
  EXPECT_EQ(record.hasGain, 1);
  EXPECT_EQ(std::filesystem::file_size(StripePathFor(path)), 40u * 1764u);

  Load(path);
  EXPECT_TRUE(deck->analysed.load()) << "the stripe was read at load";
  EXPECT_NEAR(deck->bpm.load(), 124.0f, 0.2f);
  EXPECT_NEAR(Marks(), 80, 4);
}

TEST_F(DeckStripeAnalysisTest, DeckAndBackgroundPassGiveASongTheSameLength) {
  SyntheticRecipe recipe;
  recipe.seconds = 21.0;
  SyntheticTrack track = MakeSyntheticTrack(recipe);
  track.stereo.resize((21 * 44100 + 14000) * 2, 0);  // 21.317 s
  const std::string path = PathOf("part second.wav");
  ASSERT_TRUE(WriteWav(path, track.stereo));
  Load(path);
  ASSERT_TRUE(LoadedAndAnalysed());
  deck->unload();
  deck->loaderPass();
  TSongRecord byDeck;
  ASSERT_EQ(FindSong("part second.wav", byDeck), 1);
  EXPECT_EQ(byDeck.durationMs, 21317);

  TrackAnalysis result;
  ASSERT_EQ(AnalyzeSongToStripe(path, &result), AnalysisOutcome::kDone);
  TSongRecord byPass;
  ASSERT_EQ(FindSong("part second.wav", byPass), 1);
  EXPECT_EQ(byPass.durationMs, byDeck.durationMs);
}

TEST_F(DeckStripeAnalysisTest, WindowEstimateReadsTenSecondsWithoutTouchingTheDeckStripe) {
  SyntheticRecipe recipe;
  recipe.bpm = 100.0;
  recipe.seconds = 10.0;
  const SyntheticTrack track = MakeSyntheticTrack(recipe);
  std::vector<float> window(4410);
  const std::string path = PathOf("window.wav");
  ASSERT_TRUE(WriteWav(path, track.stereo));
  Load(path);
  for (int pass = 0; pass < 50 && deck->percentLoaded() < 100; ++pass) deck->loaderPass();
  {
    std::lock_guard lock(deck->dataLock);
    std::copy_n(deck->stripes[0].begin(), 4410, window.begin());
  }
  const std::vector<float> before = window;
  const float tempo = analysis.EstimateWindowBpm(window.data(), 4410);
  EXPECT_EQ(window, before);
  EXPECT_GT(tempo, 0.0f);
  EXPECT_EQ(analysis.EstimateWindowBpm(window.data(), 100), 0.0f) << "under a second: no estimate";
}

}  // namespace
