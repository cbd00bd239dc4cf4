// The deck with its real loader thread, an audio thread pulling blocks as fast as it can, and
// the main thread loading, seeking and toggling play underneath them. Run under
// ThreadSanitizer this is the test that proves the hand-offs; in any build it proves that
// freeing blocks and unloading while the audio thread renders neither crashes nor stalls it.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "app/base/Realtime.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"
#include "support/TestFiles.h"
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

}  // namespace
