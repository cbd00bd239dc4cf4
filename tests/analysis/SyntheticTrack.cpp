#include "SyntheticTrack.h"

#include <stdexcept>

#include "support/TestFiles.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <random>

namespace {

constexpr int kRate = 44100;

double NoteHz(int semitonesFromA1) { return 55.0 * std::pow(2.0, semitonesFromA1 / 12.0); }

void AddKick(std::vector<float>& mix, double at) {
  const int start = static_cast<int>(at * kRate);
  double phase = 0.0;
  for (int i = 0; i < kRate / 4 && start + i < static_cast<int>(mix.size()); ++i) {
    const double t = double(i) / kRate;
    const double freq = 50.0 + 100.0 * std::exp(-t * 30.0);
    phase += 2.0 * M_PI * freq / kRate;
    mix[static_cast<size_t>(start + i)] += static_cast<float>(0.7 * std::sin(phase) * std::exp(-t * 12.0));
  }
}

void AddHat(std::vector<float>& mix, double at, std::mt19937& random) {
  std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
  const int start = static_cast<int>(at * kRate);
  float previous = 0.0f;
  for (int i = 0; i < kRate / 20 && start + i < static_cast<int>(mix.size()); ++i) {
    const float n = noise(random);
    const float high = n - previous;  // a first difference leaves the top end
    previous = n;
    mix[static_cast<size_t>(start + i)] += 0.08f * high * std::exp(-float(i) / kRate * 60.0f);
  }
}

void AddTone(std::vector<float>& mix, double at, double length, double hz, double amplitude, int harmonics) {
  const int start = static_cast<int>(at * kRate);
  const int count = static_cast<int>(length * kRate);
  for (int i = 0; i < count && start + i < static_cast<int>(mix.size()); ++i) {
    const double t = double(i) / kRate;
    const double envelope = std::min(1.0, t * 50.0) * std::min(1.0, (length - t) * 50.0);
    double v = 0.0;
    for (int h = 1; h <= harmonics; ++h) v += std::sin(2.0 * M_PI * hz * h * t) / h;
    mix[static_cast<size_t>(start + i)] += static_cast<float>(amplitude * envelope * v);
  }
}

}  // namespace

SyntheticTrack MakeSyntheticTrack(const SyntheticRecipe& recipe) {
  SyntheticTrack track;
  std::mt19937 random(recipe.seed);
  const size_t frames = static_cast<size_t>(recipe.seconds * kRate);
  std::vector<float> mix(frames, 0.0f);

  // Beats: the first half at bpm, then (with a step) at secondBpm.
  double t = 0.5;
  while (t < recipe.seconds - 0.5) {
    track.beatTimes.push_back(t);
    const double bpm = (recipe.secondBpm > 0 && t >= recipe.seconds / 2) ? recipe.secondBpm : recipe.bpm;
    t += 60.0 / bpm;
  }
  // A cadence of four chords, one per bar: I IV V I in major, i iv V i in minor.
  const int degrees[4] = {0, 5, 7, 0};
  for (size_t b = 0; b < track.beatTimes.size(); ++b) {
    const double at = track.beatTimes[b];
    const double beat = b + 1 < track.beatTimes.size() ? track.beatTimes[b + 1] - at : 60.0 / recipe.bpm;
    AddKick(mix, at);
    AddHat(mix, at + beat * 0.5 * (1.0 + recipe.swing), random);
    const int chord = degrees[(b / 4) % 4];
    const int root = recipe.keyRoot + chord;
    AddTone(mix, at + beat * 0.5, beat * 0.45, NoteHz(root), 0.18, 4);  // bass on the off-beat
    if (b % 4 == 0) {
      const bool minorChord = recipe.minor && chord != 7;
      const double bar = beat * 4;
      for (int interval : {0, minorChord ? 3 : 4, 7}) {
        AddTone(mix, at, bar * 0.98, NoteHz(root + interval + 24), 0.05, 3);
      }
      AddTone(mix, at, bar * 0.98, NoteHz(root + 36), 0.025, 2);
    }
  }
  track.stereo.resize(frames * 2);
  for (size_t i = 0; i < frames; ++i) {
    const float v = std::clamp(mix[i] * static_cast<float>(recipe.level), -1.0f, 1.0f);
    const short s = static_cast<short>(std::lround(v * 32767.0f));
    track.stereo[2 * i] = track.stereo[2 * i + 1] = s;
  }
  return track;
}

bool WriteWav(const std::string& path, const std::vector<short>& stereo) {
  try {
    WriteStereo16(path, stereo);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

std::vector<SyntheticRecipe> SyntheticSuite(int count, double seconds) {
  std::vector<SyntheticRecipe> suite;
  for (int i = 0; i < count; ++i) {
    SyntheticRecipe recipe;
    recipe.bpm = 70.0 + (110.0 * i) / std::max(count - 1, 1);
    recipe.bpm = std::round(recipe.bpm * 10.0) / 10.0;
    recipe.seconds = seconds > 0 ? seconds : 60.0 + (i * 41) % 121;
    recipe.keyRoot = (i * 7) % 12;
    recipe.minor = i % 2 == 1;
    recipe.swing = i % 5 == 2 ? 0.33 : 0.0;
    if (i % 7 == 3) recipe.secondBpm = recipe.bpm + 4.0;
    recipe.seed = 1000u + static_cast<unsigned>(i);
    suite.push_back(recipe);
  }
  return suite;
}
