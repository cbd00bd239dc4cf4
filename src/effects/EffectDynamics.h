#pragma once
// CEffectDynamics: one gain computer with three presets: 0 slow level control, 1 compressor,
// 2 look-ahead limiter (the master limiter runs preset 2). The block is worked in segments of
// kControlFrames: input gain, a level for the segment (the smoothed level's mean inside it for
// level control, its loudest value for the compressor, or with look-ahead the exact peak of
// this segment and the next, which covers every frame's next twelve), a target gain from that
// level in dB, and an exponential ramp that reaches the target in the attack or release time,
// stepped once a segment; the gain moves in a straight line between segment ends. Fast attacks
// snap to the target in a segment where the left channel crosses zero. Level control returns to
// unity only after 176 401 frames below its threshold (counted a segment at a time, so up to
// one segment late, never early).
//
// Because both ends of a segment's line are at or under the gain its frames need, a peak the
// look-ahead has seen a segment ahead is never let over the ceiling, however short it is.
// Nothing looks past the block's end: a peak in a block's first segment is met by the ramp.
//
// The level in dB comes from a cheap bit-level logarithm (see FastLevelDb): thresholds act on
// that approximation.
//
// Threads: SetParam from any thread; each field is its own atomic, read once a block, so a
// preset change landing mid-block may mix two presets for that block. ProcessCore and Reset on
// the audio thread.

#include <atomic>

#include "effects/Effect.h"

class CEffectDynamics : public CBuiltInEffect {
 public:
  static constexpr int kLookAheadFrames = 12;
  static constexpr int kControlFrames = 16;  // the gain computer runs once per this many frames
  static constexpr int kAgcReturnFrames = 176401;  // four seconds, plus one

  CEffectDynamics();
  // 0 preset 0..2; 1 attack ms; 2 release ms; 3 input gain dB; 4 threshold dB; 5 ratio;
  // 6 level-control target dB; 7 hold (kept, not used). Values other than the preset are plain
  // integers in their unit and may be negative. GetParam rounds; setting what it reports
  // changes nothing, so a restored chain keeps a preset's fractional values.
  void SetParam(int id, int value) override;
  int GetParam(int id) override;
  int GetParamCount() override { return 8; }
  LUMO_RT void ProcessCore(float* block, int frames, float bpm) noexcept override;
  LUMO_RT void Reset() noexcept override;

  // The gain the ramp stands at (without make-up); audio thread, or after it has stopped.
  double CurrentGain() const { return currentGain_; }
  float Makeup() const { return makeup_.load(std::memory_order_relaxed); }

  // 20*log10 through the bit-level approximation; -318.7 for levels that are not above 0.
  static float FastLevelDb(float level) noexcept;

 private:
  struct Settings {
    float inputGain, thresholdDb, ratio, attackMs, releaseMs, makeup, agcTargetDb;
    int agcMode, lookAhead;
    // Worked out once a block: the level-control target as a gain, 1 / each ramp's frames.
    double agcAim = 1.0, attackPerFrame = 1.0, releasePerFrame = 1.0;
  };
  void SelectPreset(int preset);
  void RecalculateMakeup();
  Settings LoadSettings() const noexcept;
  LUMO_RT float SmoothedLevel(const float* segment, int frames, bool loudest) noexcept;
  LUMO_RT bool CrossesZero(const float* segment, int frames) const noexcept;
  LUMO_RT void UpdateTarget(const Settings& s, float level, int frames) noexcept;
  LUMO_RT void StepRamp(const Settings& s, int frames, bool crossing) noexcept;

  std::atomic<int> preset_{0};
  std::atomic<float> inputGainDb_{0}, inputGain_{1}, thresholdDb_{0}, ratio_{1}, attackMs_{1}, releaseMs_{1};
  std::atomic<float> makeup_{1}, agcTargetDb_{0}, holdTarget_{0};
  std::atomic<int> agcMode_{1}, lookAhead_{0};
  // Audio thread.
  float level_ = 0, levelDb_ = 0, previousLeft_ = 0;  // level_: the smoothed level, frame by frame
  double targetGain_ = 1, settingGain_ = 1, currentGain_ = 1, rampFactor_ = 1;
  int belowCounter_ = 0;
};
