#include "effects/EffectReverbs.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "effects/EffectDsp.h"

namespace {

float Clip(float x) { return x > 1.0f ? 1.0f : x < -1.0f ? -1.0f : x; }

}  // namespace

CEffectReverbs::CEffectReverbs(int subType)
    : subType_(std::clamp(subType, 0, 1)), lineLeft_(new float[kLineLength]()), lineRight_(new float[kLineLength]()) {
  ConfigureSubType(subType_.load(), fxdsp::LockedTempo(nullptr));
}

void CEffectReverbs::SetParam(int id, int value) {
  if (id == 0 && (value == 0 || value == 1)) {
    subType_.store(value, std::memory_order_relaxed);
  } else if (id == 1 || id == 2) {
    (id == 1 ? param1_ : param2_).store(std::clamp(value, 0, 1000), std::memory_order_relaxed);
  } else {
    return;
  }
  pending_.store(true, std::memory_order_release);
}

int CEffectReverbs::GetParam(int id) {
  if (id == 0) return subType_.load(std::memory_order_relaxed);
  if (id == 1) return param1_.load(std::memory_order_relaxed);
  if (id == 2) return param2_.load(std::memory_order_relaxed);
  return 0;
}

bool CEffectReverbs::Configure(int directPercent, int crossPercent, int tapOutPercent, int loopGainPercent,
                               int tapCount, const Tap* taps) noexcept {
  if (tapCount < 0 || tapCount > kMaxTaps) return false;
  for (int k = 0; k < tapCount; ++k) {
    const int ms = std::min(taps[k].delayMs, kMaxDelayMs);
    tapDelay_[k] = std::max(1, ms * fxdsp::kSampleRate / 1000);
    tapPos_[k] = kLineLength - tapDelay_[k];
    tapGain_[k] = taps[k].gainPercent * 0.01f;
  }
  tapCount_ = tapCount;
  std::memset(lineLeft_.get(), 0, sizeof(float) * kLineLength);
  lowLeft_ = lowRight_ = 0.0f;
  writePos_ = 0;
  direct_ = directPercent * 0.01f;
  cross_ = crossPercent * 0.01f;
  tapOut_ = tapOutPercent * 0.01f;
  loopGain_ = loopGainPercent * 0.01f;
  return true;
}

int CEffectReverbs::EchoDelayMs(double a, float tempo) noexcept {
  const double beats = a > 0.666 ? 2.0 : a > 0.333 ? 1.0 : 0.5;
  return static_cast<int>(std::lround(beats * (60000.0 / tempo)));
}

void CEffectReverbs::ConfigureSubType(int subType, float tempo) noexcept {
  const double a = param1_.load(std::memory_order_relaxed) * 0.001;
  const double b = param2_.load(std::memory_order_relaxed) * 0.001;
  runningSubType_ = subType;
  if (subType == 0) {
    const Tap taps[3] = {{static_cast<int>(a * 120 + 30), 60},
                         {static_cast<int>(a * 160 + 40), 40},
                         {static_cast<int>(a * 196 + 50), 20}};
    Configure(85, 20, 35, static_cast<int>(std::lround(60 * b + 15)), 3, taps);
  } else {
    const Tap tap{EchoDelayMs(a, tempo), 70};
    Configure(85, 20, 60, static_cast<int>(std::lround(b * 60 + 30)), 1, &tap);
  }
  echoTempo_ = tempo;
}

void CEffectReverbs::ApplyPending(float bpm) noexcept {
  CTempoSource* source = tempoSource.load(std::memory_order_relaxed);
  const float tempo = source ? (bpm >= 60.0f ? bpm : 60.0f) : fxdsp::LockedTempo(nullptr);
  if (pending_.exchange(false, std::memory_order_acquire)) {
    ConfigureSubType(subType_.load(std::memory_order_relaxed), tempo);
    return;
  }
  if (runningSubType_ != 1 || tempo == echoTempo_) return;
  // The deck changed tempo: the echo tap moves to the new beat, the line keeps what it holds.
  const int ms = std::min(EchoDelayMs(param1_.load(std::memory_order_relaxed) * 0.001, tempo), kMaxDelayMs);
  tapDelay_[0] = std::max(1, ms * fxdsp::kSampleRate / 1000);
  tapPos_[0] = (writePos_ + kLineLength - tapDelay_[0]) % kLineLength;
  echoTempo_ = tempo;
}

void CEffectReverbs::Reset() noexcept {
  // A faded-out reverb starts again from silence.
  std::memset(lineLeft_.get(), 0, sizeof(float) * kLineLength);
  std::memset(lineRight_.get(), 0, sizeof(float) * kLineLength);
  lowLeft_ = lowRight_ = 0.0f;
}

void CEffectReverbs::RunFrames(float* block, int frames) noexcept {
  // No line position wraps inside this run, so the taps read through plain pointers.
  const float* left[kMaxTaps];
  const float* right[kMaxTaps];
  for (int k = 0; k < tapCount_; ++k) left[k] = lineLeft_.get() + tapPos_[k], right[k] = lineRight_.get() + tapPos_[k];
  float* writeLeft = lineLeft_.get() + writePos_;
  float* writeRight = lineRight_.get() + writePos_;
  float lowL = lowLeft_, lowR = lowRight_;
  for (int j = 0; j < frames; ++j) {
    const float l = block[2 * j] * direct_, r = block[2 * j + 1] * direct_;
    float sumL = 0.0f, sumR = 0.0f;
    for (int k = 0; k < tapCount_; ++k) {
      sumL += left[k][j] * tapGain_[k];
      sumR += right[k][j] * tapGain_[k];
    }
    lowL = fxdsp::FlushTiny((lowL + sumL) * 0.5f);
    lowR = fxdsp::FlushTiny((lowR + sumR) * 0.5f);
    writeLeft[j] = Clip(cross_ * r + l + lowL * loopGain_);
    writeRight[j] = Clip(cross_ * l + r + lowR * loopGain_);
    block[2 * j] = Clip(tapOut_ * lowL + l);
    block[2 * j + 1] = Clip(tapOut_ * lowR + r);
  }
  lowLeft_ = lowL, lowRight_ = lowR;
  for (int k = 0; k < tapCount_; ++k) tapPos_[k] = (tapPos_[k] + frames) % kLineLength;
  writePos_ = (writePos_ + frames) % kLineLength;
}

void CEffectReverbs::ProcessCore(float* block, int frames, float bpm) noexcept {
  if (!IsEnabled()) return;
  ApplyPending(bpm);
  if (tapCount_ <= 0) return;
  for (int i = 0; i < frames;) {
    int run = std::min(frames - i, kLineLength - writePos_);
    for (int k = 0; k < tapCount_; ++k) run = std::min(run, kLineLength - tapPos_[k]);
    RunFrames(block + 2 * i, run);
    i += run;
  }
}
