#pragma once
// ZQCutoffFilter: the channel's cut-off knob (ProcessStereo: two RBJ biquads per channel) and
// the analysis band filter (ProcessAnalysis: a six-pole Chebyshev type I of 0.5 % ripple as
// three cascaded sections, with a fixed make-up gain of 0.1666667).
//
// Threads: SetCutoff may come from any thread; `dirty` is the hand-over and is cleared by the
// processing thread after the redesign, so a coefficient tear lasts at most one block.
// ProcessStereo is real-time safe; ProcessAnalysis runs on analysis threads and allocates nothing.

#include <atomic>

#include "app/base/Realtime.h"
#include "effects/Biquad.h"

class ZQCutoffFilter {
 public:
  static constexpr int kMaxAnalysisBlock = 8820;
  static constexpr int kStages = 3;

  // hz -1.0 bypasses.
  void SetCutoff(float hz, int lowPass);
  // Forgets the signal history (a new track); the cut-off stays.
  void ClearHistory();
  LUMO_RT void ProcessStereo(float* block, int frames) noexcept;
  // Mono, in place; count at most kMaxAnalysisBlock (longer blocks are cut to it).
  void ProcessAnalysis(float* mono, int count) noexcept;

  float cutoff = 19000.0f;
  int isLowPass = 1;
  // Stage coefficients: y = c0 x + c1 x[-1] + c2 x[-2] + c3 y[-1] + c4 y[-2].
  float coefficients[kStages][5] = {};

 private:
  void DesignStages();

  std::atomic<int> dirty{1};
  float inputHistory[kStages][2] = {};   // x[-1], x[-2] of each stage
  float outputHistory[kStages][2] = {};  // y[-1], y[-2]: the end of the previous call's work
  float work[kStages][kMaxAnalysisBlock + 1] = {};
  ZQBiquad biquads[4];
};
