#include "effects/EffectFlangers.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "effects/EffectDsp.h"

namespace {

struct FlangerSetting {
  int dryPercent, wetPercent, feedbackPercent, delayMs;
  double depthMs, rate;
  double feedbackPerKnob, feedbackAtZero;  // param2 -> feedback %, for the beat-locked and chorus kinds
};

constexpr FlangerSetting kSettings[CEffectFlangers::kSubTypes] = {
    {60, 50, 30, 2, 3.0, 0.2, 20, 20},  {60, 50, 60, 1, 3.0, 0.3, 60, 30}, {0, 100, 80, 2, 3.0, 0.3, 30, 65},
    {90, 90, 20, 3, 0.5, 6.1, 20, 10},  {0, 100, 0, 1, 18.0, 100.0, 0, 0}, {60, 60, 0, 20, 20.0, 11.0, 0, 0},
};

bool BeatLocked(int subType) { return subType <= 2; }

// How many beats one sweep up and down lasts, from param1.
double BeatsPerSweep(double p) {
  return p > 0.857 ? 16 : p > 0.714 ? 8 : p > 0.571 ? 4 : p > 0.428 ? 2 : p > 0.285 ? 1 : p > 0.142 ? 0.5 : 0.25;
}

}  // namespace

CEffectFlangers::CEffectFlangers(int subType)
    : subType_(std::clamp(subType, 0, kSubTypes - 1)),
      lineLeft_(new float[kLineLength]()),
      lineRight_(new float[kLineLength]()) {
  Configure(subType_.load());
}

void CEffectFlangers::SetParam(int id, int value) {
  if (id == 0 && value >= 0 && value < kSubTypes) {
    subType_.store(value, std::memory_order_relaxed);
    pending_.store(kConfigure, std::memory_order_release);
  } else if (id == 1 || id == 2) {
    (id == 1 ? param1_ : param2_).store(std::clamp(value, 0, 1000), std::memory_order_relaxed);
    // param2 is only read when the kind is configured; param1 only re-times the sweep.
    int want = id == 2 ? kConfigure : kStep;
    int seen = pending_.load(std::memory_order_relaxed);
    while (seen < want && !pending_.compare_exchange_weak(seen, want, std::memory_order_release)) {
    }
  }
}

int CEffectFlangers::GetParam(int id) {
  if (id == 0) return subType_.load(std::memory_order_relaxed);
  if (id == 1) return param1_.load(std::memory_order_relaxed);
  if (id == 2) return param2_.load(std::memory_order_relaxed);
  return 0;
}

void CEffectFlangers::Configure(int subType) noexcept {
  const FlangerSetting& s = kSettings[subType];
  runningSubType_ = subType;
  dry_ = s.dryPercent * 0.01f;
  wet_ = s.wetPercent * 0.01f;
  const double p2 = param2_.load(std::memory_order_relaxed) * 0.001;
  feedback_ = static_cast<float>(subType <= 3 ? (p2 * s.feedbackPerKnob + s.feedbackAtZero) * 0.01
                                              : s.feedbackPercent * 0.01);
  delayMs_ = std::min(s.delayMs, kMaxDelayMs);
  std::memset(lineLeft_.get(), 0, sizeof(float) * kLineLength);
  sweepHigh_ = kLineLength - delayMs_ * fxdsp::kSampleRate / 1000 - 2;
  sweepLow_ = std::max(0, static_cast<int>(std::lround(sweepHigh_ - fxdsp::kSampleRate * s.depthMs * 0.001 - 0.5)));
  writePos_ = readPos_ = readPosPrev_ = 0;
  sweep_ = (sweepHigh_ + sweepLow_) * 0.5;
  sweepStep_ = s.rate * 0.001;
  SetSweepStep(subType, fxdsp::LockedTempo(tempoSource.load(std::memory_order_relaxed)));
}

void CEffectFlangers::SetSweepStep(int subType, float tempo) noexcept {
  const double p1 = param1_.load(std::memory_order_relaxed) * 0.001;
  const double direction = sweepStep_ < 0 ? -1.0 : 1.0;  // a re-timed sweep keeps going its way
  if (BeatLocked(subType)) {
    const double beat = fxdsp::kSamplesPerBeatAt1Bpm / tempo;
    sweepStep_ = direction * 2.0 * (sweepHigh_ - sweepLow_) / beat / BeatsPerSweep(p1);
  } else if (subType == 4) {
    sweepStep_ = direction * (p1 * 120.0 + 30.0) * 0.001;
  }
  stepTempo_ = tempo;
}

void CEffectFlangers::ApplyPending(float bpm) noexcept {
  const int pending = pending_.exchange(kNothing, std::memory_order_acquire);
  if (pending == kConfigure) {
    Configure(subType_.load(std::memory_order_relaxed));
  } else if (pending == kStep) {
    SetSweepStep(runningSubType_, stepTempo_);
  }
  // Follow the deck: a new tempo re-times the sweep where it stands.
  CTempoSource* source = tempoSource.load(std::memory_order_relaxed);
  if (source && BeatLocked(runningSubType_)) {
    const float tempo = bpm >= 60.0f ? bpm : 60.0f;
    if (tempo != stepTempo_) SetSweepStep(runningSubType_, tempo);
  }
}

void CEffectFlangers::Reset() noexcept {
  std::memset(lineLeft_.get(), 0, sizeof(float) * kLineLength);
  fxdsp::ScrubNonFinite(lineRight_.get(), kLineLength);
  writePos_ = readPos_ = readPosPrev_ = 0;
  sweep_ = (sweepHigh_ + sweepLow_) * 0.5;
}

void CEffectFlangers::ProcessCore(float* block, int frames, float bpm) noexcept {
  ApplyPending(bpm);
  float* lines[2] = {lineLeft_.get(), lineRight_.get()};
  for (int i = 0; i < frames; ++i) {
    const float frac = static_cast<float>(sweep_ - static_cast<int>(sweep_));
    for (int c = 0; c < 2; ++c) {
      float* line = lines[c];
      const float delayed = line[readPosPrev_] * (1.0f - frac) + line[readPos_] * frac;
      const float s = fxdsp::FlushTiny(delayed * feedback_ + block[2 * i + c]);
      line[writePos_] = s;
      block[2 * i + c] = dry_ * s + wet_ * delayed;
    }
    sweep_ += sweepStep_;
    writePos_ = writePos_ + 1 == kLineLength ? 0 : writePos_ + 1;
    // The sweep never goes below 0, so truncation is its floor; the sum stays under two lengths.
    readPos_ = writePos_ + static_cast<int>(sweep_);
    if (readPos_ >= kLineLength) readPos_ -= kLineLength;
    readPosPrev_ = readPos_ > 0 ? readPos_ - 1 : 0;
    if (sweep_ > sweepHigh_ || sweep_ < sweepLow_) sweepStep_ = -sweepStep_;
  }
}
