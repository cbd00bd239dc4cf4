#include "effects/EqualizerFFT.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int kLastLowBin = 3;    // round(340 Hz / 86.13 Hz) - 1
constexpr int kLastMidBin = 80;   // round(6995 Hz / 86.13 Hz) - 1

float GainOfDb(int dB) { return dB > -318.8 ? static_cast<float>(std::pow(10.0, dB / 20.0)) : 0.0f; }

}  // namespace

CEffectEqualizerFFT::CEffectEqualizerFFT() {
  // Periodic Hann: two copies half a transform apart add up to exactly 1.
  for (int n = 0; n < kTransform; ++n) {
    window_[n] = static_cast<float>(0.5 - 0.5 * std::cos(2.0 * M_PI * n / kTransform));
  }
  RebuildGains();
  Reset();
}

void CEffectEqualizerFFT::SetParam(int band, int dB) {
  if (band < 1 || band > kBands) return;
  bandDb_[band - 1].store(dB, std::memory_order_relaxed);
  dirty_.store(1, std::memory_order_release);
}

int CEffectEqualizerFFT::GetParam(int band) {
  return band >= 1 && band <= kBands ? bandDb_[band - 1].load(std::memory_order_relaxed) : 0;
}

void CEffectEqualizerFFT::Reset() noexcept {
  inFrames_ = 0;
  outFrames_ = kTransform;
  std::fill(std::begin(outRing_), std::begin(outRing_) + 2 * kTransform, 0.0f);
  std::fill(std::begin(previousHalf_), std::end(previousHalf_), 0.0f);
  std::fill(std::begin(tail_), std::end(tail_), 0.0f);
}

void CEffectEqualizerFFT::RebuildGains() noexcept {
  const float gains[kBands] = {GainOfDb(bandDb_[0].load(std::memory_order_relaxed)),
                               GainOfDb(bandDb_[1].load(std::memory_order_relaxed)),
                               GainOfDb(bandDb_[2].load(std::memory_order_relaxed))};
  for (int bin = 0; bin <= kTransform / 2; ++bin) {
    binGain_[bin] = gains[bin <= kLastLowBin ? 0 : bin <= kLastMidBin ? 1 : 2];
  }
  for (int bin = kTransform / 2 + 1; bin < kTransform; ++bin) binGain_[bin] = binGain_[kTransform - bin];
}

// One channel of 512 interleaved frames through the transform, the bin gains and the window.
void CEffectEqualizerFFT::FilterFrame(const float* stereo, int channel, std::complex<float>* frame) noexcept {
  for (int n = 0; n < kTransform; ++n) frame[n] = {stereo[2 * n + channel], 0.0f};
  fft_.Forward(frame);
  for (int bin = 0; bin < kTransform; ++bin) frame[bin] *= binGain_[bin];
  fft_.Inverse(frame);
  for (int n = 0; n < kTransform; ++n) frame[n] = {frame[n].real() * window_[n], 0.0f};
}

void CEffectEqualizerFFT::ProcessWorkBlock(const float* in, float* out) noexcept {
  // The first transform straddles the previous block's end; the second covers this block.
  float straddle[2 * kTransform];
  std::memcpy(straddle, previousHalf_, sizeof previousHalf_);
  std::memcpy(straddle + 2 * kHop, in, sizeof(float) * 2 * kHop);
  for (int c = 0; c < 2; ++c) {
    FilterFrame(straddle, c, frame_);
    FilterFrame(in, c, second_);
    for (int n = 0; n < kHop; ++n) {
      out[2 * n + c] = tail_[2 * n + c] + frame_[n].real();
      out[2 * (n + kHop) + c] = frame_[n + kHop].real() + second_[n].real();
      tail_[2 * n + c] = second_[n + kHop].real();
    }
  }
  std::memcpy(previousHalf_, in + 2 * kHop, sizeof previousHalf_);
}

void CEffectEqualizerFFT::ProcessCore(float* block, int frames, float) noexcept {
  if (!IsEnabled()) return;
  frames = std::min(frames, kMaxFrames);
  if (dirty_.exchange(0, std::memory_order_acq_rel)) RebuildGains();
  std::memcpy(inRing_ + 2 * inFrames_, block, sizeof(float) * 2 * static_cast<size_t>(frames));
  inFrames_ += frames;
  int used = 0;
  while (inFrames_ - used >= kTransform && outFrames_ + kTransform <= kRingFrames) {
    ProcessWorkBlock(inRing_ + 2 * used, outRing_ + 2 * outFrames_);
    used += kTransform;
    outFrames_ += kTransform;
  }
  std::memmove(inRing_, inRing_ + 2 * used, sizeof(float) * 2 * static_cast<size_t>(inFrames_ - used));
  inFrames_ -= used;

  const int ready = std::min(frames, outFrames_);
  std::memset(block, 0, sizeof(float) * 2 * static_cast<size_t>(frames));
  std::memcpy(block, outRing_, sizeof(float) * 2 * static_cast<size_t>(ready));
  std::memmove(outRing_, outRing_ + 2 * ready, sizeof(float) * 2 * static_cast<size_t>(outFrames_ - ready));
  outFrames_ -= ready;
}
