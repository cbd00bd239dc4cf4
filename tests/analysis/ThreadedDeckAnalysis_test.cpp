// A deck with its real threads and its analysis port: the loader, the one-shot analysis thread
// and an audio thread run together while the main thread loads track after track, some before
// the previous analysis has finished. Under ThreadSanitizer this covers the analysis thread's
// hand-offs; everywhere it proves a load never loses or crashes on a running analysis.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "AnalysisFixture.h"
#include "SyntheticTrack.h"
#include "analysis/DeckStripeAnalysis.h"
#include "app/base/Realtime.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"
#include "support/WaitFor.h"

namespace {

using ThreadedDeckAnalysis = AnalysisFixture;

TEST_F(ThreadedDeckAnalysis, LoadsDuringAndAfterAnalysisKeepEveryResult) {
  std::string paths[3];
  for (int i = 0; i < 3; ++i) {
    SyntheticRecipe recipe;
    recipe.bpm = 110.0 + 10 * i;
    recipe.seconds = 40.0;
    SyntheticTrack track = MakeSyntheticTrack(recipe);
    paths[i] = PathOf("song" + std::to_string(i) + ".wav");
    ASSERT_TRUE(WriteWav(paths[i], track.stereo));
  }

  SetThreadsManual(false);
  CDeckStripeAnalysis analysis;
  auto deck = std::make_unique<CSoundSource>(0, root.path());
  deck->SetAnalysis(&analysis);
  std::jthread audio([&](std::stop_token stop) {
    rt::AudioThreadScope scope;
    float out[2 * 512];
    while (!stop.stop_requested()) {
      deck->GetSamples(out, 512);
      std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
  });

  // Each load is taken by the loader, which then starts that track's analysis; the next load
  // cuts in at once, while the analysis runs. The last one is let finish.
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(deck->load(paths[i], 1, nullptr, 1)) << "load " << i;
    ASSERT_TRUE(WaitFor([&] { return !deck->loadPending.load(); }, kIdleWorkDeadline))
        << "the loader took load " << i;
  }
  EXPECT_TRUE(WaitFor([&] { return deck->FilePath() == paths[2] && deck->analysed.load(); },
                      kIdleWorkDeadline))
      << "the last track is analysed";
  audio.request_stop();
  audio.join();
  EXPECT_NEAR(deck->GetBpm(), 130.0, 0.5);
  deck.reset();  // closing the deck saves the stripe of what it holds
  EXPECT_TRUE(std::filesystem::exists(StripePathFor(paths[2])));
}

}  // namespace
