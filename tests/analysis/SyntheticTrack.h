#pragma once
// Test music made to order: kick on every beat, hats on the off-beats (optionally swung), a
// bass line and sustained chords of a cadence in a chosen key, with an optional tempo step
// half-way. Deterministic for a given seed. The true beat times come with it.

#include <string>
#include <vector>

struct SyntheticRecipe {
  double bpm = 120.0;
  double secondBpm = 0.0;  // tempo after the step half-way through; 0 for none
  double seconds = 60.0;
  double swing = 0.0;      // delay of the off-beat hats, as a fraction of half a beat
  int keyRoot = 0;         // 0 = A ... 11 = G#
  bool minor = false;
  double level = 1.0;      // linear gain on the whole mix
  unsigned seed = 1;
};

struct SyntheticTrack {
  std::vector<short> stereo;      // 44100 Hz interleaved
  std::vector<double> beatTimes;  // seconds
};

SyntheticTrack MakeSyntheticTrack(const SyntheticRecipe& recipe);
// A 16-bit stereo 44100 Hz WAV file.
bool WriteWav(const std::string& path, const std::vector<short>& stereo);
// The suite used for accuracy figures: count tracks spread over 70..180 BPM, keys and styles,
// each seconds long, or 60 to 180 seconds by track when seconds is 0.
std::vector<SyntheticRecipe> SyntheticSuite(int count, double seconds);
