#pragma once
// CEffectEqualizerFFT: a three-band equaliser by fast convolution, kept as an alternative to the
// crossover equaliser (no mixer place creates it). Bins of 86.13 Hz: 0..3 take the low gain
// (up to 340 Hz), 4..80 the mid gain, 81..256 the high gain (from about 7 kHz). Blocks of 512
// frames are filtered by overlap-add at a hop of 256 with a Hann window after the inverse
// transform, so the effect runs one work block (512 frames) plus half a transform behind its input.
//
// Threads: SetParam from the main thread (the bands' dB and a dirty flag); ProcessCore on the
// audio thread, which rebuilds the bin table when the flag is up.

#include <atomic>
#include <complex>

#include "effects/Effect.h"
#include "effects/Fft.h"

class CEffectEqualizerFFT : public CBuiltInEffect {
 public:
  static constexpr int kBands = 3;
  static constexpr int kTransform = 512;
  static constexpr int kHop = 256;
  static constexpr int kRingFrames = 5120;  // 40960 bytes of stereo float

  CEffectEqualizerFFT();
  // band 1 low, 2 mid, 3 high, in dB; other bands are ignored.
  void SetParam(int band, int dB) override;
  int GetParam(int band) override;
  int GetParamCount() override { return kBands; }
  LUMO_RT void ProcessCore(float* block, int frames, float bpm) noexcept override;
  // Empties both rings (the output ring starts one work block deep in silence).
  LUMO_RT void Reset() noexcept override;

 private:
  LUMO_RT void RebuildGains() noexcept;
  LUMO_RT void ProcessWorkBlock(const float* in, float* out) noexcept;
  LUMO_RT void FilterFrame(const float* stereo, int channel, std::complex<float>* frame) noexcept;

  std::atomic<int> bandDb_[kBands] = {};
  std::atomic<int> dirty_{1};
  CFft fft_{kTransform};
  float window_[kTransform];
  float binGain_[kTransform];
  float inRing_[2 * kRingFrames];
  float outRing_[2 * kRingFrames];
  int inFrames_ = 0, outFrames_ = 0;
  float previousHalf_[2 * kHop];  // the last 256 input frames of the previous work block
  float tail_[2 * kHop];          // the second half of the previous block's transform, windowed
  std::complex<float> frame_[kTransform];
  std::complex<float> second_[kTransform];
};
