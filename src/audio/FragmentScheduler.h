#pragma once
// The fill order of an output ring of fragments. The polling thread reads which fragment the
// device is playing; the scheduler answers which fragments to mix, so the mix always stays
// n - 1 fragments ahead of the play cursor: each poll fills up to the fragment just behind the
// cursor, the ones the cursor skipped first. A cursor that laps the ring between two polls
// cannot be seen; that costs a ring of stale audio, as it would on any fragment ring.
//
// Plain data, no threads: the owner (the polling thread) calls Poll; real-time safe.

#include "app/base/Realtime.h"

constexpr int kOutputFragments = 8;

struct FragmentFill {
  int count = 0;                        // fragments to fill, in order
  int fragments[kOutputFragments] = {};
};

class CFragmentScheduler {
 public:
  explicit CFragmentScheduler(int fragments = kOutputFragments);

  // The device started at fragment 0 with nothing written after it.
  void Reset() noexcept;
  // The cursor is in `playFragment` (0..n-1). Fills `fill` with the fragments to mix now, and
  // records the last of them as written. Nothing to do when the cursor has not changed fragment.
  LUMO_RT void Poll(int playFragment, FragmentFill* fill) noexcept;

  int currentFragment() const { return current_; }
  int lastWritten() const { return lastWritten_; }

 private:
  int n_;
  int current_ = 0;
  int lastWritten_ = 0;
};
