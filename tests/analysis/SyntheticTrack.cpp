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

void AddSnare(std::vector<float>& mix, double at, std::mt19937& random, float level) {
  std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
  const int start = static_cast<int>(at * kRate);
  for (int i = 0; i < kRate / 8 && start + i < static_cast<int>(mix.size()); ++i) {
    const float t = float(i) / kRate;
    const float body = 0.3f * std::sin(2.0f * float(M_PI) * 190.0f * t) * std::exp(-t * 40.0f);
    mix[static_cast<size_t>(start + i)] += level * (body + 0.25f * noise(random) * std::exp(-t * 25.0f));
  }
}

// Drums of one beat starting at `at`, `beat` seconds long; index counts beats from the first.
void AddDrums(std::vector<float>& mix, const SyntheticRecipe& recipe, size_t index, double at, double beat,
              std::mt19937& random) {
  switch (recipe.feel) {
    case DrumFeel::kStraight:
      AddKick(mix, at);
      AddHat(mix, at + beat * 0.5 * (1.0 + recipe.swing), random);
      break;
    case DrumFeel::kShuffle:
      AddKick(mix, at);
      AddHat(mix, at, random);
      AddHat(mix, at + beat * 2.0 / 3.0, random);
      if (index % 2 == 1) AddSnare(mix, at, random, 0.8f);
      break;
    case DrumFeel::kHalfTime:
      if (index % 4 == 0) AddKick(mix, at);
      if (index % 4 == 2) AddSnare(mix, at, random, 1.0f);
      AddHat(mix, at, random);
      AddHat(mix, at, random);
      break;
    case DrumFeel::kSixteenths:
      AddKick(mix, at);
      if (index % 2 == 1) AddSnare(mix, at, random, 0.7f);
      for (int k = 0; k < 4; ++k) AddHat(mix, at + beat * k / 4.0, random);
      break;
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
    if (at >= recipe.introSeconds) AddDrums(mix, recipe, b, at, beat, random);
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

std::vector<SyntheticRecipe> TempoEvaluationSet(int count, double seconds) {
  std::vector<SyntheticRecipe> set;
  const DrumFeel feels[] = {DrumFeel::kStraight, DrumFeel::kShuffle, DrumFeel::kHalfTime, DrumFeel::kSixteenths};
  for (int i = 0; i < count; ++i) {
    SyntheticRecipe recipe;
    // A stride through 60..200 that does not line up with the feels, so every feel meets every tempo.
    recipe.bpm = std::round((60.0 + std::fmod(i * 37.3, 140.0)) * 10.0) / 10.0;
    recipe.feel = feels[i % 4];
    recipe.swing = recipe.feel == DrumFeel::kStraight && i % 8 == 4 ? 0.33 : 0.0;
    recipe.seconds = seconds > 0 ? seconds : 20.0 + (i * 53) % 341;
    recipe.introSeconds = i % 6 == 5 ? std::min(16.0, recipe.seconds / 4) : 0.0;
    if (i % 10 == 7) recipe.secondBpm = recipe.bpm * (i % 20 == 7 ? 1.04 : 0.96);
    recipe.keyRoot = (i * 5) % 12;
    recipe.minor = i % 3 == 0;
    recipe.level = 0.5 + 0.5 * ((i * 13) % 7) / 6.0;
    recipe.seed = 5000u + static_cast<unsigned>(i);
    set.push_back(recipe);
  }
  return set;
}

std::vector<short> MakeBeatless(int kind, double seconds, unsigned seed) {
  std::mt19937 random(seed);
  std::normal_distribution<double> gauss(0.0, 1.0);
  const size_t frames = static_cast<size_t>(seconds * kRate);
  std::vector<float> mix(frames, 0.0f);
  double b0 = 0, b1 = 0, b2 = 0;  // pink noise by three one-pole stages
  for (size_t i = 0; i < frames && kind != 0; ++i) {
    const double t = double(i) / kRate;
    switch (kind) {
      case 1: {
        const double w = gauss(random);
        b0 = 0.99765 * b0 + w * 0.0990460;
        b1 = 0.96300 * b1 + w * 0.2965164;
        b2 = 0.57000 * b2 + w * 1.0526913;
        mix[i] = static_cast<float>(0.05 * (b0 + b1 + b2 + w * 0.1848));
        break;
      }
      case 2:
        mix[i] = static_cast<float>(0.5 * std::sin(2.0 * M_PI * 440.0 * t));
        break;
      case 3: {
        const double swell = 0.6 + 0.4 * std::sin(2.0 * M_PI * t / 7.3);
        double v = 0.0;
        for (double hz : {220.0, 277.2, 329.6, 440.0}) v += std::sin(2.0 * M_PI * hz * t + hz);
        mix[i] = static_cast<float>(0.08 * swell * v);
        break;
      }
      default:
        break;
    }
  }
  if (kind == 4) {
    std::exponential_distribution<double> gap(2.5);  // hits 0.4 s apart on average, at random
    for (double t = 0.1; t < seconds - 0.3; t += 0.08 + gap(random)) {
      const int which = static_cast<int>(random() % 3);
      if (which == 0) AddKick(mix, t);
      else if (which == 1) AddSnare(mix, t, random, 0.8f);
      else AddHat(mix, t, random);
    }
  }
  std::vector<short> stereo(frames * 2);
  for (size_t i = 0; i < frames; ++i) {
    stereo[2 * i] = stereo[2 * i + 1] = static_cast<short>(std::lround(std::clamp(mix[i], -1.0f, 1.0f) * 32767.0f));
  }
  return stereo;
}
