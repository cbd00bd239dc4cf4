#pragma once
// CMasterLimiter: the look-ahead limiter on the master bus, behind the `limiter` switch. It runs
// a CEffectDynamics on its limiter preset; switching it on starts that from unity gain, so it
// never picks up where an old run left off. Off, the bus passes untouched.
//
// Threads: SetOn and IsOn from any thread (one atomic); ProcessMasterBus on the audio thread.

#include <atomic>

#include "audio/MasterBus.h"
#include "effects/EffectDynamics.h"

class CMasterLimiter : public CMasterBusProcessor {
 public:
  static constexpr int kLimiterPreset = 2;

  CMasterLimiter();
  void SetOn(bool on) { on_.store(on, std::memory_order_relaxed); }
  bool IsOn() const { return on_.load(std::memory_order_relaxed); }
  CEffectDynamics& Dynamics() { return dynamics_; }

  LUMO_RT void ProcessMasterBus(float* stereo, int frames) noexcept override;

 private:
  CEffectDynamics dynamics_;
  std::atomic<bool> on_{false};
  bool running_ = false;  // audio thread: was on at the last block
};
