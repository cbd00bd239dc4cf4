#pragma once
// Test music made to order: kick on every beat, hats on the off-beats (optionally swung), a
// bass line and sustained chords of a cadence in a chosen key, with an optional tempo step
// half-way. Deterministic for a given seed. The true beat times come with it.

#include <string>
#include <vector>

// How the drums divide the beat. Straight: kick on the beat, hat on the off-beat. Shuffle: 12/8,
// the hat on the third triplet of each beat and a ghost on the second. Half-time: the kick on
// the first and snare on the third beat of each bar, hats on every beat (a DJ counts the hats).
// Sixteenths: hats on every sixteenth, snare on two and four.
enum class DrumFeel { kStraight, kShuffle, kHalfTime, kSixteenths };

struct SyntheticRecipe {
  double bpm = 120.0;
  double secondBpm = 0.0;  // tempo after the step half-way through; 0 for none
  double seconds = 60.0;
  double swing = 0.0;      // delay of the off-beat hats, as a fraction of half a beat
  int keyRoot = 0;         // 0 = A ... 11 = G#
  bool minor = false;
  double level = 1.0;      // linear gain on the whole mix
  DrumFeel feel = DrumFeel::kStraight;
  double introSeconds = 0.0;  // chords and bass only before the drums come in
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
// The tempo evaluation set: count pieces over 60..200 BPM in every feel, some with drumless
// intros or a tempo step, 20 s to 6 min long (or seconds each when not 0).
std::vector<SyntheticRecipe> TempoEvaluationSet(int count, double seconds = 0.0);
// Music without a beat a grid could follow (deterministic for a seed), 16-bit stereo:
// 0 silence, 1 pink noise, 2 a 440 Hz sine, 3 a slowly swelling pad, 4 drum hits at random times.
std::vector<short> MakeBeatless(int kind, double seconds, unsigned seed = 1);
