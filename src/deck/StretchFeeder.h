#pragma once
// The Rubber Band key lock of one deck. A feeder thread ("deck stretch", 110 ms or when woken)
// runs the track through a real-time RubberBandStretcher ahead of the play head and stores the
// result in one of two slots: a ring of 16 seconds of stereo float that maps a span of song
// frames. The audio thread only copies out of the active slot.
//
// A change of speed or key is built into the other slot from scratch, and the slot index is
// switched last; the reader crossfades the first 88 frames after a switch. Within the active
// slot the feeder only appends, half a second at a time, far ahead of the reader, and the
// slot's span is published under a sequence count so the reader never sees half an update.
//
// The stretcher is created, reset and fed on the feeder thread only; nothing here allocates on
// the audio thread. Slots are allocated the first time the feeder has work.

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "app/base/Realtime.h"

namespace RubberBand {
class RubberBandStretcher;
}
class CSoundSource;
class CPeriodicThread;

class CStretchFeeder {
 public:
  static constexpr int kRingFrames = 705600;  // 16 s
  static constexpr int kChunkFrames = 22050;  // what one fill adds
  static constexpr int kPeriodMs = 110;
  static constexpr int kSwapFadeFrames = 88;

  explicit CStretchFeeder(CSoundSource& deck);
  ~CStretchFeeder();  // stops the thread
  CStretchFeeder(const CStretchFeeder&) = delete;
  CStretchFeeder& operator=(const CStretchFeeder&) = delete;

  // --- feeder thread (or a test's step) ---
  void Pass();
  // --- loader thread: a new track. Empties both slots; the next pass starts afresh. ---
  void Reset();

  // --- audio thread ---
  LUMO_RT void Wake() noexcept;
  // n frames from `pos` at the slot's speed into out (interleaved); false when the slot does
  // not hold them. A switch of slot since the last read fades across 88 frames.
  LUMO_RT bool Render(double pos, int frames, float* out) noexcept;
  LUMO_RT double ActiveSpeed() const noexcept;
  LUMO_RT double ActiveScale() const noexcept;
  // A stopped deck reads nothing, but the switch still counts as seen.
  LUMO_RT void AcknowledgeSlot() noexcept;

  // --- any thread ---
  int rebuilds() const { return rebuilds_.load(std::memory_order_relaxed); }
  int swaps() const { return swaps_.load(std::memory_order_relaxed); }

 private:
  struct Slot {
    std::vector<float> ring;  // interleaved stereo, kRingFrames
    std::atomic<unsigned> version{0};  // odd while the span below is being changed
    std::atomic<double> sourceStart{0.0}, sourceEnd{0.0};  // song frames the ring covers
    std::atomic<int> ringStart{0}, ringCount{0};
    std::atomic<double> speed{1.0}, scale{1.0};
    double nextFeed = 0.0;  // feeder only: the next song frame for the stretcher
  };
  struct Span {
    double sourceStart, sourceEnd, speed;
    int ringStart;
  };

  bool Prepare();
  void Rebuild(Slot& slot, double pos, double ratio, double scale);
  void Fill(Slot& slot);
  void FeedStretcher(Slot& slot);
  void Append(Slot& slot, const float* frames, int count);
  LUMO_RT bool ReadSpan(const Slot& slot, Span& span) const noexcept;
  LUMO_RT bool ReadSlot(const Slot& slot, double pos, int frames, float* out) const noexcept;

  CSoundSource& deck_;
  std::mutex passLock_;  // the feeder's pass against a reset from the loader
  std::unique_ptr<RubberBand::RubberBandStretcher> stretcher_;
  Slot slots_[2];
  std::atomic<int> activeSlot_{0};
  std::atomic<int> lastReadSlot_{0};
  double usedRatio_ = 1.0, usedScale_ = 1.0;  // feeder only
  bool resetPending_ = true;                  // under passLock_
  size_t toDrop_ = 0;                         // stretcher output still to cut after a rebuild
  static constexpr int kQueueFrames = 44100;  // one second of stretched output
  std::vector<float> inLeft_, inRight_, outLeft_, outRight_;
  std::vector<float> queue_;  // stretched frames not yet in a ring
  size_t queued_ = 0;
  std::vector<float> fadeFrom_;  // audio thread: the old slot's frames during a switch
  std::atomic<int> rebuilds_{0}, swaps_{0};
  std::unique_ptr<CPeriodicThread> thread_;
};
