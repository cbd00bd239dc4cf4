#pragma once
// ZQOnsetEnvelope: how much new sound starts at each moment, 100 times a second, in three bands
// (below 200 Hz: kicks and bass; 200 Hz to 2.5 kHz: snares, keys, voices; 2.5 to 5.5 kHz: hats).
// Each frame is 1024 samples at 44100 Hz averaged in fours to 256 at 11025 Hz, Hann-windowed and
// transformed; a band's value is the spectral flux of its log magnitudes, only rises counted.
//
// Threads: one envelope per analysis thread. Start sizes everything for the track; Feed
// allocates nothing, so it can run inside the pass's per-second loop.

#include <cstddef>
#include <vector>

class ZQOnsetEnvelope {
 public:
  static constexpr int kFramesPerSecond = 100;  // a hop of 441 samples at 44100 Hz
  static constexpr int kBands = 3;

  ZQOnsetEnvelope();
  // Sizes the envelope for a track of seconds (rounded up) and forgets the previous one.
  void Start(int seconds);
  // Mono samples at 44100 Hz in any pieces; samples past the sized length are ignored.
  void Feed(const float* mono, int count);
  // Frames computed so far and band b's flux at each.
  int frames() const { return frames_; }
  const float* band(int b) const { return bands_[static_cast<size_t>(b)].data(); }

 private:
  void RunFrame(const float* window);

  std::vector<float> history_;  // samples not yet consumed by a frame
  int historyFill_ = 0;
  std::vector<float> hann_;
  std::vector<float> re_, im_;    // the transform, in place
  std::vector<float> cos_, sin_;  // its twiddle factors
  std::vector<int> bitReverse_;
  std::vector<float> logMagnitude_, previous_;
  std::vector<std::vector<float>> bands_;
  int capacity_ = 0;
  int frames_ = 0;
};
