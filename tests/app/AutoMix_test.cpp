// Auto-Mix over two real decks (manual mode, injected beat marks) with its own crossfader: when
// a fade starts, how it travels, when it beat-matches the incoming deck, and how that deck's
// pitch glides back afterwards. The whole path through lumo automix, loading and skipping songs
// included, is in tests/tools.

#include "deck/TwoDeckFixture.h"
#include "app/AutoMix.h"
#include "app/Settings.h"
#include "audio/Mixer.h"

namespace {

class AutoMixTest : public TwoDeckTest {
 protected:
  AutoMixTest() : saved(g_settings), mixer(4410) {
    g_settings.mixaut = 1;
    g_settings.mixtim = 100;
    g_settings.bmatch = 0;
    g_settings.slowrt = 1;
    g_settings.random = 0;
    CSoundSource* both[2] = {deck[0].get(), deck[1].get()};
    autoMix.Attach(both, 2, &mixer);
  }
  ~AutoMixTest() override { g_settings = saved; }

  // One engine tick; the tick counter runs 0..9 as the engine's does.
  void Tick(int beatDifference = 0) {
    autoMix.Tick(counter, beatDifference);
    counter = (counter + 1) % 10;
  }
  int TicksUntilFadeEnds() {
    int ticks = 0;
    while (autoMix.fading() && ticks < 10000) Tick(), ++ticks;
    return ticks;
  }

  Settings saved;
  CZQMixer mixer;
  CAutoMix autoMix;
  int counter = 0;
};

TEST_F(AutoMixTest, TheFadeStartsTheFadeTimeBeforeTheLastSoundOfTheDeckOnAir) {
  LoadWithBeats(0, 120.0f, 0);
  LoadWithBeats(1, 124.0f, 0);
  const int lastSound = 50 * kSecond;
  deck[0]->cueTable[CSoundSource::kLastSoundSlot] = lastSound;
  const int trigger = lastSound - 100 * 4410;  // "mixtim" 100: ten seconds

  PlayFrom(0, trigger - 3000);
  Tick();
  EXPECT_FALSE(autoMix.fading());
  mixer.SetCrossfader(100);  // deck 0 at its end, but off air
  Render(4000);
  Tick();
  EXPECT_FALSE(autoMix.fading()) << "a deck off air starts nothing";
  mixer.SetCrossfader(0);
  Tick();
  ASSERT_TRUE(autoMix.fading());
  EXPECT_TRUE(autoMix.fadingToRight());

  // A straight line to the other side, a step every second tick: 127 / 1.016 = 125 steps.
  const int ticks = TicksUntilFadeEnds();
  EXPECT_NEAR(ticks, 2 * 125, 2);
  EXPECT_EQ(mixer.CrossfaderPosition(), 127);
  EXPECT_TRUE(deck[1]->IsPlaying()) << "the incoming deck was started";
}

TEST_F(AutoMixTest, AnEarlyLastSoundMarkIsIgnoredAndTheMiddleOfTheFaderCountsAsRight) {
  LoadWithBeats(0, 120.0f, 0);
  LoadWithBeats(1, 120.0f, 0);
  deck[1]->cueTable[CSoundSource::kLastSoundSlot] = 10 * kSecond;  // before the middle
  mixer.SetCrossfader(64);
  PlayFrom(1, 50 * kSecond - 100 * 4410 - 10000);
  Tick();
  EXPECT_FALSE(autoMix.fading()) << "the track's length, not the early mark, is the end";
  PlayFrom(1, kTrackFrames - 100 * 4410 + 10);
  Tick();
  ASSERT_TRUE(autoMix.fading());
  EXPECT_FALSE(autoMix.fadingToRight()) << "at 64 deck 1 is on air: the fade goes left";
  EXPECT_NEAR(TicksUntilFadeEnds(), 2 * 62, 2) << "from the middle, half the travel (done within a step of 0)";
  EXPECT_EQ(mixer.CrossfaderPosition(), 0);
}

TEST_F(AutoMixTest, TheIncomingDeckIsMatchedOnlyInTheFirstThirdAndGlidesBackAfter) {
  g_settings.bmatch = 1;
  LoadWithBeats(0, 120.0f, 0);
  LoadWithBeats(1, 125.0f, 0);
  PlayFrom(0, 20 * kSecond);
  autoMix.Start();
  ASSERT_TRUE(autoMix.fadingToRight());
  counter = 1;
  Tick(3);
  EXPECT_EQ(deck[1]->getPitch(), 0) << "3 hundredths of a beat apart is close enough";
  counter = 1;
  Tick(-12);
  EXPECT_EQ(deck[1]->getPitch(), -400) << "matched to 120 BPM";

  deck[1]->setPitch(0);
  while (mixer.CrossfaderPosition() < 42) Tick();
  counter = 1;
  Tick(-12);
  EXPECT_EQ(deck[1]->getPitch(), 0) << "past the first third no sync is made";

  deck[1]->setPitch(-400);
  TicksUntilFadeEnds();
  ASSERT_TRUE(autoMix.slowReset(1));
  // 0.1 % at every tenth tick (count 2) until inside one step, then 0.
  int cycles = 0;
  while (autoMix.slowReset(1) && cycles < 100) {
    for (int t = 0; t < 10; ++t) Tick();
    ++cycles;
  }
  EXPECT_EQ(deck[1]->getPitch(), 0);
  EXPECT_EQ(cycles, 40);

  g_settings.slowrt = 0;
  deck[1]->setPitch(300);
  autoMix.SetSlowReset(1, true);
  EXPECT_EQ(deck[1]->getPitch(), 0) << "without the slow reset the pitch returns at once";
}

}  // namespace
