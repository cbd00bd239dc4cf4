// The window's tick never holds up the audio: with four decks playing on the null output, a
// GUI thread that stalls for half a second (a window being dragged, a slow dialog) costs the
// mix nothing, and the first tick after the stall is an ordinary one.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <thread>

#include "app/Engine.h"
#include "app/control/ControlBindings.h"
#include "app/control/ControlModels.h"
#include "app/control/GuiTick.h"
#include "audio/Mixer.h"
#include "audio/devices/OutputLayer.h"
#include "deck/SoundSource.h"
#include "support/TestFiles.h"
#include "support/WaitFor.h"

namespace {

using Clock = std::chrono::steady_clock;

// Tears the engine down however the test leaves.
struct EngineGuard {
  ~EngineGuard() {
    CloseAudioOutputs(1);
    ClearControlModels();
    EngineDeleteAudioObjects();
  }
};

}  // namespace

TEST(GuiTick, AStalledWindowCostsTheMixNothing) {
  ScopedDataRoot root;
  ASSERT_TRUE(EngineInitFolders(nullptr));
  EngineCreateAudioObjects();
  EngineGuard guard;
  CreateControlModels();
  BindControlsToEngine();
  for (int d = 0; d < kDeckCount; ++d) {
    std::string path = root.path() + "deck" + std::to_string(d) + ".wav";
    WriteStereo16(path, MakeTestSignal(30 * 44100, d + 1));
    ASSERT_TRUE(g_engine.decks[d]->load(path, 1, nullptr, 1));
  }
  g_outputSelection.primary = 99;  // past the device table: the null back end plays
  OpenAudioOutputs(0, 0);
  ASSERT_TRUE(CurrentOutputStatus().nullBackend);

  CGuiTick tick;
  auto allPlaying = [] {
    for (CSoundSource* deck : g_engine.decks)
      if (!deck->isReady() || !deck->IsPlaying() || deck->GetPosition() < 44100 / 4) return false;
    return true;
  };
  ASSERT_TRUE(WaitFor([&] {
    tick.Run();
    return allPlaying();
  }, kIdleWorkDeadline));

  // The stall: the GUI thread does nothing for 500 ms between two ticks.
  tick.Run();
  int before[kDeckCount];
  for (int d = 0; d < kDeckCount; ++d) before[d] = g_engine.decks[d]->GetPosition();
  const uint64_t deliveredBefore = PrimaryFramesDelivered();
  const auto start = Clock::now();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const double stalled = std::chrono::duration<double>(Clock::now() - start).count();
  const uint64_t delivered = PrimaryFramesDelivered() - deliveredBefore;
  tick.Run();

  // The output kept real time through the stall (it trails the clock by up to two fragments,
  // and a loaded CI core may hold its thread back a little more: 80 % is the floor).
  const double expected = stalled * 44100;
  EXPECT_GT(static_cast<double>(delivered), 0.8 * expected);
  for (int d = 0; d < kDeckCount; ++d) {
    CSoundSource* deck = g_engine.decks[d];
    EXPECT_GT(deck->GetPosition() - before[d], 0.8 * expected) << "deck " << d << " kept playing";
    // and had its audio: the channel meter shows the test signal, not the silence of a
    // missing block.
    float left = -200, right = -200;
    g_engine.mixer->ReadSourceLevelDb(d, &left, &right);
    EXPECT_GT(std::max(left, right), -40.0f) << "deck " << d;
    EXPECT_TRUE(deck->IsPlaying());
  }
  // The tick after the stall wrote the deck's time like any other.
  EXPECT_NE(TextModelNamed("deck_elapsed", 0)->Text(), "00:00.0");
}
