// The deck's loop commands, main thread. While a loop runs they write only the pending loop
// (next*), the armed flag and exitPending; the audio thread takes the pending loop over at the
// boundary (DeckLoopBoundary.cpp). A stopped deck has no audio-thread writer, so there the
// commands apply at once.
//
// Sizes are powers of two in 64ths of a beat: code 4 is 1/16 beat, 64 one beat, 2048 32 beats.

#include <algorithm>
#include <cmath>

#include "audio/FastMath.h"
#include "deck/SoundSource.h"

namespace {
constexpr int kBeatCode = 64;
constexpr int kSmallestCode = 4;     // 1/16 beat
constexpr int kRecallMinimum = 43;   // frames; a remembered loop shorter than this is none
constexpr int kBeatsToFrames = 2646000;  // frames per beat = this / bpm
constexpr int kDefaultBeatFrames = 22050;  // 120 BPM, for tracks without a tempo

bool IsSubBeat(int code) { return code >= 1 && code < kBeatCode; }
}  // namespace

int CSoundSource::RefreshBeatFrames() {
  int frames = 0;
  if (isReady()) {
    float tempo = GetBpm();
    frames = tempo <= 1.0f ? kDefaultBeatFrames : static_cast<int>(std::lround(kBeatsToFrames / tempo));
  }
  beatFrames.store(frames, std::memory_order_relaxed);
  return frames;
}

int CSoundSource::loopSizeCode(int frames) const {
  int beat = beatFrames.load(std::memory_order_relaxed);
  if (beat <= 0 || frames <= 0) return 0;
  float x = static_cast<float>(frames / (beat * 0.015625));
  long shift = std::lround(FastLog2(x));
  return 1 << std::clamp(shift, 0L, 30L);
}

int CSoundSource::snapToBeat(int window) const {
  double pos = position.load(std::memory_order_acquire);
  int plain = static_cast<int>(std::floor(pos));
  if (!analysed.load(std::memory_order_acquire)) return plain;
  std::lock_guard lock(dataLock);
  const std::vector<float>& marks = stripes[0];
  if (marks.empty()) return plain;
  long from = std::max(0L, std::lround(std::floor((pos - window) * 0.01)));
  long to = std::min(static_cast<long>(marks.size()) - 1, std::lround(std::floor((pos + window) * 0.01)) - 1);
  for (long i = from; i <= to; ++i) {
    if (marks[static_cast<size_t>(i)] > 50.0f) {
      return std::clamp(static_cast<int>(i * 100), 0, lengthFrames.load(std::memory_order_relaxed) - 1);
    }
  }
  return plain;
}

bool CSoundSource::NextEqualsCurrent() const {
  return nextStart.load() == loopStart.load() && nextEnd.load() == loopEnd.load() &&
         nextLength.load() == loopLength.load();
}

// Writes the pending loop, and with `current` the loop in force too (nothing runs yet, or the
// command replaces the loop at once).
void CSoundSource::StoreLoop(int start, int end, bool current) {
  BeginNextEdit();
  nextStart.store(start);
  nextEnd.store(end);
  nextLength.store(end - start + 1);
  EndNextEdit();
  if (current) {
    loopStart.store(start);
    loopEnd.store(end);
    loopLength.store(end - start + 1);
  }
}

// A stopped deck takes the pending loop at once.
void CSoundSource::ApplyNextLoopAtOnce() {
  loopStart.store(nextStart.load());
  loopEnd.store(nextEnd.load());
  loopLength.store(nextLength.load());
  loopPasses.store(0);
  loopChanged.store(1);
}

int CSoundSource::loopInOrOut() {
  if (!isReady()) return 0;
  if (loopActive.load()) return resizeLoop(-(loopLength.load() / 2));
  int beat = RefreshBeatFrames();
  if (!loopInArmed.load()) {
    loopPasses.store(0);
    int start = snapToBeat(3 * beat / 4);
    BeginNextEdit();
    nextStart.store(start);
    loopStart.store(start);
    EndNextEdit();
    loopInArmed.store(1);
    return 1;
  }
  loopInArmed.store(0);
  int start = nextStart.load();
  double sixteenth = beat * 0.0625;
  long x = std::lround(std::fabs(position.load() - start) / sixteenth - 0.5);
  // The largest power of two of sixteenths not above x; nothing at all still gives 1/8 beat.
  long sixteenths = 2;
  if (x >= 1) {
    sixteenths = 1;
    while (sixteenths * 2 <= x) sixteenths *= 2;
  }
  double length = sixteenths * beat / 16.0;
  if (start + length >= lengthFrames.load()) {
    nextEnd.store(0);
    return 0;
  }
  StoreLoop(start, static_cast<int>(std::lround(start + length - 1)), true);
  loopActive.store(1);
  loopChanged.store(1);
  return 1;
}

