#pragma once
// CEffectEqualizerIIR: the channel's three-band equaliser. The crossover splits the block into
// low, mid and high; the bands are summed back with one gain each. The bands do not sum to a flat
// response (about -2.8 dB where they meet), so with every band at 0 dB the equaliser hands the
// input through untouched, cross-fading between the two over 110 frames when a band leaves or
// returns to 0 dB. The crossover keeps running meanwhile, so the fade starts from a warm filter.
//
// A band change glides over 220 interleaved samples (110 frames) on gain + 1 with a
// multiplicative step, so a band can fade to true silence without zipper noise. Below -34 dB a
// band is killed (-100 dB).
//
// Threads: SetParam from the main thread (one atomic per band); ProcessCore on the audio thread,
// which works out each glide's step itself from where the band stands.

#include <atomic>
#include <memory>

#include "effects/Biquad.h"
#include "effects/CrossoverBand.h"
#include "effects/Effect.h"

class CEffectEqualizerIIR : public CBuiltInEffect {
 public:
  static constexpr int kBands = 3;
  static constexpr int kKillBelowDb = -34;
  static constexpr int kKillDb = -100;

  CEffectEqualizerIIR();
  // band 1 low, 2 mid, 3 high; other bands are ignored.
  void SetParam(int band, int dB) override;
  int GetParam(int band) override;
  int GetParamCount() override { return kBands; }
  LUMO_RT void ProcessCore(float* block, int frames, float bpm) noexcept override;
  LUMO_RT void Reset() noexcept override;

  float lowDb = 0, midDb = 0, highDb = 0;
  // Shelf and peak designs of the same settings, for displays; not in the signal path.
  ZQBiquad designs[6];

 private:
  struct Band {
    ZQCrossoverBand filter;
    std::unique_ptr<float[]> buffer;
    std::atomic<double> target{2.0};  // gain + 1, from the main thread
    double seenTarget = 2.0;          // audio thread
    double current = 2.0;
    double step = 1.0;
  };
  LUMO_RT void MixSettled(float* block, int samples, bool flat) noexcept;
  LUMO_RT void MixGliding(float* block, int samples, bool flat) noexcept;

  Band bands_[kBands];
  double direct_ = 1.0;  // share of the untouched input, audio thread
};
