// The deck with its real loader thread, an audio thread pulling blocks as fast as it can, and
// the main thread loading, seeking and toggling play underneath them. Run under
// ThreadSanitizer this is the test that proves the hand-offs; in any build it proves that
// freeing blocks and unloading while the audio thread renders neither crashes nor stalls it.

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "DeckFixture.h"
#include "audio/MixerChannel.h"
#include "support/WaitFor.h"

namespace {

TEST(ThreadedDeck, LoadsSeeksAndStopsWhileTheAudioThreadRenders) {
  TempFolder folder;
  std::string tracks[2] = {folder.File("a.wav"), folder.File("b.wav")};
  WriteStereo16(tracks[0], MakeTestSignal(40 * 44100, 1));
  WriteStereo16(tracks[1], MakeTestSignal(25 * 44100, 2));
  g_trackMemoryLimitKB = 0;  // streaming: blocks come and go under the play head
  SetThreadsManual(false);
  CSoundSource deck(0, folder.path());

  std::atomic<long> blocks{0};
  std::jthread audio([&](std::stop_token stop) {
    rt::AudioThreadScope scope;
    float out[2 * 256];
    while (!stop.stop_requested()) {
      deck.GetSamples(out, 256);
      blocks.fetch_add(1);
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  });

  // A seek needs a track: the storm starts once the first load is in.
  ASSERT_TRUE(deck.load(tracks[1], 1, nullptr, 1));
  ASSERT_TRUE(WaitFor([&] { return deck.fileOpen.load(); }, kIdleWorkDeadline));

  // At least a second and a half of mayhem, and on a busy machine as long as it takes for
  // the floors below to be reached; a deck that hangs is caught by the far deadline.
  std::mt19937 random(7);
  const auto start = std::chrono::steady_clock::now();
  int loads = 0, seeks = 0;
  auto enough = [&] {
    return std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(1500) &&
           loads >= 3 && seeks >= 10 && blocks.load() > 300;
  };
  while (!enough() && std::chrono::steady_clock::now() - start < kIdleWorkDeadline) {
    switch (random() % 6) {
      case 0:
        if (deck.load(tracks[loads % 2], 1, nullptr, 1)) ++loads;
        break;
      case 1:
      case 2:
        if (deck.seek(static_cast<int>(random() % (20 * 44100)))) ++seeks;
        break;
      case 3:
        deck.setPlaying(-1);
        break;
      case 4:
        deck.setTargetSpeed(static_cast<int>(random() % 9) - 4.0);
        break;
      default:
        deck.GetPosition();
        deck.GetBpm();
        deck.percentLoaded();
        break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  audio.request_stop();
  audio.join();
  g_trackMemoryLimitKB = 310080;
  EXPECT_GE(loads, 3);
  EXPECT_GE(seeks, 10);
  EXPECT_GT(blocks.load(), 300) << "the audio thread kept going";
  EXPECT_EQ(rt::BlockingWaitsOnAudioThread(), 0u);
}

// An analysis port that finds 128 BPM in every ten-second window.
class SteadyTempoAnalysis : public StubAnalysis {
 public:
  float EstimateWindowBpm(const float*, int) override { return 128.0f; }
};

// The tempo of a streamed track comes from the blocks under the play head while the loader
// frees blocks behind it; the analysis port arrives while the loader runs; a controller thread
// searches while the tick steps the search. Under ThreadSanitizer this proves the hand-offs.
TEST(ThreadedDeck, TheTempoOfAStreamedTrackIsReadWhileTheLoaderWorks) {
  TempFolder folder;
  std::string track = folder.File("a.wav");
  WriteStereo16(track, MakeTestSignal(60 * 44100, 1));
  g_trackMemoryLimitKB = 0;
  SetThreadsManual(false);
  SteadyTempoAnalysis analysis;
  CSoundSource deck(0, folder.path());
  CZQMixerChannel channel(&deck, 1, false);
  ASSERT_TRUE(deck.load(track, 1, nullptr, 1));
  deck.SetAnalysis(&analysis);

  std::atomic<bool> stop{false};
  std::thread audio([&] {
    rt::AudioThreadScope scope;
    float out[2 * 256];
    while (!stop.load()) {
      channel.GetSamples(out, 256);  // reads the deck's tempo after each block
      std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
  });
  JoinGuard audioGuard{stop, audio};
  std::thread controller([&] {
    for (int k = 0; !stop.load(); ++k) {
      if (k % 2) deck.searchStop(); else deck.searchStart(1);
      std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
  });
  JoinGuard controllerGuard{stop, controller};

  // The loader reads at idle priority: on a busy machine that can take long.
  auto deadline = std::chrono::steady_clock::now() + kIdleWorkDeadline;
  while (std::chrono::steady_clock::now() < deadline && deck.GetBpm() != 128.0f) {
    deck.SearchTick();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(deck.GetBpm(), 128.0f) << "the window's tempo reaches the main thread";
  stop = true;
  controller.join();
  audio.join();
  deck.SetAnalysis(nullptr);
  g_trackMemoryLimitKB = 310080;
}

}  // namespace
