#include "audio/MixerChannel.h"

#include <cstring>

CZQMixerChannel::CZQMixerChannel(CAudioSignalSource* source, int ownerPanel, bool noBuiltInEffects)
    : current_(source), ownerPanel_(ownerPanel), noBuiltInEffects_(noBuiltInEffects) {}

void CZQMixerChannel::SetSource(CAudioSignalSource* source) {
  pending_.store(source, std::memory_order_relaxed);
  hasPending_.store(true, std::memory_order_release);
}

void CZQMixerChannel::GetSamples(float* out, int frames) noexcept {
  if (hasPending_.exchange(false, std::memory_order_acquire)) {
    current_.store(pending_.load(std::memory_order_relaxed), std::memory_order_release);
  }
  CAudioSignalSource* source = current_.load(std::memory_order_relaxed);
  float bpm = 0.0f;
  if (source) {
    source->GetSamples(out, frames);
    bpm = source->GetBpm();
  } else if (!noBuiltInEffects_) {
    // A channel with no source is silent; the master channel runs on the bus it was given.
    std::memset(out, 0, sizeof(float) * 2 * static_cast<size_t>(frames));
  }
  // The only denormal guard ahead of the effects.
  for (int i = 0; i < 2 * frames; ++i) out[i] += 1e-25f;
  ProcessBlock(out, frames, bpm);
}

void CZQMixerChannel::ProcessBlock(float*, int, float) noexcept {}

float CZQMixerChannel::GetBpm() {
  CAudioSignalSource* source = CurrentSource();
  return source ? source->GetBpm() : 0.0f;
}

int CZQMixerChannel::GetPosition() {
  CAudioSignalSource* source = CurrentSource();
  return source ? source->GetPosition() : 0;
}

int CZQMixerChannel::GetLength() {
  CAudioSignalSource* source = CurrentSource();
  return source ? source->GetLength() : -1;
}

void CZQMixerChannel::PrepareBlock(int phase) noexcept {
  if (CAudioSignalSource* source = current_.load(std::memory_order_relaxed)) {
    source->PrepareBlock(phase);
  }
}
