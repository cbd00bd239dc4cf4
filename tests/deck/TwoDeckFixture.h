#pragma once
// Two decks in manual mode with beat marks written straight into their stripes, so every beat
// frame is known exactly, rendered block by block the way the mixer runs them.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "DeckFixture.h"
#include "analysis/StripeMarks.h"

constexpr int kTrackFrames = 60 * 44100;

class TwoDeckTest : public ::testing::Test {
 protected:
  static constexpr int kSecond = 44100;

  TwoDeckTest() {
    SetThreadsManual(true);
    for (int d = 0; d < 2; ++d) deck[d] = std::make_unique<CSoundSource>(d, folder.path());
  }
  ~TwoDeckTest() override {
    for (auto& d : deck) d.reset();
    SetThreadsManual(false);
  }

  // Loads a quiet minute on deck d with beats every 2646000 / bpm frames from `firstBeat`, each
  // marked in the stripe entry holding it. Returns the beat frames as the stripe places them.
  std::vector<double> LoadWithBeats(int d, float bpm, double firstBeat) {
    std::string path = folder.File("beats" + std::to_string(d) + ".wav");
    WriteStereo16(path, std::vector<int16_t>(2 * static_cast<size_t>(kTrackFrames), 200));
    CSoundSource& s = *deck[d];
    EXPECT_TRUE(s.load(path, 0, nullptr, 1));
    FinishLoad(s);
    std::vector<double> beats;
    if (bpm > 0) {
      std::lock_guard lock(s.dataLock);
      for (double f = firstBeat; f < kTrackFrames - 100; f += 2646000.0 / bpm) {
        size_t entry = static_cast<size_t>(f / 100);
        s.stripes[0][entry] += kBeatMark;
        beats.push_back(entry * 100.0);
      }
    }
    s.bpm.store(bpm);
    s.analysed.store(bpm > 0);
    Render(100);  // the load's park at the first sound
    return beats;
  }

  void PlayFrom(int d, double frame) {
    deck[d]->position = frame;
    deck[d]->setPlaying(1);
  }

  // Blocks as the mixer runs them: both decks' phases, then their sync steps, then the audio.
  void Render(int frames, int block = 256) {
    std::vector<float> out(2 * static_cast<size_t>(block));
    rt::AudioThreadScope audio;
    for (int done = 0; done < frames; done += block) {
      for (int phase = 0; phase < 3; ++phase) {
        for (auto& d : deck) d->PrepareBlock(phase);
      }
      for (auto& d : deck) d->GetSamples(out.data(), std::min(block, frames - done));
    }
  }

  // How far past its last beat a play head stands, as a fraction of that beat.
  static double PhaseOnGrid(const std::vector<double>& beats, double pos) {
    for (size_t k = 1; k < beats.size(); ++k) {
      if (beats[k] > pos) return (pos - beats[k - 1]) / (beats[k] - beats[k - 1]);
    }
    return 0.0;
  }
  // Deck 1's lag behind deck 0 in output frames, the short way round the beat.
  double LagFrames(const std::vector<double>& beats0, const std::vector<double>& beats1) {
    double d = PhaseOnGrid(beats0, deck[0]->Position()) - PhaseOnGrid(beats1, deck[1]->Position());
    if (d > 0.5) d -= 1.0;
    if (d < -0.5) d += 1.0;
    return d * 2646000.0 / (deck[0]->GetBpm() * (1.0 + deck[0]->getPitch() * 0.0001));
  }

  TempFolder folder;
  std::unique_ptr<CSoundSource> deck[2];
};

