// The tap dialog's OK: the deck walks the loaded track's beats again with the dialog's hint,
// and its tempo, its grid and the song's record all take the new answer.

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "../analysis/SyntheticTrack.h"
#include "analysis/DeckStripeAnalysis.h"
#include "analysis/StripeFile.h"
#include "analysis/StripeMarks.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"
#include "library/SongDatabase.h"
#include "support/TestFiles.h"

namespace {

class DeckReanalyseBpmTest : public ::testing::Test {
 protected:
  DeckReanalyseBpmTest() {
    SetThreadsManual(true);  // the loader and its one-shot analysis run in step
    std::filesystem::create_directories(folder.File("Stripes"));
    SetStripesFolder(folder.File("Stripes/"));
    LoadSongDatabase(folder.File("db.knx"));
    deck = std::make_unique<CSoundSource>(0, folder.path());
    deck->SetAnalysis(&analysis);
  }
  ~DeckReanalyseBpmTest() override {
    deck.reset();
    DropSongDatabase();
    SetThreadsManual(false);
  }
  void LoadAnalysed(double bpm) {
    SyntheticRecipe recipe;
    recipe.bpm = bpm;
    recipe.seconds = 40.0;
    ASSERT_TRUE(WriteWav(path, MakeSyntheticTrack(recipe).stereo));
    ASSERT_TRUE(deck->load(path, 0, nullptr, 0));
    for (int pass = 0; pass < 200 && !deck->analysed.load(); ++pass) deck->loaderPass();
    ASSERT_TRUE(deck->analysed.load());
  }
  int Marks() {
    std::lock_guard lock(deck->dataLock);
    int marks = 0;
    for (float v : deck->stripes[0]) marks += IsMarked(v);
    return marks;
  }
  float RecordBpm() {
    TSongRecord record;
    return FindSong("song.wav", record) ? record.bpm : -1.0f;
  }

  TempFolder folder;
  std::string path = folder.File("song.wav");
  CDeckStripeAnalysis analysis;
  std::unique_ptr<CSoundSource> deck;
};

TEST_F(DeckReanalyseBpmTest, EachHintMovesTempoGridAndRecordTogether) {
  LoadAnalysed(140.0);
  ASSERT_NEAR(deck->bpm.load(), 140.0f, 0.3f);
  const int fullGrid = Marks();
  ASSERT_NEAR(fullGrid, 93, 5);

  // "Automatic <100 BPM": the same music counted in half time, one mark every other beat.
  ASSERT_EQ(deck->reanalyseBpm(-1), 1);
  deck->loaderPass();
  EXPECT_NEAR(deck->bpm.load(), 70.0f, 0.3f);
  EXPECT_NEAR(Marks(), fullGrid / 2, 4) << "the old grid must be gone, not kept under the new one";
  EXPECT_NEAR(RecordBpm(), 70.0f, 0.3f);

  // A typed 141 searches 140 to 142: back to the full count.
  ASSERT_EQ(deck->reanalyseBpm(141), 1);
  deck->loaderPass();
  EXPECT_NEAR(deck->bpm.load(), 140.0f, 0.3f);
  EXPECT_NEAR(Marks(), fullGrid, 4);
  EXPECT_NEAR(RecordBpm(), 140.0f, 0.3f);

  // The stripe file written at unload carries the user's grid, and the record its tempo.
  ASSERT_EQ(deck->reanalyseBpm(-1), 1);
  deck->loaderPass();
  deck->unload();
  deck->loaderPass();
  EXPECT_NEAR(RecordBpm(), 70.0f, 0.3f);
  ASSERT_TRUE(deck->load(path, 0, nullptr, 0));
  while (deck->loadPending.load()) deck->loaderPass();
  EXPECT_NEAR(deck->bpm.load(), 70.0f, 0.3f) << "read back from the stripe at load";
}

TEST_F(DeckReanalyseBpmTest, RefusedWithoutAWholeTrackAndDroppedByANewLoad) {
  EXPECT_EQ(deck->reanalyseBpm(0), 0) << "nothing loaded";

  LoadAnalysed(124.0);
  const float bpm = deck->bpm.load();
  // Asked, then a new load comes before the loader ran: the request was for the old track.
  ASSERT_EQ(deck->reanalyseBpm(-1), 1);
  ASSERT_TRUE(deck->load(path, 0, nullptr, 0));
  for (int pass = 0; pass < 200 && deck->loadPending.load(); ++pass) deck->loaderPass();
  for (int pass = 0; pass < 5; ++pass) deck->loaderPass();
  EXPECT_NEAR(deck->bpm.load(), bpm, 0.01f);
}

}  // namespace