int CSoundSource::beatLoop(int code) {
  if (!isReady()) return 0;
  RefreshBeatFrames();
  bool active = loopActive.load() != 0;
  if (code <= 0) return endLoop(0);
  if (active && loopSizeCode(nextLength.load()) == code) return endLoop(0);  // a second press lets go
  loopInArmed.store(0);
  long length = static_cast<long>(beatFrames.load()) * code / kBeatCode;
  int start = active ? nextStart.load() : static_cast<int>(std::lround(position.load() - 0.5));
  if (start + length >= lengthFrames.load()) return 0;
  if (!active) loopPasses.store(0);
  StoreLoop(start, static_cast<int>(start + length - 1), !active);
  loopActive.store(1);
  loopChanged.store(1);
  return 1;
}

int CSoundSource::beatLoopBack(int code) {
  if (!isReady()) return 0;
  RefreshBeatFrames();
  if (loopActive.load() && loopSizeCode(loopLength.load()) == code) return endLoop(1);
  if (code <= 0) return endLoop(0);
  long length = static_cast<long>(beatFrames.load()) * code / kBeatCode;
  int end = static_cast<int>(std::lround(position.load() - 0.5));
  int start = static_cast<int>(std::max(0L, end - length));
  StoreLoop(start, end, true);
  loopPasses.store(0);
  loopInArmed.store(0);
  loopActive.store(1);
  loopChanged.store(1);
  return 1;
}

int CSoundSource::resizeLoop(int delta) {
  if (!loopActive.load() || !isReady()) return 0;
  int end = nextEnd.load() + delta;
  int start = nextStart.load();
  if (loopSizeCode(nextLength.load() + delta) < kSmallestCode || end >= lengthFrames.load() || end <= start) return 0;
  BeginNextEdit();
  nextEnd.store(end);
  nextLength.store(end - start + 1);
  EndNextEdit();
  double pos = position.load();
  if (!IsPlaying() && pos > start && pos < end) ApplyNextLoopAtOnce();
  return 1;
}

int CSoundSource::shiftLoop(int delta) {
  if (!loopActive.load() || !isReady() || !NextEqualsCurrent()) return 0;
  int start = nextStart.load() + delta, end = nextEnd.load() + delta;
  if (start < 0 || end >= lengthFrames.load()) return 0;
  BeginNextEdit();
  nextStart.store(start);
  nextEnd.store(end);
  EndNextEdit();
  double pos = position.load();
  if (!IsPlaying() && pos >= start && pos <= end) ApplyNextLoopAtOnce();
  return 1;
}

int CSoundSource::recallLoop() {
  if (!isReady() || lastLength.load() <= kRecallMinimum) return 0;
  StoreLoop(lastStart.load(), lastEnd.load(), true);
  loopPasses.store(0);
  loopInArmed.store(0);
  loopActive.store(1);
  loopChanged.store(1);
  return 1;
}

int CSoundSource::endLoop(int force) {
  bool active = loopActive.load() != 0;
  if (!active && !loopInArmed.load()) return 0;
  if (active) {
    lastStart.store(loopStart.load());
    lastEnd.store(loopEnd.load());
    lastLength.store(loopLength.load());
    // A loop under one beat lets go on a whole beat.
    int code = loopSizeCode(loopLength.load());
    if (!force && IsSubBeat(code) && loopPasses.load() % (kBeatCode / code) != 0) {
      exitPending.store(1);
      return 1;
    }
  }
  BeginNextEdit();
  nextEnd.store(0);
  EndNextEdit();
  loopInArmed.store(0);
  loopActive.store(0);
  exitPending.store(0);
  loopPasses.store(0);
  loopChanged.store(1);
  return 1;
}

int CSoundSource::skipBeats(int n) {
  if (!isReady() || loopInArmed.load() || scratching.load()) return 0;
  int sign = (n < 0) == (targetSpeed.load() < 0) ? 1 : -1;
  for (int k = 0; k < std::abs(n); ++k) {
    int beat = RefreshBeatFrames();
    double pos = position.load() + sign * beat;
    if (loopActive.load()) {
      int start = loopStart.load(), end = loopEnd.load(), length = loopLength.load();
      if (beat >= length) continue;
      if (pos > end) pos -= length;
      if (pos < start) pos += length;
    } else if (pos < 0 || pos >= lengthFrames.load()) {
      continue;
    }
    position.store(pos, std::memory_order_release);
  }
  return 1;
}
