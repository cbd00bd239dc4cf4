#include "effects/EqualizerIIR.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kGlideSamples = 220;  // interleaved, so 110 frames

double TargetOfDb(int dB) { return dB > -318.8 ? std::pow(10.0, dB / 20.0) + 1.0 : 1.0; }

}  // namespace

CEffectEqualizerIIR::CEffectEqualizerIIR() {
  for (int b = 0; b < kBands; ++b) {
    bands_[b].filter.SetBand(b);
    bands_[b].buffer.reset(new float[2 * kMaxFrames]());
  }
}

void CEffectEqualizerIIR::SetParam(int band, int dB) {
  if (band < 1 || band > kBands) return;
  if (dB < kKillBelowDb) dB = kKillDb;
  (band == 1 ? lowDb : band == 2 ? midDb : highDb) = static_cast<float>(dB);
  bands_[band - 1].target.store(TargetOfDb(dB), std::memory_order_relaxed);
  const float g = static_cast<float>(dB);
  if (band == 1) {
    designs[0].Design(260.0f, g, 0.95f, ZQBiquad::kLowShelf);
    designs[1].Design(260.0f, g, 0.95f, ZQBiquad::kLowShelf);
  } else if (band == 2) {
    designs[2].Design(1612.45f, g, 0.6f, ZQBiquad::kPeaking);
    designs[3].Design(1612.45f, g, 0.6f, ZQBiquad::kPeaking);
  } else {
    designs[4].Design(6000.0f, g, 0.95f, ZQBiquad::kHighShelf);
    designs[5].Design(6000.0f, g, 0.95f, ZQBiquad::kHighShelf);
  }
}

int CEffectEqualizerIIR::GetParam(int band) {
  if (band < 1 || band > kBands) return 0;
  return static_cast<int>(band == 1 ? lowDb : band == 2 ? midDb : highDb);
}

void CEffectEqualizerIIR::Reset() noexcept {
  for (Band& band : bands_) band.filter.ClearHistory();
}

void CEffectEqualizerIIR::ProcessCore(float* block, int frames, float) noexcept {
  if (frames > kMaxFrames) frames = kMaxFrames;
  const int samples = 2 * frames;
  for (Band& band : bands_) {
    band.filter.Process(block, band.buffer.get(), samples);
    const double target = band.target.load(std::memory_order_relaxed);
    if (target != band.seenTarget) {
      band.seenTarget = target;
      band.step = std::pow(target / band.current, 1.0 / kGlideSamples);
    }
  }
  bool flat = true, settled = true;
  for (const Band& band : bands_) {
    flat = flat && band.seenTarget == 2.0 && band.current == 2.0;
    settled = settled && band.current == band.seenTarget;
  }
  if (settled && (flat ? direct_ == 1.0 : direct_ == 0.0)) {
    MixSettled(block, samples, flat);
    return;
  }
  MixGliding(block, samples, flat);
}

// Nothing moving: constant band gains, or the untouched input.
void CEffectEqualizerIIR::MixSettled(float* block, int samples, bool flat) noexcept {
  if (flat) return;
  const float* low = bands_[0].buffer.get();
  const float* mid = bands_[1].buffer.get();
  const float* high = bands_[2].buffer.get();
  const float g0 = static_cast<float>(bands_[0].current - 1.0), g1 = static_cast<float>(bands_[1].current - 1.0),
              g2 = static_cast<float>(bands_[2].current - 1.0);
  for (int i = 0; i < samples; ++i) block[i] = low[i] * g0 + mid[i] * g1 + high[i] * g2;
}

// Band gains gliding, or the hand-over between the bands' sum and the untouched input.
void CEffectEqualizerIIR::MixGliding(float* block, int samples, bool flat) noexcept {
  const double directStep = (flat ? 1.0 : -1.0) / kGlideSamples;
  const float* low = bands_[0].buffer.get();
  const float* mid = bands_[1].buffer.get();
  const float* high = bands_[2].buffer.get();
  for (int i = 0; i < samples; ++i) {
    float gain[kBands];
    for (int b = 0; b < kBands; ++b) {
      Band& band = bands_[b];
      if (band.current != band.seenTarget) {
        band.current *= band.step;
        const bool passed = band.step == 1.0 ||
                            (band.step > 1.0 ? band.current >= band.seenTarget : band.current <= band.seenTarget);
        if (passed) band.current = band.seenTarget;
      }
      gain[b] = static_cast<float>(band.current - 1.0);
    }
    const float sum = low[i] * gain[0] + mid[i] * gain[1] + high[i] * gain[2];
    direct_ = std::clamp(direct_ + directStep, 0.0, 1.0);
    const float d = static_cast<float>(direct_);
    block[i] = block[i] * d + sum * (1.0f - d);
  }
}
