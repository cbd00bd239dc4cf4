// The slider side of CZQMixer: positions through the fader and crossfader laws, dials in dB,
// and the meters read back in dB. Everything here runs on the main thread.

#include <algorithm>

#include "audio/FastMath.h"
#include "audio/FaderLaw.h"
#include "audio/Mixer.h"

float CZQMixer::DbToGainLinear(float dB) { return DbToGain(dB); }

void CZQMixer::SetChannelVolume(int slot, int position) {
  if (slot < 0 || slot >= kMaxSources) return;
  position = std::clamp(position, 0, volumeSteps_ - 1);
  slots_[slot].volumePosition = position;
  SetChannelVolumeGain(slot, FaderLawGain(position, volumeSteps_));
}

int CZQMixer::ChannelVolumePosition(int slot) const {
  return slot >= 0 && slot < kMaxSources ? slots_[slot].volumePosition : 0;
}

void CZQMixer::SetChannelMonitor(int slot, int position) {
  if (slot < 0 || slot >= kMaxSources) return;
  position = std::clamp(position, 0, volumeSteps_ - 1);
  slots_[slot].monitorPosition = position;
  SetChannelMonitorLevel(slot, FaderLawGain(position, volumeSteps_));
}

void CZQMixer::SetChannelTrim(int slot, float dB) {
  if (slot < 0 || slot >= kMaxSources) return;
  slots_[slot].trimDb = dB;
  SetChannelTrimGain(slot, DbToGain(dB));
}

void CZQMixer::SetCrossfader(int position) {
  crossfaderPosition_ = std::clamp(position, 0, crossfaderSteps_ - 1);
  ApplyCrossfaderGains();
}

void CZQMixer::SetCrossfaderCurve(int curve) {
  crossfaderCurve_ = std::clamp(curve, -1, crossfaderSteps_ - 3);
  crossfaderBase_ = CrossfaderBase(crossfaderCurve_, crossfaderSteps_);
  ApplyCrossfaderGains();
  ApplyCueMix();
}

void CZQMixer::SetCueMix(int position) {
  cueMixPosition_ = std::clamp(position, 0, crossfaderSteps_ - 1);
  ApplyCueMix();
}

// Sources with no side (samplers, the preview) keep whatever crossfader gain they have: 1.
void CZQMixer::ApplyCrossfaderGains() {
  crossfaderApplied_ = true;
  for (int slot = 0; slot < kMaxSources; ++slot) {
    int side = slots_[slot].side.load(std::memory_order_relaxed);
    if (side < 0) continue;
    SetCrossfaderGain(slot, CrossfaderSideGain(crossfaderPosition_, crossfaderSteps_, crossfaderCurve_,
                                               crossfaderBase_, side));
  }
}

// The cue knob is a crossfader between the cued sources (its left) and the master (its right).
void CZQMixer::ApplyCueMix() {
  auto side = [&](int s) {
    return CrossfaderSideGain(cueMixPosition_, crossfaderSteps_, crossfaderCurve_, crossfaderBase_, s);
  };
  SetCueGains(side(0), side(1));
}

void CZQMixer::MeterDb(LevelMeter& meter, float offsetDb, float* left, float* right) {
  MeanSquares level = meter.ReadAndReset();
  // A mean square in dB is half the amplitude's figure; a meter nobody fed reads -318.7.
  auto db = [&](double meanSquare) {
    return meanSquare > 0.0 ? FastDb(static_cast<float>(meanSquare)) * 0.5f + offsetDb : -318.7f;
  };
  if (left) *left = db(level.left);
  if (right) *right = db(level.right);
}

void CZQMixer::ReadSourceLevelDb(int slot, float* left, float* right) {
  if (slot < 0 || slot >= count_) {
    if (left) *left = -320.0f;
    if (right) *right = -320.0f;
    return;
  }
  MeterDb(slots_[slot].meter, slots_[slot].trimDb, left, right);
}
