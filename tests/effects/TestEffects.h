#pragma once
// Small effects with known behaviour for the effect base, chain and channel tests.

#include <atomic>

#include "effects/Effect.h"

// Doubles the signal and adds what it remembers: the last sample it saw, so a reset shows as
// an output with no trace of earlier blocks. Counts starts and resets.
class DoublingEffect : public CBuiltInEffect {
 public:
  void ProcessCore(float* block, int frames, float) noexcept override {
    for (int i = 0; i < 2 * frames; ++i) {
      float in = block[i];
      block[i] = 2.0f * in + memory;
      memory = in * 0.5f;
    }
  }
  void Reset() noexcept override {
    memory = 0.0f;
    resets.fetch_add(1);
  }
  void Start() noexcept override {
    starts.fetch_add(1);
    CBuiltInEffect::Start();
  }
  float memory = 0.0f;
  std::atomic<int> starts{0}, resets{0};
};
