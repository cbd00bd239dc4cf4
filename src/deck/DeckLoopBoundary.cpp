// The loop boundary, run by the render for every frame while a loop is active and no scratch
// runs. It hands over a pending loop, lets go of a loop on request, and wraps the position.
// The wrap is a hard jump with no crossfade: loops are beat-exact and the interpolator's history
// reads straight across the jump.

#include <cstdlib>

#include "codecs/CodecChain.h"
#include "deck/SoundSource.h"

namespace {
constexpr int kBeatCode = 64;
constexpr int kFarMove = 50;  // a pending loop this near a whole length away counts as a move
}  // namespace

// A loop under one beat changes only on a whole beat: after a multiple of 64 / code passes.
bool CSoundSource::SubBeatHold(int code) const noexcept {
  return code >= 1 && code < kBeatCode && loopPasses.load(std::memory_order_relaxed) % (kBeatCode / code) != 0;
}

bool CSoundSource::ApplyLoopBoundary(double& pos) noexcept {
  int start = loopStart.load(std::memory_order_relaxed);
  int end = loopEnd.load(std::memory_order_relaxed);
  int length = loopLength.load(std::memory_order_relaxed);

  unsigned edit = nextEdit_.load(std::memory_order_acquire);
  int nStart = nextStart.load(std::memory_order_relaxed);
  int nEnd = nextEnd.load(std::memory_order_relaxed);
  bool stable = (edit & 1) == 0 && nextEdit_.load(std::memory_order_acquire) == edit;
  if (stable && nEnd > nStart && (nStart != start || nEnd != end)) {
    if (!SubBeatHold(loopSizeCode(length))) {
      loopPasses.store(0, std::memory_order_relaxed);
      bool inside = pos > nStart && pos < nEnd;
      bool moved = std::abs(nStart - start) > length - kFarMove && (pos >= end || pos <= start);
      if (inside || moved) {
        start = nStart;
        end = nEnd;
        length = nEnd - nStart + 1;
        loopStart.store(start, std::memory_order_relaxed);
        loopEnd.store(end, std::memory_order_relaxed);
        loopLength.store(length, std::memory_order_relaxed);
        loopChanged.store(1, std::memory_order_relaxed);
      }
    }
  }

  if (exitPending.load(std::memory_order_relaxed) && !SubBeatHold(loopSizeCode(length))) {
    nextEnd.store(0, std::memory_order_relaxed);
    loopInArmed.store(0, std::memory_order_relaxed);
    loopActive.store(0, std::memory_order_relaxed);
    exitPending.store(0, std::memory_order_relaxed);
    loopChanged.store(1, std::memory_order_relaxed);
    return false;
  }

  if (pos > end || pos < start) {
    pos = pos > end ? start : end;
    codec_->notifySeek(static_cast<int>(pos), 1);
    loopPasses.fetch_add(1, std::memory_order_relaxed);
  }
  return true;
}
