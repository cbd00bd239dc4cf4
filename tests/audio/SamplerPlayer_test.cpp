// Samplers: playing, looping and rates, the end event, the refusals, and beat sync to a deck.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "audio/BeatClock.h"
#include "audio/SamplerPlayer.h"
#include "audio/Threads.h"
#include "deck/DeckBeatClock.h"
#include "deck/SoundSource.h"
#include "support/TestFiles.h"

namespace {

constexpr float kLsb = 1.0f / 32768.0f;

// Frames whose left channel counts up from `first`, right channel minus that.
std::vector<short> Ramp(int frames, int first = 1) {
  std::vector<short> s;
  for (int i = 0; i < frames; ++i) s.push_back(static_cast<short>(first + i)), s.push_back(static_cast<short>(-first - i));
  return s;
}

// Runs one block the way the mixer does: three prepare phases, then the samples.
std::vector<float> Block(CSamplerPlayer& sampler, int frames) {
  std::vector<float> out(2 * static_cast<size_t>(frames), 99.0f);
  for (int phase = 0; phase < 3; ++phase) sampler.PrepareBlock(phase);
  sampler.GetSamples(out.data(), frames);
  return out;
}

struct Ended {
  int calls = 0;
  int index = -2;
  static void Note(int event, int index, int value, void* self) {
    auto* e = static_cast<Ended*>(self);
    EXPECT_EQ(event, 0);
    EXPECT_EQ(value, -1);
    e->index = index, ++e->calls;
  }
};

TEST(SamplerPlayback, PlaysOnceFromTheTopThenEndsWithOneEvent) {
  CSamplerPlayer sampler(3);
  ASSERT_EQ(sampler.LoadFrames(Ramp(10)), 1);
  Ended ended;
  sampler.SetEndCallback(&Ended::Note, &ended);
  ASSERT_EQ(sampler.Play(1), 1);
  std::vector<float> out = Block(sampler, 16);
  for (int i = 0; i < 10; ++i) EXPECT_FLOAT_EQ(out[2 * i], (1 + i) * kLsb) << "frame " << i;
  for (int i = 10; i < 16; ++i) EXPECT_EQ(out[2 * i], 0.0f) << "silence after the end, frame " << i;
  EXPECT_FALSE(sampler.IsPlaying());
  EXPECT_EQ(ended.calls, 0) << "the audio thread never calls out";
  EXPECT_EQ(sampler.PollEvents(), 1);
  EXPECT_EQ(sampler.PollEvents(), 0);
  Block(sampler, 16);
  EXPECT_EQ(sampler.PollEvents(), 0) << "a stopped sampler does not end again";
  EXPECT_EQ(ended.calls, 1);
  EXPECT_EQ(ended.index, 3);
  // Started again, it plays from the top.
  sampler.Play(1);
  EXPECT_FLOAT_EQ(Block(sampler, 1)[0], 1 * kLsb);
}

TEST(SamplerPlayback, LoopsRatesAndTheFrameAfterTheLast) {
  CSamplerPlayer sampler(0);
  sampler.LoadFrames(Ramp(4, 100));
  sampler.SetLoop(1);
  sampler.Play(1);
  std::vector<float> out = Block(sampler, 9);
  const float expected[] = {100, 101, 102, 103, 100, 101, 102, 103, 100};
  for (int i = 0; i < 9; ++i) EXPECT_FLOAT_EQ(out[2 * i], expected[i] * kLsb) << "frame " << i;

  // Half speed from the last frame interpolates towards frame 0.
  sampler.Play(0);
  sampler.Play(1);
  sampler.Seek(3);
  sampler.SetRate(0.5);
  out = Block(sampler, 2);
  EXPECT_FLOAT_EQ(out[0], 103 * kLsb);
  EXPECT_FLOAT_EQ(out[2], 101.5f * kLsb);

  // Rate 0 holds the position and repeats one frame.
  sampler.SetRate(0.0);
  out = Block(sampler, 64);
  for (int i = 0; i < 64; ++i) ASSERT_FLOAT_EQ(out[2 * i], out[0]);
  EXPECT_TRUE(sampler.IsPlaying());

  // Backwards past frame 0 wraps to the end with loop on.
  sampler.Play(0);
  sampler.Play(1);
  sampler.SetRate(-1.0);
  out = Block(sampler, 3);
  EXPECT_FLOAT_EQ(out[0], 100 * kLsb);
  EXPECT_FLOAT_EQ(out[2], 103 * kLsb);
  EXPECT_FLOAT_EQ(out[4], 102 * kLsb);
}

TEST(SamplerPlayback, HalfRateCarriesTheFractionAcrossBlocksAndANewRateDropsIt) {
  CSamplerPlayer sampler(0);
  sampler.LoadFrames(Ramp(100, 100));
  sampler.SetRate(0.5);
  sampler.Play(1);
  std::vector<float> left;
  for (int frames : {1, 2, 3, 1}) {  // odd blocks end on half frames
    std::vector<float> out = Block(sampler, frames);
    for (int i = 0; i < frames; ++i) left.push_back(out[2 * i]);
  }
  for (size_t k = 0; k < left.size(); ++k) EXPECT_FLOAT_EQ(left[k], (100 + 0.5f * k) * kLsb) << "frame " << k;
  EXPECT_EQ(sampler.AppliedRate(), 0.5);
  EXPECT_EQ(sampler.Step(), 0.5);
  EXPECT_EQ(sampler.Position(), 3.5);

  sampler.SetRate(2.0);  // the half frame is dropped: the new rate starts on frame 3
  std::vector<float> out = Block(sampler, 3);
  EXPECT_EQ(sampler.Step(), 2.0);
  for (int i = 0; i < 3; ++i) EXPECT_FLOAT_EQ(out[2 * i], (103 + 2 * i) * kLsb) << "frame " << i;
}

TEST(SamplerPlayback, OneFrameLoopPlaysThatFrame) {
  CSamplerPlayer sampler(0);
  sampler.LoadFrames(Ramp(1, 500));
  sampler.SetLoop(1);
  sampler.Play(1);
  std::vector<float> out = Block(sampler, 100);
  for (int i = 0; i < 100; ++i) ASSERT_FLOAT_EQ(out[2 * i + 1], -500 * kLsb) << "frame " << i;
}

TEST(SamplerPlayback, SeeksPastTheEndsAreIgnoredWithoutLoop) {
  CSamplerPlayer sampler(0);
  sampler.LoadFrames(Ramp(100));
  sampler.SetRate(0.0);
  sampler.Play(1);
  sampler.Seek(150);
  Block(sampler, 1);
  EXPECT_EQ(sampler.Position(), 0.0);
  sampler.Seek(40);
  sampler.Seek(-10);
  Block(sampler, 1);
  EXPECT_EQ(sampler.Position(), 30.0) << "seeks posted in one block add up";
  sampler.SetLoop(1);
  sampler.Seek(-50);
  Block(sampler, 1);
  EXPECT_EQ(sampler.Position(), 80.0) << "with loop on a seek wraps";
}

TEST(SamplerRefusals, EmptyBrokenAndTempolessSamplersRefuse) {
  TempFolder folder;
  CSamplerPlayer sampler(0);
  EXPECT_EQ(sampler.Play(1), 0) << "nothing loaded";
  WriteBytes(folder.File("junk.wav"), {'R', 'I', 'F', 'F', 1, 2, 3});
  EXPECT_EQ(sampler.Load(folder.File("junk.wav")), 0);
  EXPECT_EQ(sampler.Load(folder.File("absent.wav")), 0);
  EXPECT_FALSE(sampler.IsLoaded());
  std::vector<float> out = Block(sampler, 8);
  for (float v : out) EXPECT_EQ(v, 0.0f) << "an empty sampler is silent";
  WriteStereo16(folder.File("hit.wav"), MakeTestSignal(3000));
  ASSERT_EQ(sampler.Load(folder.File("hit.wav")), 1) << "a good file after bad ones";
  EXPECT_EQ(sampler.GetLength(), 3000);

  static int shown = 0;
  CSamplerPlayer::SetMessageHook([](int id) { shown = id; });
  sampler.LoadFrames(Ramp(1000));
  struct Fixed : CBeatClock {
    BeatReading ReadBeat() const noexcept override { return {120.0f, 0, 0.0, 22050, true}; }
  } deck;
  EXPECT_EQ(sampler.GetBpm(), 0.0f);
  EXPECT_EQ(sampler.SyncTo(&deck), 0) << "no beats set";
  EXPECT_EQ(shown, CSamplerPlayer::kNoTempoString);
  CSamplerPlayer::SetMessageHook(nullptr);
  // 1000 frames in one beat is 2646 BPM: far outside +-50 % of the deck, it keeps its tempo.
  sampler.SetBeats(1);
  EXPECT_EQ(sampler.SyncTo(&deck), 0);
  EXPECT_EQ(sampler.TargetRate(), 1.0);
}

// A deck reading: 120 BPM (22050 frames a beat) with its phase at a known point.
struct FixedDeck : CBeatClock {
  BeatReading reading{120.0f, 0, 0.25, 22050, true};
  BeatReading ReadBeat() const noexcept override { return reading; }
};

// A four-beat loop at 125 BPM with a click on each beat; returns the first frame, counted from
// the start of the sampler's first block, where the click sounds.
int FirstClick(CSamplerPlayer& sampler) {
  for (int block = 0, at = 0; block < 20; ++block, at += 4410) {
    std::vector<float> out = Block(sampler, 4410);
    for (int i = 0; i < 4410; ++i) {
      if (out[2 * i] > 0.25f) return at + i;
    }
  }
  return -1;
}

std::vector<short> ClickLoop(int beatFrames, int beats) {
  std::vector<short> s(2 * static_cast<size_t>(beatFrames * beats), 0);
  for (int b = 0; b < beats; ++b) s[2 * static_cast<size_t>(b * beatFrames)] = 30000;
  return s;
}

TEST(SamplerSync, SyncedLoopTakesTheDecksTempoAndLandsOnItsBeat) {
  FixedDeck deck;
  CSamplerPlayer sampler(0);
  sampler.LoadFrames(ClickLoop(21168, 4));  // 125 BPM
  sampler.SetBeats(4);
  sampler.SetLoop(1);
  EXPECT_NEAR(sampler.GetBpm(), 125.0f, 1e-3);
  ASSERT_EQ(sampler.SyncTo(&deck), 1);
  EXPECT_NEAR(sampler.TargetRate(), 0.96, 1e-12) << "120 / 125, as a pitch of -4.00 %";
  sampler.Play(1);
  // The deck's next beat is 0.75 beat away; the sampler looks 22 ms (970.2 frames) ahead of it.
  double expected = 0.75 * 22050 - CSamplerPlayer::kSyncLookAheadFrames;
  EXPECT_NEAR(FirstClick(sampler), expected, 1.0);
}

TEST(SamplerSync, PitchedDeckAndAutoSyncPickTheCrossfadersPlayingDeck) {
  FixedDeck left, right;
  left.reading.playing = false;
  right.reading.pitch = 500;  // +5 %
  right.reading.phase = 0.9;
  CSamplerPlayer sampler(0);
  sampler.LoadFrames(ClickLoop(22050, 4));  // 120 BPM
  sampler.SetBeats(4);
  sampler.SetLoop(1);
  sampler.SetSyncDecks(&left, &right);
  sampler.SetCrossfaderPosition(0);  // favours deck 0, which is stopped: deck 1 plays
  sampler.SetSync(1);
  sampler.Play(1);
  EXPECT_NEAR(sampler.TargetRate(), 1.05, 1e-12);
  double beat = 22050 / 1.05;
  double expected = (1.0 - std::fmod(0.9 + CSamplerPlayer::kSyncLookAheadFrames / 22050, 1.0)) * beat;
  EXPECT_NEAR(FirstClick(sampler), expected, 1.0);
}

// The deck side: the phase comes from the beat marks in the deck's stripe.
TEST(SamplerSync, DeckBeatClockReadsThePhaseFromBeatMarks) {
  SetThreadsManual(true);
  CSoundSource deck(0, "");
  SetThreadsManual(false);
  deck.bpm.store(2646000.0f / 22000.0f);  // 22000 frames a beat, 220 stripe entries
  deck.stripes[0].assign(2000, 0.1f);
  for (int mark = 37; mark < 2000; mark += 220) deck.stripes[0][mark] += 55.0f;  // grid off 0
  deck.analysed.store(1);
  CDeckBeatClock clock(deck);
  struct Case { double position, phase; } cases[] = {
      {3700 + 5500, 0.25},   // a quarter beat past the mark at stripe 37
      {3700 + 21000, 1.0 - 1000.0 / 22000},
      {3700 + 22000 + 50, 50.0 / 22000},  // inside the mark's own stripe
  };
  for (const Case& c : cases) {
    deck.position.store(c.position);
    EXPECT_NEAR(clock.ReadBeat().phase, c.phase, 1e-9) << "at " << c.position;
  }
  EXPECT_EQ(clock.ReadBeat().beatFrames, 22000);
  deck.analysed.store(0);
  deck.position.store(5500);
  EXPECT_NEAR(clock.ReadBeat().phase, 0.25, 1e-9) << "without marks, a grid from the start";
}

}  // namespace
