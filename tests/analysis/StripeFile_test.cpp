#include "analysis/StripeFile.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <memory>
#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <unistd.h>

#include "AnalysisFixture.h"
#include "SyntheticTrack.h"
#include "analysis/FileWorker.h"
#include "analysis/TrackAnalyzer.h"
#include "support/WaitFor.h"

namespace {

// A WAV file of the given length whose samples are all zero, without writing them: the data is
// a hole in a sparse file.
std::string SparseWav(const std::string& path, long long frames) {
  const uint32_t bytes = static_cast<uint32_t>(frames * 4);
  std::vector<short> none;
  WriteWav(path, none);
  FILE* file = std::fopen(path.c_str(), "r+b");
  std::fseek(file, 4, SEEK_SET);
  const uint32_t riff = 36 + bytes;
  std::fwrite(&riff, 4, 1, file);
  std::fseek(file, 40, SEEK_SET);
  std::fwrite(&bytes, 4, 1, file);
  std::fclose(file);
  EXPECT_EQ(::truncate(path.c_str(), 44 + static_cast<off_t>(bytes)), 0);
  return path;
}

using StripeFileTest = AnalysisFixture;

TEST_F(StripeFileTest, AnalysisWritesAStripeOfEveryStartedSecondAndUpdatesTheRecord) {
  SyntheticRecipe recipe;
  recipe.seconds = 10.0;
  SyntheticTrack track = MakeSyntheticTrack(recipe);
  track.stereo.resize(441001 * 2, 0);
  const std::string song = PathOf("Ten seconds.wav");
  ASSERT_TRUE(WriteWav(song, track.stereo));
  TrackAnalysis result;
  ASSERT_EQ(AnalyzeSongToStripe(song, &result), AnalysisOutcome::kDone);
  EXPECT_EQ(std::filesystem::file_size(StripePathFor(song)), 19404u);
  TSongRecord record;
  ASSERT_EQ(FindSong("Ten seconds.wav", record), 1);
  EXPECT_EQ(record.durationMs, 10000) << "the song's own length, not its stripe's";
  EXPECT_EQ(record.hasGain, 1);
  // Ten seconds of a steady 120: the tempo read right, or none at all; never a made-up one.
  EXPECT_TRUE(record.bpm == 0.0f || std::fabs(record.bpm - 120.0f) < 0.5f) << record.bpm;
  EXPECT_FALSE(NeedsAnalysis("/elsewhere/Ten seconds.wav")) << "the name is the key";
  std::filesystem::remove(StripePathFor(song));
  EXPECT_TRUE(NeedsAnalysis(song));
}

TEST_F(StripeFileTest, TwentyMinutesAreAnalysedAndOneSecondMoreIsRefused) {
  TrackAnalysis result;
  EXPECT_EQ(AnalyzeSongToStripe(SparseWav(PathOf("long.wav"), 1201LL * 44100), &result), AnalysisOutcome::kTooLong);
  EXPECT_FALSE(std::filesystem::exists(StripePathFor("long.wav")));
  // 1200 whole seconds and a part: the test is on the whole seconds, before rounding up.
  EXPECT_EQ(AnalyzeSongToStripe(SparseWav(PathOf("limit.wav"), 1200LL * 44100 + 5), &result), AnalysisOutcome::kDone);
  EXPECT_EQ(std::filesystem::file_size(StripePathFor("limit.wav")), 1201u * 1764u);
  EXPECT_EQ(result.bpm, 0.0f);
  EXPECT_EQ(result.gain, -24601.0) << "digital silence has no gain figure";
  EXPECT_EQ(result.pitchKey, 0);
}

TEST_F(StripeFileTest, LoadStripesRefusesWhatIsNotAnalysedAndAcceptsAShortFile) {
  std::vector<float> entries(400, 9.0f);
  StripeLoad load;
  EXPECT_EQ(LoadStripes("/x/song.mp3", entries.data(), 400, load), 0);  // not in the database
  TSongRecord record;
  record.name = "song.mp3";
  record.bpm = 120.0f;
  StoreSong(record);
  EXPECT_EQ(LoadStripes("/x/song.mp3", entries.data(), 400, load), 0);  // no gain
  record.hasGain = 1;
  record.bpm = 0.5f;
  StoreSong(record);
  EXPECT_EQ(LoadStripes("/x/song.mp3", entries.data(), 400, load), 0);  // no tempo
  record.bpm = 120.0f;
  StoreSong(record);
  EXPECT_EQ(LoadStripes("/x/song.mp3", entries.data(), 400, load), 0);  // no file

  // n bytes (a quarter of the entries) pass; what the file lacks stays as it was. Garbage reads as 0.
  std::vector<float> stored = {0.5f, NAN, 55.25f, 1e20f};
  for (int i = 4; i < 100; ++i) stored.push_back(0.01f * i);
  ASSERT_TRUE(WriteStripeFile(StripePathFor("song.mp3"), stored.data(), 100));
  ASSERT_EQ(LoadStripes("/y/song.mp3", entries.data(), 400, load), 1);
  EXPECT_EQ(load.bpm, 120.0f);
  EXPECT_EQ(entries[0], 0.5f);
  EXPECT_EQ(entries[1], 0.0f);
  EXPECT_EQ(entries[2], 55.25f);
  EXPECT_EQ(entries[3], 0.0f);
  EXPECT_EQ(entries[99], stored[99]);
  EXPECT_EQ(entries[100], 9.0f);
  EXPECT_EQ(LoadStripes("/y/song.mp3", entries.data(), 401, load), 0) << "fewer than n bytes";
}

TEST_F(StripeFileTest, FileWorkerSkipsWhatIsDoneAndGoneAndAnalysesTheRest) {
  SyntheticRecipe recipe;
  recipe.seconds = 20.0;
  const std::string song = PathOf("queued.wav");
  ASSERT_TRUE(WriteWav(song, MakeSyntheticTrack(recipe).stereo));
  std::vector<std::string> shown;
  int finished = 0;
  CFileWorker worker([&](size_t, const std::string& path) { shown.push_back(path); },
                     [&](const std::string&, const TrackAnalysis&) { ++finished; });
  worker.Enqueue(PathOf("missing.wav"));
  worker.Enqueue(song);
  worker.Enqueue(song);
  EXPECT_TRUE(worker.Step());
  EXPECT_EQ(finished, 1);
  EXPECT_FALSE(worker.Step()) << "the second entry is already analysed";
  EXPECT_EQ(finished, 1);
  EXPECT_EQ(worker.Queued(), 0u);
  ASSERT_EQ(shown.size(), 2u);
  EXPECT_EQ(shown[0], song);
  EXPECT_EQ(shown[1], "");
}

// What `lumo analyse --jobs 2` relies on: unpaced lanes drain the queue back to back, and every
// path comes back exactly once, analysed or with the reason it was not.
TEST_F(StripeFileTest, FileWorkerLanesReportEveryPathOnce) {
  SyntheticRecipe recipe;
  recipe.seconds = 12.0;
  const auto stereo = MakeSyntheticTrack(recipe).stereo;
  std::vector<std::string> songs;
  for (const char* name : {"one.wav", "two.wav", "three.wav"}) {
    songs.push_back(PathOf(name));
    ASSERT_TRUE(WriteWav(songs.back(), stereo));
  }
  const std::string notAudio = PathOf("notes.wav");
  { std::FILE* f = std::fopen(notAudio.c_str(), "w"); ASSERT_TRUE(f); std::fputs("not audio", f); std::fclose(f); }
  std::mutex lock;
  std::map<std::string, std::string> outcomes;  // path -> "analysed" or the skip text
  std::atomic<int> reported{0};
  FileWorkerConfig config;
  config.lanes = 2;
  config.paced = false;
  CFileWorker worker(
      nullptr,
      [&](const std::string& path, const TrackAnalysis& result) {
        std::lock_guard guard(lock);
        outcomes[path] += result.beats > 0 ? "analysed" : "analysed without beats";
        ++reported;
      },
      [&](const std::string& path, FileSkip why) {
        std::lock_guard guard(lock);
        outcomes[path] += FileSkipText(why);
        ++reported;
      },
      config);
  for (const std::string& song : songs) worker.Enqueue(song);
  worker.Enqueue(PathOf("gone.wav"));
  worker.Enqueue(notAudio);
  worker.Start();
  ASSERT_TRUE(WaitFor([&] { return reported.load() == 5; }, kIdleWorkDeadline));
  worker.Enqueue(songs[0]);  // the lanes sleep now; the next wake finds it done
  ASSERT_TRUE(WaitFor([&] { return reported.load() == 6; }, kIdleWorkDeadline));
  worker.Close();
  std::lock_guard guard(lock);
  EXPECT_EQ(outcomes[songs[0]], "analysedalready analysed");
  EXPECT_EQ(outcomes[songs[1]], "analysed");
  EXPECT_EQ(outcomes[songs[2]], "analysed");
  EXPECT_EQ(outcomes[PathOf("gone.wav")], "no such file");
  EXPECT_EQ(outcomes[notAudio], "cannot be decoded");
  EXPECT_TRUE(FileSkipIsFailure(FileSkip::kUndecodable));
  EXPECT_FALSE(FileSkipIsFailure(FileSkip::kAlreadyDone));
}

// Closing the worker while it analyses a long song must stop the pass within a bounded time
// and free nothing under it; the song stays unanalysed and no result is reported.
TEST_F(StripeFileTest, FileWorkerCloseStopsARunningPassPromptly) {
  const std::string song = SparseWav(PathOf("long-set.wav"), 1190LL * 44100);
  std::atomic<int> finished{0};
  auto worker = std::make_unique<CFileWorker>(nullptr, [&](const std::string&, const TrackAnalysis&) { ++finished; });
  worker->Enqueue(song);
  worker->Start();
  WaitFor([&] { return worker->busy() || worker->Queued() == 0; });
  ASSERT_TRUE(worker->busy() || finished == 0) << "the pass never started";
  const auto start = std::chrono::steady_clock::now();
  worker.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(finished.load(), 0);
  TSongRecord record;
  EXPECT_FALSE(FindSong("long-set.wav", record) && record.bpm > 0.0f);
}

}  // namespace
