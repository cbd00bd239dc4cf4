#pragma once
// CEffectAmplitudes: a level modulator locked to the channel's tempo. Beatwaw (mode 0) dips both
// channels together r times a beat; AutoPan (mode 1) moves the sound from side to side once every
// r beats, the left channel getting c and the right 1 - c, so L + R always equals the input.
// The speed knob picks r from 1, 2, 4, 8, 16. A change of tempo or speed folds the phase reached
// so far into `phase`, so the modulation never jumps; a block's tempo of 0 runs at 120.
//
// Threads: SetParam from any thread (atomics, read once a block); ProcessCore and Reset on the
// audio thread.

#include <atomic>

#include "effects/Effect.h"

class CEffectAmplitudes : public CBuiltInEffect {
 public:
  CEffectAmplitudes();
  // 0: mode, 0 Beatwaw or 1 AutoPan (other values ignored); 1: speed 0..1000.
  void SetParam(int id, int value) override;
  int GetParam(int id) override;
  int GetParamCount() override { return 2; }
  LUMO_RT void ProcessCore(float* block, int frames, float bpm) noexcept override;
  LUMO_RT void Reset() noexcept override;

  // Beats of one full modulation cycle's rate: the r above (Beatwaw) or 1/r (AutoPan).
  static double CyclesPerBeat(int mode, int speed);

 private:
  std::atomic<int> panMode_{0};
  std::atomic<int> speedParam_{500};
  // Audio thread.
  long long sampleCounter_ = -1;  // samples since the last tempo change
  double phase_ = 0.0;            // radians reached at the last tempo change
  float lastBpm_ = 0.0f;
  double lastRate_ = 1.0;
};
