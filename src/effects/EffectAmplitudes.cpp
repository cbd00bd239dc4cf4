#include "effects/EffectAmplitudes.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kRadiansPerSample = 2.0 * M_PI / 44100.0;
constexpr double kTwoPi = 2.0 * M_PI;
// The counter is folded into the phase well before a double loses sample precision.
constexpr long long kFoldCounterAt = 1LL << 24;

}  // namespace

CEffectAmplitudes::CEffectAmplitudes() { Reset(); }

double CEffectAmplitudes::CyclesPerBeat(int mode, int speed) {
  const double p = speed * 0.001;
  const double r = p > 0.8 ? 16 : p > 0.6 ? 8 : p > 0.4 ? 4 : p > 0.2 ? 2 : 1;
  return mode == 1 ? 1.0 / r : r;
}

void CEffectAmplitudes::SetParam(int id, int value) {
  if (id == 0 && (value == 0 || value == 1)) panMode_.store(value, std::memory_order_relaxed);
  if (id == 1) speedParam_.store(std::clamp(value, 0, 1000), std::memory_order_relaxed);
}

int CEffectAmplitudes::GetParam(int id) {
  if (id == 0) return panMode_.load(std::memory_order_relaxed);
  if (id == 1) return speedParam_.load(std::memory_order_relaxed);
  return 0;
}

void CEffectAmplitudes::Reset() noexcept {
  sampleCounter_ = -1;
  phase_ = 0.0;
}

void CEffectAmplitudes::ProcessCore(float* block, int frames, float bpm) noexcept {
  if (!IsEnabled()) return;
  const int mode = panMode_.load(std::memory_order_relaxed);
  const double rate = CyclesPerBeat(mode, speedParam_.load(std::memory_order_relaxed));
  const float tempo = bpm == 0.0f || !std::isfinite(bpm) ? 120.0f : bpm;
  if (sampleCounter_ < 0) {
    sampleCounter_ = 0;  // the first block after a reset starts at the top of the cycle
    lastBpm_ = tempo;
    lastRate_ = rate;
  }
  // A new tempo or speed continues from the phase reached so far, at the old rate.
  if (tempo != lastBpm_ || rate != lastRate_ || sampleCounter_ >= kFoldCounterAt) {
    phase_ = std::fmod(phase_ + sampleCounter_ * kRadiansPerSample * lastBpm_ / 60.0 * lastRate_, kTwoPi);
    lastBpm_ = tempo;
    lastRate_ = rate;
    sampleCounter_ = 0;
  }
  // The cosine is turned by a fixed rotation from frame to frame, started exactly at each block.
  const double step = kRadiansPerSample * tempo / 60.0 * rate;
  const double angle = sampleCounter_ * step + phase_;
  double cosine = std::cos(angle), sine = std::sin(angle);
  const double turnCos = std::cos(step), turnSin = std::sin(step);
  for (int i = 0; i < frames; ++i) {
    const float c = static_cast<float>((cosine + 1.0) * 0.5);
    block[2 * i] *= c;
    block[2 * i + 1] *= mode == 1 ? 1.0f - c : c;
    const double nextCos = cosine * turnCos - sine * turnSin;
    sine = sine * turnCos + cosine * turnSin;
    cosine = nextCos;
  }
  sampleCounter_ += frames;
}
