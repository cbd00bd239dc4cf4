// The render call and its choice of renderer. The Rubber Band key lock plays from the stretch
// feeder's slots when the deck plays forward, key-locked, with nothing that turns the record by
// hand (scratch, brake, glide, timecode); everything else is the interpolating renderer, which
// carries the splice key lock. A change of renderer runs both for one block and crossfades the
// first 44 frames.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "app/base/Trace.h"
#include "codecs/CodecChain.h"
#include "deck/SoundSource.h"
#include "deck/StretchFeeder.h"

namespace {
constexpr int kSwitchFadeFrames = 44;
}

bool CSoundSource::UseRubberBand() const noexcept {
  return hqEnabled.load(std::memory_order_relaxed) && keyLockOn.load(std::memory_order_relaxed) &&
         playing.load(std::memory_order_relaxed) && !scratching.load(std::memory_order_relaxed) &&
         !restartSpeed.load(std::memory_order_relaxed) && !speedGlide.load(std::memory_order_relaxed) &&
         !stopAtCue.load(std::memory_order_relaxed) && !brake.load(std::memory_order_relaxed) &&
         !externalSpeed.load(std::memory_order_relaxed) && direction.load(std::memory_order_relaxed) > 0 &&
         !loadPending.load(std::memory_order_relaxed);
}

void CSoundSource::GetSamples(float* out, int frames) noexcept {
  memory.EnterRender();
  bool valid = frames > 0 && frames <= kMaxBlockFrames && fileOpen.load(std::memory_order_acquire);
  bool rubber = valid && UseRubberBand();
  if (!hqEnabled.load(std::memory_order_relaxed)) lastRubberBand_ = false;
  if (!playing.load(std::memory_order_relaxed)) stretch_->AcknowledgeSlot();
  if (valid && rubber != lastRubberBand_) {
    // The outgoing renderer plays this block too, from the same place, for the crossfade.
    double pos = position.load(std::memory_order_acquire);
    if (lastRubberBand_) {
      RubberBandRender(switchBuffer_, frames);
    } else {
      RenderNormal(switchBuffer_, frames);
    }
    position.store(pos, std::memory_order_release);
    if (rubber) {
      RubberBandRender(out, frames);
    } else {
      RenderNormal(out, frames);
    }
    int fade = std::min(frames, kSwitchFadeFrames);
    for (int i = 0; i < 2 * fade; ++i) {
      float t = static_cast<float>(i) / (2 * fade);
      out[i] = switchBuffer_[i] * (1.0f - t) + out[i] * t;
    }
  } else if (rubber) {
    RubberBandRender(out, frames);
  } else {
    RenderNormal(out, frames);
  }
  lastRubberBand_ = rubber;
  memory.LeaveRender();
}

void CSoundSource::RubberBandRender(float* out, int frames) noexcept {
  double startPos = position.load(std::memory_order_acquire);
  if (!stretch_->Render(startPos, frames, out)) {
    // A dry slot: this block is silent, the clock runs on, and the feeder is asked to hurry.
    std::memset(out, 0, sizeof(float) * 2 * static_cast<size_t>(frames));
    TraceLineRT("dsp thread wake now");
    stretch_->Wake();
  }
  holding_ = false;
  lastLeft_ = out[2 * frames - 2];
  lastRight_ = out[2 * frames - 1];
  double slotSpeed = stretch_->ActiveSpeed();
  speed.store(slotSpeed, std::memory_order_relaxed);
  rampGoal_ = slotSpeed;
  spliceOn_ = false;

  double pos = startPos + frames * slotSpeed;
  if (loopActive.load(std::memory_order_relaxed)) {
    // Loops apply once per block: the frames past the loop's end are played again from its
    // start at the end of the block.
    int end = loopEnd.load(std::memory_order_relaxed);
    double unwrapped = pos;
    ApplyLoopBoundary(pos);
    if (pos != unwrapped && unwrapped > end) {
      int over = std::clamp(static_cast<int>((unwrapped - end - 1) / slotSpeed), 0, frames - 1);
      if (over > 0 && !stretch_->Render(pos, over, out + 2 * (frames - over))) {
        std::memset(out + 2 * (frames - over), 0, sizeof(float) * 2 * static_cast<size_t>(over));
      }
      pos += over * slotSpeed;
    }
  } else {
    pos = std::min(pos, static_cast<double>(lengthFrames.load(std::memory_order_relaxed) - 1));
  }
  position.compare_exchange_strong(startPos, pos, std::memory_order_acq_rel);
}
