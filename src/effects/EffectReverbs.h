#pragma once
// CEffectReverbs: a recirculating multi-tap delay with a one-pole low-pass in its loop, on two
// lines of two seconds. "fxReverb" (subtype 0) uses three short taps whose spacing param1 sets
// and whose loop gain param2 sets; "fxEcho" (subtype 1) one tap of half a beat, a beat or two
// beats (param1), locked to the deck's tempo, with param2 as the feedback. Each channel's
// output and what goes back into the line are clipped to -1..1: the only built-in that clips.
//
// Threads: SetParam from any thread stores the knob and asks the audio thread to re-configure
// at its next block (which clears the left line, as a knob turn always has). A deck whose
// tempo changes moves the echo tap at the next block, without clearing anything.

#include <atomic>
#include <memory>

#include "effects/Effect.h"

class CEffectReverbs : public CBuiltInEffect {
 public:
  static constexpr int kLineLength = 88200;
  static constexpr int kMaxDelayMs = 2000;
  static constexpr int kMaxTaps = 10;

  explicit CEffectReverbs(int subType = 0);
  // 0 subtype (0 reverb, 1 echo); 1 param1, 2 param2, each 0..1000.
  void SetParam(int id, int value) override;
  int GetParam(int id) override;
  int GetParamCount() override { return 3; }
  LUMO_RT void ProcessCore(float* block, int frames, float bpm) noexcept override;
  LUMO_RT void Reset() noexcept override;

  struct Tap {
    int delayMs;
    int gainPercent;
  };
  // Sets the mix in percent and the taps; false (nothing changed) for a tap count outside
  // 0..kMaxTaps. Audio thread, or before the effect is mixed.
  LUMO_RT bool Configure(int directPercent, int crossPercent, int tapOutPercent, int loopGainPercent, int tapCount,
                         const Tap* taps) noexcept;

 private:
  LUMO_RT void ApplyPending(float bpm) noexcept;
  LUMO_RT void ConfigureSubType(int subType, float tempo) noexcept;
  LUMO_RT static int EchoDelayMs(double a, float tempo) noexcept;
  // Runs frames over which no line position wraps.
  LUMO_RT void RunFrames(float* block, int frames) noexcept;

  std::atomic<int> subType_;
  std::atomic<int> param1_{500}, param2_{500};
  std::atomic<bool> pending_{false};
  // Audio thread.
  std::unique_ptr<float[]> lineLeft_, lineRight_;
  int runningSubType_ = 0;
  int tapCount_ = 0;
  int tapPos_[kMaxTaps] = {};
  int tapDelay_[kMaxTaps] = {};
  float tapGain_[kMaxTaps] = {};
  float direct_ = 1.0f, cross_ = 0.5f, tapOut_ = 0.5f, loopGain_ = 0.0f;
  float lowLeft_ = 0, lowRight_ = 0;
  int writePos_ = 0;
  float echoTempo_ = 0;  // the tempo the echo tap was placed for
};
