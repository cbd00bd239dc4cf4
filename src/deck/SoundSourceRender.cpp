// The deck's render: one block from track memory at the current speed.
//
// Order of one call: refuse oversized blocks; park at the cue if asked; check that every block
// the render may touch is present (else silence, the clock runs on and the loader is woken);
// then per frame: ramp the speed, advance, apply the track ends, fetch and scale. A stop, or a
// track end, holds the last output frame and fades it over 441 frames (10 ms): that fade is the
// de-click for every stop. Starting needs none.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "codecs/CodecChain.h"
#include "deck/SoundSource.h"

namespace {

// The deck's 16-bit audio enters float by 3e-5 (float bits 0x37FBA882), a shade under full
// scale; the value is kept exactly as it is.
constexpr float kInt16ToFloat = 3e-05f;
constexpr double kBrakeRate = 1.6e-5;      // standstill from 1.0 in 62500 frames
constexpr double kExternalRate = 0.001;
constexpr double kGlideRate = 1.3333333333333333e-5;

inline int WrapFrame(long long frame, int length) {
  if (frame >= 0 && frame < length) return static_cast<int>(frame);
  long long wrapped = frame % length;
  return static_cast<int>(wrapped < 0 ? wrapped + length : wrapped);
}

}  // namespace

void CSoundSource::RenderNormal(float* out, int frames) noexcept {
  Render(out, frames, [this](double pos, int length, float& left, float& right) {
    FetchHermite(pos, length, left, right);
  }, true);
}

void CSoundSource::ReadInt16(short* out, int frames) noexcept {
  memory.EnterRender();
  Render(out, frames, [this](double pos, int length, float& left, float& right) {
    short l, r;
    FetchLinear16(pos, length, l, r);
    left = l;
    right = r;
  }, false);
  memory.LeaveRender();
}

namespace {
inline void Put(float* out, int i, float left, float right) {
  out[2 * i] = left;
  out[2 * i + 1] = right;
}
inline void Put(short* out, int i, float left, float right) {
  out[2 * i] = static_cast<short>(std::clamp(std::lround(left), -32768L, 32767L));
  out[2 * i + 1] = static_cast<short>(std::clamp(std::lround(right), -32768L, 32767L));
}
template <typename Sample>
void Silence(Sample* out, int frames) {
  std::memset(out, 0, sizeof(Sample) * 2 * static_cast<size_t>(frames));
}
}  // namespace

template <typename Sample, typename Fetch>
void CSoundSource::Render(Sample* out, int frames, Fetch fetch, bool keyLockAllowed) noexcept {
  if (frames <= 0) return;
  if (frames > kMaxBlockFrames || !fileOpen.load(std::memory_order_acquire)) {
    Silence(out, frames);
    return;
  }
  HandleStopAtCue();

  double startPos = position.load(std::memory_order_acquire);
  double pos = startPos;
  double spd = speed.load(std::memory_order_relaxed);
  ApplyBrakeAndRestart(spd);
  ScratchBookkeeping(pos);
  int length = lengthFrames.load(std::memory_order_acquire);
  bool isPlaying = playing.load(std::memory_order_relaxed) != 0;

  if (length <= 0 || loadPending.load(std::memory_order_acquire) || !SpanPresent(pos, spd, frames)) {
    // The clock never stops for a slow disk: silence now, catch up when the block arrives.
    Silence(out, frames);
    lastLeft_ = lastRight_ = heldLeft_ = heldRight_ = 0.0f;
    WakeLoader();
    if (isPlaying && ready.load(std::memory_order_relaxed)) {
      position.compare_exchange_strong(startPos, pos + frames * spd, std::memory_order_acq_rel);
    }
    return;
  }
  if (!isPlaying) {
    BeginHold();
    for (int i = 0; i < frames; ++i) {
      float left, right;
      NextHeldFrame(left, right);
      Put(out, i, left, right);
    }
    return;
  }

  StartBlockGain();
  bool scratch = scratching.load(std::memory_order_relaxed) != 0;
  // The splice key lock: material at its own pitch, the rate made up by jumps. Scratch and
  // brake play the record as it turns.
  bool splice = keyLockAllowed && keyLockOn.load(std::memory_order_relaxed) && !scratch &&
                !brake.load(std::memory_order_relaxed);
  if (!splice) spliceOn_ = false;
  // A loop set during this block starts at the next; one that lets go here ends at once.
  bool looping = !scratch && loopActive.load(std::memory_order_relaxed);
  int i = 0;
  for (; i < frames; ++i) {
    spd = NextSpeedStep(spd);
    if (splice) {
      SpliceAdvance(pos, spd, length);
    } else {
      pos += spd;
    }
    if (looping) {
      looping = ApplyLoopBoundary(pos);
    } else if (ClampAtTrackEnd(pos, length)) {
      break;
    }
    float left, right;
    if (splice) {
      SpliceFetch(pos, spd, length, left, right);
    } else {
      fetch(pos, length, left, right);
    }
    holding_ = false;
    lastLeft_ = left * gain_;
    lastRight_ = right * gain_;
    Put(out, i, lastLeft_, lastRight_);
  }
  if (i < frames) {
    // The track end stops the sound, not the transport: `playing` stays set and the tick
    // returns the deck to its cue.
    BeginHold();
    for (; i < frames; ++i) {
      float left, right;
      NextHeldFrame(left, right);
      Put(out, i, left, right);
    }
  }
  speed.store(spd, std::memory_order_relaxed);
  position.compare_exchange_strong(startPos, pos, std::memory_order_acq_rel);
}

