#pragma once
// A deck in manual mode (its loader runs only when the test steps it) with a track written
// into a temporary folder.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "app/base/Realtime.h"
#include "audio/Threads.h"
#include "deck/DeckAnalysis.h"
#include "deck/SoundSource.h"
#include "support/TestFiles.h"

// An analysis port that does nothing; tests override the one step they care about.
class StubAnalysis : public CDeckAnalysis {
 public:
  void ResetFilters(CSoundSource&) override {}
  int LoadStripes(CSoundSource&) override { return 0; }
  void FeedSecond(CSoundSource&, int, const short*, int) override {}
  void AnalyseWholeTrack(CSoundSource&) override {}
  float EstimateWindowBpm(const float*, int) override { return 0; }
  void SaveStripes(CSoundSource&) override {}
};

// Runs a manual deck's loader until the pending load is taken.
inline void FinishLoad(CSoundSource& deck) {
  while (deck.loadPending.load()) deck.loaderPass();
}

class DeckTest : public ::testing::Test {
 protected:
  static constexpr int kSecond = 44100;
  static constexpr float kOutputScale = 3e-05f;  // a 16-bit sample as the deck renders it

  DeckTest() {
    SetThreadsManual(true);
    deck = std::make_unique<CSoundSource>(0, folder.path());
  }
  ~DeckTest() override {
    deck.reset();
    SetThreadsManual(false);
    g_trackMemoryLimitKB = 310080;
  }

  // Writes `samples` as a WAV and loads it, running the loader until the load is done.
  void LoadTrack(const std::vector<int16_t>& samples, bool autoPlay) {
    std::string path = folder.File("track" + std::to_string(++tracks) + ".wav");
    WriteStereo16(path, samples);
    ASSERT_TRUE(deck->load(path, autoPlay ? 1 : 0, nullptr, 1));
    FinishLoad(*deck);
    ASSERT_TRUE(deck->fileOpen.load());
  }

  // Renders `frames` in blocks of `block`, as the audio thread would.
  std::vector<float> Render(int frames, int block) {
    std::vector<float> out(2 * static_cast<size_t>(frames));
    rt::AudioThreadScope audio;
    for (int done = 0; done < frames; done += block) {
      int n = std::min(block, frames - done);
      deck->GetSamples(out.data() + 2 * done, n);
    }
    return out;
  }

  TempFolder folder;
  std::unique_ptr<CSoundSource> deck;
  int tracks = 0;
};
