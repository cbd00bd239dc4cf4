#pragma once
// CEffectPhaser: "fxPhaser" to the user, a one-channel delay to the ear. The right channel is
// delayed by 10 to 100 ms (param 0..1000) and the left passes untouched, which pulls the image
// towards the left. After a knob change the delayed channel plays dry until the line has filled
// once, then the delay sets in (abruptly: there is no fade).
//
// Threads: SetParam from any thread stores the knob; the audio thread re-positions the line at
// its next block. Reset keeps the line (a knob change refills it) but drops anything in it that
// is not a finite number.

#include <atomic>
#include <memory>

#include "effects/Effect.h"

class CEffectPhaser : public CBuiltInEffect {
 public:
  static constexpr int kLineLength = 22050;
  static constexpr int kMaxDelayMs = 500;

  CEffectPhaser();
  // 0: delay knob 0..1000 (10..100 ms).
  void SetParam(int id, int value) override;
  int GetParam(int id) override;
  int GetParamCount() override { return 1; }
  LUMO_RT void ProcessCore(float* block, int frames, float bpm) noexcept override;
  LUMO_RT void Reset() noexcept override;

  static int DelayMsForParam(int param) { return param * 90 / 1000 + 10; }

 private:
  LUMO_RT void ApplyPending() noexcept;

  std::atomic<int> param_{167};
  std::atomic<bool> pending_{true};
  // Audio thread.
  std::unique_ptr<float[]> line_;
  int channel_ = 1;  // the delayed channel: right
  int delayMs_ = 25;
  int readPos_ = 0, writePos_ = -1;
  int filling_ = 1;
};
