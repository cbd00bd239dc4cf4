#pragma once
// ZQCrossoverBand: one band of the channel equaliser's three-way crossover (0 low, 1 mid,
// 2 high), made of fixed second-order sections at 44100 Hz with their -3 dB edges at 340 Hz and
// 8000 Hz. Each section is w[n] = g x[n] - a1 w[n-1] - a2 w[n-2], out = w[n] + 2 s w[n-1] + w[n-2],
// with s = +1 for a low-pass section and -1 for a high-pass one. Arithmetic is in double.
//
// Threads: one processing thread; Process is real-time safe.

#include "app/base/Realtime.h"

struct CrossoverSection {
  int s;
  double g, a2, a1;
};

struct CrossoverSections {
  const CrossoverSection* sections;
  int count;
};

// The sections of a band, in the order the signal meets them.
CrossoverSections CrossoverBandSections(int band);

class ZQCrossoverBand {
 public:
  static constexpr int kMaxSections = 4;

  explicit ZQCrossoverBand(int band = 0) : band_(band) {}
  void SetBand(int band);
  // Interleaved stereo: sampleCount values (frames * 2) from `in` to `out`; may be the same.
  LUMO_RT void Process(const float* in, float* out, int sampleCount) noexcept;
  LUMO_RT void ClearHistory() noexcept;

 private:
  int band_;
  // Per channel, per section: w[n-1], w[n-2].
  double history_[2][2 * kMaxSections] = {};
};
