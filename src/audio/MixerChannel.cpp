#include "audio/MixerChannel.h"

#include <algorithm>
#include <cmath>
#include <vector>
#include <cstring>

#include "effects/Effect.h"
#include "effects/EqualizerIIR.h"

namespace {

std::vector<CZQMixerChannel*> g_effectChannels;

}  // namespace

int EffectChannelCount() { return static_cast<int>(g_effectChannels.size()); }

CZQMixerChannel* EffectChannel(int index) {
  return index >= 0 && index < EffectChannelCount() ? g_effectChannels[static_cast<size_t>(index)] : nullptr;
}

CZQMixerChannel::CZQMixerChannel(CAudioSignalSource* source, int ownerPanel, bool noBuiltInEffects)
    : current_(source), ownerPanel_(ownerPanel), noBuiltInEffects_(noBuiltInEffects) {
  cutoff_.SetCutoff(-1.0f, 1);
  if (!noBuiltInEffects_) {
    for (int place = 0; place < kEffectPlaces; ++place) {
      places_[place] = CreateBuiltInEffect(place);
      // Everything but the equaliser starts dry, so it is silent and stopped until asked for.
      if (places_[place] && place != kEqualizerPlace) places_[place]->SetDryWet(0.0f);
    }
    if (CEffect* eq = Place(kEqualizerPlace)) eq->Start();
    for (auto& effect : places_) {
      if (effect) effect->tempoSource.store(this, std::memory_order_relaxed);
    }
  }
  chain_.SetTempoSource(this);
  Register();
}

CZQMixerChannel::~CZQMixerChannel() { Unregister(); }

void CZQMixerChannel::Register() { g_effectChannels.push_back(this); }

void CZQMixerChannel::Unregister() {
  g_effectChannels.erase(std::remove(g_effectChannels.begin(), g_effectChannels.end(), this), g_effectChannels.end());
}

void CZQMixerChannel::SetSource(CAudioSignalSource* source) {
  pending_.store(source, std::memory_order_relaxed);
  hasPending_.store(true, std::memory_order_release);
}

void CZQMixerChannel::GetSamples(float* out, int frames) noexcept {
  if (hasPending_.exchange(false, std::memory_order_acquire)) {
    current_.store(pending_.load(std::memory_order_relaxed), std::memory_order_release);
  }
  CAudioSignalSource* source = current_.load(std::memory_order_relaxed);
  float bpm = 0.0f;
  if (source) {
    source->GetSamples(out, frames);
    bpm = source->GetBpm();
  } else if (!noBuiltInEffects_) {
    // A channel with no source is silent; the master channel runs on the bus it was given.
    std::memset(out, 0, sizeof(float) * 2 * static_cast<size_t>(frames));
  }
  // The only denormal guard ahead of the effects.
  for (int i = 0; i < 2 * frames; ++i) out[i] += 1e-25f;
  ProcessBlock(out, frames, bpm);
}

void CZQMixerChannel::ProcessBlock(float* stereo, int frames, float bpm) noexcept {
  for (int place = 0; place < kEffectPlaces; ++place) {
    CEffect* effect = places_[place].get();
    if (!effect) continue;
    // The equaliser has no dry/wet stage: it always runs.
    if (place == kEqualizerPlace) {
      effect->ProcessCore(stereo, frames, bpm);
    } else {
      effect->Process(stereo, frames, bpm);
    }
  }
  cutoff_.ProcessStereo(stereo, frames);
  chain_.Process(stereo, frames, bpm);
}

CEffect* CZQMixerChannel::Place(int place) const {
  return place >= 0 && place < kEffectPlaces ? places_[place].get() : nullptr;
}

void CZQMixerChannel::SetPlace(int place, std::unique_ptr<CEffect> effect) {
  if (place < 0 || place >= kEffectPlaces) return;
  if (effect) effect->tempoSource.store(this, std::memory_order_relaxed);
  places_[place] = std::move(effect);
}

int CZQMixerChannel::SetEffectState(int place, int on, int useDryWet) {
  CEffect* effect = Place(place);
  if (!effect) return 0;
  if (useDryWet) {
    effect->SetDryWet(on ? 1.0f : 0.0f);
  } else if (on) {
    effect->Start();
  } else {
    effect->Stop();
  }
  return 1;
}

CEffectEqualizerIIR* CZQMixerChannel::Equalizer() const {
  return dynamic_cast<CEffectEqualizerIIR*>(Place(kEqualizerPlace));
}

void CZQMixerChannel::SendBand(int band) {
  CEffectEqualizerIIR* eq = Equalizer();
  if (!eq) return;
  float dB = killed_[band - 1] ? kKillDb : bandDb_[band - 1];
  eq->SetParam(band, static_cast<int>(std::lround(dB)));
}

void CZQMixerChannel::SetBandLevel(int band, float dB) {
  if (band < 1 || band > kBands) return;
  bandDb_[band - 1] = dB;
  if (!killed_[band - 1]) SendBand(band);
}

void CZQMixerChannel::SetBandKill(int band, int on) {
  if (band < 1 || band > kBands) return;
  killed_[band - 1] = on != 0;
  SendBand(band);
}

float CZQMixerChannel::GetBandLevel(int band) const {
  if (band < 1 || band > kBands) return 0.0f;
  return killed_[band - 1] ? -90.0f : bandDb_[band - 1];
}

void CZQMixerChannel::SetCutoff(float hz, int lowPass) { cutoff_.SetCutoff(hz, lowPass); }

void CZQMixerChannel::SetCutoffKnob(int knob) {
  cutoffKnob_ = knob < -99 ? -99 : knob > 99 ? 99 : knob;
  int lowPass = 1;
  float hz = CutoffKnobHz(cutoffKnob_, &lowPass);
  cutoff_.SetCutoff(hz, lowPass);
}

float CZQMixerChannel::GetBpm() {
  CAudioSignalSource* source = CurrentSource();
  return source ? source->GetBpm() : 0.0f;
}

int CZQMixerChannel::GetPosition() {
  CAudioSignalSource* source = CurrentSource();
  return source ? source->GetPosition() : 0;
}

int CZQMixerChannel::GetLength() {
  CAudioSignalSource* source = CurrentSource();
  return source ? source->GetLength() : -1;
}

void CZQMixerChannel::PrepareBlock(int phase) noexcept {
  if (CAudioSignalSource* source = current_.load(std::memory_order_relaxed)) {
    source->PrepareBlock(phase);
  }
}
