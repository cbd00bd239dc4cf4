#pragma once
// ZQCutoffFilter: the channel's cut-off knob (ProcessStereo: two RBJ biquads per channel) and
// the analysis band filter (ProcessAnalysis: a six-pole Chebyshev type I of 0.5 % ripple as
// three cascaded sections, with a fixed make-up gain of 0.1666667).
//
// The knob glides: a new cut-off is approached geometrically, redesigning every 32 frames, and
// switching the filter on, off or between low-pass and high-pass runs through the open end of
// the travel (20 kHz for low-pass, 20 Hz for high-pass), so a fast twist never clicks.
//
// Threads: SetCutoff may come from any thread; `dirty` is the hand-over and is cleared by the
// processing thread after the redesign, so a coefficient tear lasts at most one block.
// ProcessStereo is real-time safe; ProcessAnalysis runs on analysis threads and allocates nothing.

#include <atomic>
#include <string>

#include "app/base/Realtime.h"
#include "effects/Biquad.h"

// The channel's knob, -99..99 with a centre detent: below 0 low-pass at 1.106^(v+99) Hz, above 0
// high-pass at 1.106^(v+34) Hz, kept within 20 Hz..20 kHz; 0 is off (-1). lowPass gets the mode.
float CutoffKnobHz(int knob, int* lowPass);
// "%d Hz", "%d.%d KHz" from 1000 Hz up, or "OFF".
std::string CutoffKnobLabel(int knob);

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

  // The setting the next block works to (hz -1: bypass); one value, so the two never tear.
  // Eight-byte aligned so the atomic is one lock-free word with every compiler.
  struct alignas(8) Setting {
    float hz;
    int lowPass;
  };
  static_assert(std::atomic<Setting>::is_always_lock_free);
  Setting CurrentSetting() const { return setting_.load(std::memory_order_relaxed); }
  // Stage coefficients: y = c0 x + c1 x[-1] + c2 x[-2] + c3 y[-1] + c4 y[-2].
  float coefficients[kStages][5] = {};

 private:
  void DesignStages(Setting setting);
  LUMO_RT void GlideOneChunk() noexcept;
  LUMO_RT void DesignKnob(float hz) noexcept;

  std::atomic<Setting> setting_{Setting{19000.0f, 1}};
  std::atomic<int> dirty{1};
  float inputHistory[kStages][2] = {};   // x[-1], x[-2] of each stage
  float outputHistory[kStages][2] = {};  // y[-1], y[-2]: the end of the previous call's work
  float work[kStages][kMaxAnalysisBlock + 1] = {};
  ZQBiquad biquads[4];
  // The knob's glide, audio thread only. Modes: 0 off, 1 low-pass, 2 high-pass.
  int targetMode_ = 0;
  float targetHz_ = -1.0f;
  int glideMode_ = 0;
  float glideHz_ = -1.0f;
};
