#include "effects/EffectPhaser.h"

#include <algorithm>

#include "effects/EffectDsp.h"

CEffectPhaser::CEffectPhaser() : line_(new float[kLineLength]()) { ApplyPending(); }

void CEffectPhaser::SetParam(int id, int value) {
  if (id != 0) return;
  param_.store(std::clamp(value, 0, 1000), std::memory_order_relaxed);
  pending_.store(true, std::memory_order_release);
}

int CEffectPhaser::GetParam(int id) { return id == 0 ? param_.load(std::memory_order_relaxed) : 0; }

void CEffectPhaser::ApplyPending() noexcept {
  if (!pending_.exchange(false, std::memory_order_acquire)) return;
  delayMs_ = std::min(DelayMsForParam(param_.load(std::memory_order_relaxed)), kMaxDelayMs);
  readPos_ = kLineLength - fxdsp::kSampleRate * delayMs_ / 1000 - 1;
  channel_ = 1;
  writePos_ = -1;
  filling_ = 1;
}

void CEffectPhaser::Reset() noexcept { fxdsp::ScrubNonFinite(line_.get(), kLineLength); }

void CEffectPhaser::ProcessCore(float* block, int frames, float bpm) noexcept {
  (void)bpm;
  if (!IsEnabled()) return;
  ApplyPending();
  if (channel_ < 0 || delayMs_ < 1) return;
  float* line = line_.get();
  for (int i = 0; i < frames; ++i) {
    float& sample = block[2 * i + channel_];
    writePos_ = writePos_ + 1 == kLineLength ? 0 : writePos_ + 1;
    line[writePos_] = sample;
    readPos_ = readPos_ + 1 == kLineLength ? 0 : readPos_ + 1;
    if (!filling_) {
      sample = line[readPos_];
    } else if (readPos_ == 0) {
      filling_ = 0;
    }
  }
}
