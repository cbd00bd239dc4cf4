#pragma once
// Analytic inputs and a fixed tempo for the built-in effect tests.

#include <cmath>
#include <vector>

#include "effects/Effect.h"

struct FixedTempo : CTempoSource {
  explicit FixedTempo(float b) : bpm(b) {}
  float GetBpm() override { return bpm; }
  float bpm;
};

// Interleaved stereo, `frames` long.
inline std::vector<float> Stereo(int frames, float left, float right) {
  std::vector<float> v(2 * static_cast<size_t>(frames));
  for (int i = 0; i < frames; ++i) v[2 * i] = left, v[2 * i + 1] = right;
  return v;
}

inline std::vector<float> Impulse(int frames, int at, float value = 1.0f) {
  std::vector<float> v = Stereo(frames, 0.0f, 0.0f);
  v[2 * at] = v[2 * at + 1] = value;
  return v;
}

inline std::vector<float> Sine(int frames, double amplitude, double hz) {
  std::vector<float> v(2 * static_cast<size_t>(frames));
  for (int i = 0; i < frames; ++i) {
    v[2 * i] = v[2 * i + 1] = static_cast<float>(amplitude * std::sin(2 * M_PI * hz * i / 44100.0));
  }
  return v;
}

// Runs the effect's core over a whole signal in blocks of `block` frames at one tempo.
inline void RunCore(CEffect& effect, std::vector<float>& signal, float bpm, int block = 4410) {
  const int frames = static_cast<int>(signal.size() / 2);
  for (int at = 0; at < frames; at += block) {
    const int n = frames - at < block ? frames - at : block;
    effect.ProcessCore(signal.data() + 2 * at, n, bpm);
  }
}

// First frame at or after `from` whose channel holds more than `above` in magnitude, or -1.
inline int FirstAbove(const std::vector<float>& signal, int channel, int from, float above) {
  for (size_t i = static_cast<size_t>(from); 2 * i + 1 < signal.size(); ++i) {
    if (std::fabs(signal[2 * i + channel]) > above) return static_cast<int>(i);
  }
  return -1;
}
