#pragma once
// CZQMixerChannel: what happens to a source between its GetSamples and the mixer's buses.
// It pulls its source and runs the channel's processing in place. The effect places, the
// three-band equaliser, the cut-off filter and the user chain hang off ProcessBlock; until
// they exist a channel passes its source through with only the denormal floor added.
//
// SetSource may be called from the main thread at any time: the new source waits in a pending
// slot that GetSamples takes at the start of a block, so a source never changes inside one.

#include <atomic>

#include "audio/AudioSignalSource.h"

class CZQMixerChannel : public CAudioSignalSource {
 public:
  // noBuiltInEffects: the master channel carries only the user chain.
  CZQMixerChannel(CAudioSignalSource* source, int ownerPanel, bool noBuiltInEffects);

  LUMO_RT void GetSamples(float* out, int frames) noexcept override;
  float GetBpm() override;
  int GetPosition() override;
  int GetLength() override;
  LUMO_RT void PrepareBlock(int phase) noexcept override;
  void SetSource(CAudioSignalSource* source);

  CAudioSignalSource* CurrentSource() const { return current_.load(std::memory_order_acquire); }
  int OwnerPanel() const { return ownerPanel_; }
  bool NoBuiltInEffects() const { return noBuiltInEffects_; }

 protected:
  // The channel's processing of one block, in place, after the source (or, for the master
  // channel, on the master bus itself). The effects subsystem overrides this.
  LUMO_RT virtual void ProcessBlock(float* stereo, int frames, float bpm) noexcept;

 private:
  std::atomic<CAudioSignalSource*> pending_{nullptr};
  std::atomic<CAudioSignalSource*> current_{nullptr};
  std::atomic<bool> hasPending_{false};
  int ownerPanel_;
  bool noBuiltInEffects_;
};
