#pragma once
// CZQMixerChannel: what happens to a source between its GetSamples and the mixer's buses. One
// block: take a pending source, pull the source, add the denormal floor, run the twenty fixed
// effect places in order (the equaliser in place 11 without a dry/wet stage), the cut-off knob,
// then the user chain.
//
// SetSource may be called from the main thread at any time: the new source waits in a pending
// slot that GetSamples takes at the start of a block, so a source never changes inside one.
// The band, kill and knob setters are main-thread calls that reach the audio through atomics
// and glide there. The places are filled at construction and never change while audio runs.

#include <atomic>
#include <memory>

#include "audio/AudioSignalSource.h"
#include "effects/BuiltInEffects.h"
#include "effects/CutoffFilter.h"
#include "effects/Effect.h"
#include "effects/EffectChain.h"


class CEffectEqualizerIIR;

// The channel is also the tempo its beat-locked effects follow: its source's BPM.
class CZQMixerChannel : public CAudioSignalSource, public CTempoSource {
 public:
  static constexpr int kBands = 3;
  static constexpr float kKillDb = -40.0f;

  // noBuiltInEffects: the master channel carries only the filter and the user chain.
  CZQMixerChannel(CAudioSignalSource* source, int ownerPanel, bool noBuiltInEffects);
  ~CZQMixerChannel() override;

  LUMO_RT void GetSamples(float* out, int frames) noexcept override;
  float GetBpm() override;
  int GetPosition() override;
  int GetLength() override;
  LUMO_RT void PrepareBlock(int phase) noexcept override;
  void SetSource(CAudioSignalSource* source);

  CAudioSignalSource* CurrentSource() const { return current_.load(std::memory_order_acquire); }
  int OwnerPanel() const { return ownerPanel_; }
  bool NoBuiltInEffects() const { return noBuiltInEffects_; }

  // Fixed places, 0..19; null when empty or out of range.
  CEffect* Place(int place) const;
  // Set-up only, before the channel is mixed: puts an effect in a place (null empties it).
  void SetPlace(int place, std::unique_ptr<CEffect> effect);
  // With useDryWet the effect is switched by its mix (1.0 or 0.0) and Process starts or stops
  // it; otherwise Start or Stop directly. 0 when the place is empty.
  int SetEffectState(int place, int on, int useDryWet);
  CEffectChain& Chain() { return chain_; }

  // Three-band equaliser, band 1 low, 2 mid, 3 high, in dB. A killed band gets -40 dB and
  // reads -90 until released, when its stored level returns.
  void SetBandLevel(int band, float dB);
  void SetBandKill(int band, int on);
  float GetBandLevel(int band) const;
  // Cut-off filter: hz -1 switches it off. SetCutoffKnob takes the knob's -99..99.
  void SetCutoff(float hz, int lowPass);
  void SetCutoffKnob(int knob);
  int CutoffKnob() const { return cutoffKnob_; }

 private:
  LUMO_RT void ProcessBlock(float* stereo, int frames, float bpm) noexcept;
  void Register();
  void Unregister();
  CEffectEqualizerIIR* Equalizer() const;
  void SendBand(int band);

  std::unique_ptr<CEffect> places_[kEffectPlaces];
  CEffectChain chain_;
  std::atomic<CAudioSignalSource*> pending_{nullptr};
  std::atomic<CAudioSignalSource*> current_{nullptr};
  std::atomic<bool> hasPending_{false};
  ZQCutoffFilter cutoff_;
  int cutoffKnob_ = 0;
  int killed_[kBands] = {};
  float bandDb_[kBands] = {};
  int ownerPanel_;
  bool noBuiltInEffects_;
};

// The effect registry: every channel, in the order they were created, from its constructor to its
// destructor, so start-up and close can load and save each channel's chain. Main thread only.
int EffectChannelCount();
CZQMixerChannel* EffectChannel(int index);