bool CSoundSource::SpanPresent(double pos, double spd, int frames) const noexcept {
  double reach = (frames + 10) * std::max(std::fabs(spd), std::fabs(targetSpeed.load(std::memory_order_relaxed)));
  int length = lengthFrames.load(std::memory_order_relaxed);
  double lo = std::clamp(pos - reach - 2.0, 0.0, static_cast<double>(length - 1));
  double hi = std::clamp(pos + reach + 2.0, 0.0, static_cast<double>(length - 1));
  int first = static_cast<int>(lo) / kTrackBlockFrames;
  int last = static_cast<int>(hi) / kTrackBlockFrames;
  if (first < 0 || last >= kMaxTrackBlocks) return false;
  for (int b = first; b <= last; ++b) {
    if (!memory.Block(b)) return false;
  }
  return true;
}

void CSoundSource::HandleStopAtCue() noexcept {
  if (!stopAtCue.exchange(0, std::memory_order_acq_rel)) return;
  // The listener runs user code: the engine tick fires the event, not the audio thread.
  if (playing.exchange(0, std::memory_order_acq_rel)) pendingTransport_.store(0, std::memory_order_release);
  scratchArmed.store(0, std::memory_order_relaxed);
  if (loopActive.load(std::memory_order_relaxed) || loopInArmed.load(std::memory_order_relaxed)) {
    lastStart.store(loopStart.load(std::memory_order_relaxed), std::memory_order_relaxed);
    lastEnd.store(loopEnd.load(std::memory_order_relaxed), std::memory_order_relaxed);
    lastLength.store(loopLength.load(std::memory_order_relaxed), std::memory_order_relaxed);
    loopActive.store(0, std::memory_order_relaxed);
    loopInArmed.store(0, std::memory_order_relaxed);
    exitPending.store(0, std::memory_order_relaxed);
    loopChanged.store(1, std::memory_order_relaxed);
  }
  int cue = cuePos.load(std::memory_order_relaxed);
  if (cue < lengthFrames.load(std::memory_order_relaxed)) {
    position.store(cue, std::memory_order_release);
    codec_->notifySeek(cue, 1);
  }
  ready.store(1, std::memory_order_release);
  if (startAtFirstSound_.exchange(0, std::memory_order_acq_rel)) {
    cuePos.store(cueTable[cueSlot.load(std::memory_order_relaxed)], std::memory_order_relaxed);
  }
}

void CSoundSource::ApplyBrakeAndRestart(double& spd) noexcept {
  // A scratch on a stopped deck starts from standstill, with no jump.
  if (restartSpeed.exchange(0, std::memory_order_acq_rel)) {
    spd = 0.0;
    rampGoal_ = 0.0;
    speed.store(0.0, std::memory_order_relaxed);
  }
  // The brake falls linearly to standstill; the ramp fixes its step at the first block.
  if (brake.load(std::memory_order_relaxed) && !externalSpeed.load(std::memory_order_relaxed)) {
    targetSpeed.store(0.0, std::memory_order_relaxed);
    speedGlide.store(0, std::memory_order_relaxed);
  }
}

void CSoundSource::ScratchBookkeeping(double pos) noexcept {
  // A scratch on a stopped deck drags the cue along while it stays near it, and marks the deck
  // as moved so the next cue press sets the cue where the hand left the record.
  if (!scratching.load(std::memory_order_relaxed) || scratchWasPlaying.load(std::memory_order_relaxed)) return;
  if (std::fabs(pos - cuePos.load(std::memory_order_relaxed)) < kTrackBlockFrames) {
    cuePos.store(static_cast<int>(std::floor(pos)), std::memory_order_relaxed);
    WakeLoader();  // pins the blocks around the cue
  }
  movedWhileStopped.store(1, std::memory_order_relaxed);
}

void CSoundSource::StartBlockGain() noexcept {
  double spd = std::fabs(speed.load(std::memory_order_relaxed));
  bool fullVolume = !scratching.load(std::memory_order_relaxed) && !brake.load(std::memory_order_relaxed) &&
                    spd > 0.6 && !externalSpeed.load(std::memory_order_relaxed);
  fadeCount_ = fullVolume ? kFadeLength : static_cast<int>(std::lround(std::min(spd, 1.0) * kFadeLength));
  gain_ = static_cast<float>(fadeCount_) / kFadeLength;
}

