#pragma once
// CEffectChain: a channel's user chain, run in list order after the fixed places and the filter.
//
// The main thread edits the chain and publishes each new order as an immutable snapshot through
// one atomic pointer; the audio thread walks whichever snapshot it found at the start of the
// block and never waits for the editor. A hazard pointer tells the main thread which snapshot
// the audio thread may still be reading: snapshots (and effects removed with them) that it
// cannot reach any more are freed on the main thread, at the next edit or CollectRetired.
//
// Threads: Process on the audio thread (real-time safe). Everything else on the main thread.

#include <atomic>
#include <memory>
#include <vector>

#include "app/base/Realtime.h"

class CEffect;
class CTempoSource;

class CEffectChain {
 public:
  static constexpr int kMaxEffects = 32;

  CEffectChain();
  ~CEffectChain();  // the audio thread must be done with the channel
  CEffectChain(const CEffectChain&) = delete;
  CEffectChain& operator=(const CEffectChain&) = delete;

  // Appends at the end; false (and the effect deleted) when the chain is full.
  bool Append(std::unique_ptr<CEffect> effect);
  // Removes and (once the audio thread has let go) deletes an effect; false when not held.
  bool Remove(CEffect* effect);
  // Replaces the whole chain in one swap (loading a chain file).
  void ReplaceAll(std::vector<std::unique_ptr<CEffect>> effects);
  void Clear() { ReplaceAll({}); }
  int Count() const { return static_cast<int>(owned_.size()); }
  CEffect* At(int index) const;
  // The tempo the chain's beat-locked effects follow; given to every effect appended from now
  // on that has none (the channel sets it at construction).
  void SetTempoSource(CTempoSource* source) { tempoSource_ = source; }
  // Frees what the audio thread can no longer reach. Returns how many snapshots remain retired.
  int CollectRetired();

  LUMO_RT void Process(float* block, int frames, float bpm) noexcept;

 private:
  struct Snapshot {
    int count = 0;
    CEffect* effects[kMaxEffects] = {};
  };
  struct Retired {
    std::unique_ptr<Snapshot> snapshot;
    std::vector<std::unique_ptr<CEffect>> effects;
  };

  void Publish(std::vector<std::unique_ptr<CEffect>> removed);

  std::atomic<Snapshot*> live_;
  std::atomic<Snapshot*> hazard_{nullptr};
  std::vector<std::unique_ptr<CEffect>> owned_;  // the main thread's view, in order
  std::vector<Retired> retired_;
  CTempoSource* tempoSource_ = nullptr;
};
