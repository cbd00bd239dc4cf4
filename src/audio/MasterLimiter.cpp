#include "audio/MasterLimiter.h"

CMasterLimiter::CMasterLimiter() {
  dynamics_.SetParam(0, kLimiterPreset);
  dynamics_.Stop();
}

void CMasterLimiter::ProcessMasterBus(float* stereo, int frames) noexcept {
  const bool on = IsOn();
  if (on != running_) {
    running_ = on;
    if (on) {
      dynamics_.Start();  // from unity gain
    } else {
      dynamics_.Stop();
    }
  }
  if (on) dynamics_.ProcessCore(stereo, frames, 0.0f);
}