double CSoundSource::NextSpeedStep(double current) noexcept {
  double target = targetSpeed.load(std::memory_order_relaxed);
  if (target != rampGoal_) {
    double difference = target - current;
    double pos = position.load(std::memory_order_relaxed);
    bool inside = pos > 0.0 && pos < lengthFrames.load(std::memory_order_relaxed) - 1;
    rampGoal_ = target;
    if (brake.load(std::memory_order_relaxed)) {
      speedStep_ = difference * kBrakeRate;
    } else if (externalSpeed.load(std::memory_order_relaxed)) {
      speedStep_ = difference * kExternalRate;
    } else if (speedGlide.load(std::memory_order_relaxed) && inside) {
      speedStep_ = difference * kGlideRate;
    } else if (inside) {
      // A change to normal speed takes 2000 frames, one to standstill 500.
      double k = std::clamp(10.0 * std::fabs(target), 2.0, 8.0);
      speedStep_ = difference / (k * 250.0);
    } else {
      speedStep_ = difference;
    }
  }
  if (current == rampGoal_) return current;
  double next = current + speedStep_;
  if ((speedStep_ > 0 && next >= rampGoal_) || (speedStep_ < 0 && next <= rampGoal_) || speedStep_ == 0) {
    next = rampGoal_;
  }
  if (speedGlide.load(std::memory_order_relaxed)) {
    next = std::clamp(next, -4.0, 4.0);
    if (std::fabs(next - rampGoal_) < 0.01) {
      next = rampGoal_;
      speedGlide.store(0, std::memory_order_relaxed);
    }
  }
  return next;
}

bool CSoundSource::ClampAtTrackEnd(double& pos, int length) noexcept {
  if (pos >= 0.0 && pos <= length - 1) return false;
  if (loopSong.load(std::memory_order_relaxed)) {
    pos += pos < 0.0 ? length : -static_cast<double>(length);
    codec_->notifySeek(static_cast<int>(pos), 1);
    return false;
  }
  pos = pos < 0.0 ? 0.0 : length - 1;
  return true;
}

// One frame as float; a frame outside the track or in a missing block is silence.
void CSoundSource::FetchFrame(long long frame, int length, float& left, float& right) const noexcept {
  const TrackBlock* block = frame >= 0 && frame < length ? memory.Block(static_cast<int>(frame / kTrackBlockFrames)) : nullptr;
  if (!block) {
    left = right = 0.0f;
    return;
  }
  int offset = static_cast<int>(frame % kTrackBlockFrames);
  left = block->samples[2 * offset] * kInt16ToFloat;
  right = block->samples[2 * offset + 1] * kInt16ToFloat;
}

void CSoundSource::FetchHermite(double pos, int length, float& left, float& right) const noexcept {
  long long i = static_cast<long long>(std::floor(pos));
  float t = static_cast<float>(pos - static_cast<double>(i));
  float p[4][2];
  for (int k = 0; k < 4; ++k) FetchFrame(WrapFrame(i - 2 + k, length), length, p[k][0], p[k][1]);
  // Catmull-Rom between p[1] (frame i-1) and p[2] (frame i): the output trails the position by
  // one frame, and at t = 0 it is p[1] exactly.
  float t2 = t * t, t3 = t2 * t;
  float h00 = 2 * t3 - 3 * t2 + 1, h01 = 3 * t2 - 2 * t3, h10 = t3 - 2 * t2 + t, h11 = t3 - t2;
  float out[2];
  for (int c = 0; c < 2; ++c) {
    float m1 = (p[2][c] - p[0][c]) * 0.5f;
    float m2 = (p[3][c] - p[1][c]) * 0.5f;
    out[c] = h00 * p[1][c] + h10 * m1 + h01 * p[2][c] + h11 * m2;
  }
  left = out[0];
  right = out[1];
}

void CSoundSource::FetchLinear16(double pos, int length, short& left, short& right) const noexcept {
  long long i = static_cast<long long>(std::floor(pos));
  double t = pos - static_cast<double>(i);
  int a = WrapFrame(i, length), b = WrapFrame(i + 1, length);
  const TrackBlock* blockA = memory.Block(a / kTrackBlockFrames);
  const TrackBlock* blockB = memory.Block(b / kTrackBlockFrames);
  int oa = a % kTrackBlockFrames, ob = b % kTrackBlockFrames;
  for (int c = 0; c < 2; ++c) {
    int va = blockA ? blockA->samples[2 * oa + c] : 0;
    int vb = blockB ? blockB->samples[2 * ob + c] : 0;
    long v = std::lround(va + (vb - va) * t);
    (c == 0 ? left : right) = static_cast<short>(std::clamp(v, -32768L, 32767L));
  }
}

void CSoundSource::BeginHold() noexcept {
  if (holding_) return;  // a hold that runs on from the last block keeps fading, not restarts
  heldLeft_ = lastLeft_;
  heldRight_ = lastRight_;
  holdCount_ = kFadeLength;
  holding_ = true;
}

void CSoundSource::NextHeldFrame(float& left, float& right) noexcept {
  float scale = static_cast<float>(holdCount_) / kFadeLength;
  lastLeft_ = left = heldLeft_ * scale;
  lastRight_ = right = heldRight_ * scale;
  if (holdCount_ > 0 && --holdCount_ == 0) heldLeft_ = heldRight_ = 0.0f;
}

