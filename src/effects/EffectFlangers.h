#pragma once
// CEffectFlangers: one swept delay line with six subtypes. 0, 1 ("fxFlanger") and 2 are
// flangers whose sweep is locked to the beat (param1 picks how many beats one sweep up and down
// lasts, param2 the feedback); 3 is a fast shallow chorus; 4 ("fxDelay") a slow deep sweep
// whose speed param1 sets; 5 a wide fixed-speed sweep. The read tap moves between sweepLow and
// sweepHigh samples behind the write position and is interpolated between two neighbours. The
// dry path carries the feedback.
//
// Selecting a subtype clears the left line only: the right line keeps its content, so the
// first sweep after a change is lopsided for a moment. Reset does the same, and in addition
// drops anything that is not a finite number from the right line.
//
// Threads: SetParam from any thread stores the knob and asks the audio thread to re-configure
// at its next block; the lines are allocated here and never again.

#include <atomic>
#include <memory>

#include "effects/Effect.h"

class CEffectFlangers : public CBuiltInEffect {
 public:
  static constexpr int kLineLength = 11025;
  static constexpr int kMaxDelayMs = 250;
  static constexpr int kSubTypes = 6;

  explicit CEffectFlangers(int subType = 1);
  // 0 subtype 0..5; 1 param1 0..1000; 2 param2 0..1000.
  void SetParam(int id, int value) override;
  int GetParam(int id) override;
  int GetParamCount() override { return 3; }
  LUMO_RT void ProcessCore(float* block, int frames, float bpm) noexcept override;
  LUMO_RT void Reset() noexcept override;

  // What the audio thread runs on, for displays and tests (audio thread, or while it is idle).
  int SweepLow() const { return sweepLow_; }
  int SweepHigh() const { return sweepHigh_; }
  double SweepStep() const { return sweepStep_; }
  double Sweep() const { return sweep_; }

 private:
  enum Pending { kNothing = 0, kStep = 1, kConfigure = 2 };
  LUMO_RT void ApplyPending(float bpm) noexcept;
  LUMO_RT void Configure(int subType) noexcept;
  LUMO_RT void SetSweepStep(int subType, float tempo) noexcept;

  std::atomic<int> subType_;
  std::atomic<int> param1_{1000}, param2_{500};
  std::atomic<int> pending_{kNothing};
  // Audio thread.
  std::unique_ptr<float[]> lineLeft_, lineRight_;
  int runningSubType_ = 1;
  int delayMs_ = 0;
  float feedback_ = 0, dry_ = 0, wet_ = 0;
  int writePos_ = 0, readPos_ = 0, readPosPrev_ = 0;
  int sweepLow_ = 0, sweepHigh_ = 0;
  double sweep_ = 0, sweepStep_ = 0;
  float stepTempo_ = 0;  // the tempo the beat-locked step was worked out for
};
