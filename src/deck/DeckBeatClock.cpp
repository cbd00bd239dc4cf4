#include "deck/DeckBeatClock.h"

#include <algorithm>
#include <cmath>

#include "deck/SoundSource.h"

namespace {

constexpr double kStripeFrames = 100.0;  // one stripe entry per 100 frames

// The stripe entry of the next beat mark from `at` within one and a third beats, or -1.
long NextMark(const std::vector<float>& marks, long at, long perBeat) {
  long window = perBeat * 4 / 3;
  long end = std::min(static_cast<long>(marks.size()), at + window + 1);
  for (long i = at; i < end; ++i) {
    if (marks[static_cast<size_t>(i)] > 50.0f) return i;
  }
  return -1;
}

}  // namespace

BeatReading CDeckBeatClock::ReadBeat() const noexcept {
  BeatReading r;
  r.bpm = deck_.bpm.load(std::memory_order_relaxed);
  r.pitch = deck_.pitch.load(std::memory_order_relaxed);
  r.playing = deck_.IsPlaying();
  r.beatFrames = r.bpm > 0.0f ? std::round(2646000.0 / r.bpm) : 22050.0;
  double pos = deck_.Position();
  r.phase = pos / r.beatFrames - std::floor(pos / r.beatFrames);
  if (!deck_.analysed.load(std::memory_order_acquire) || !deck_.dataLock.TryEnter()) return r;
  const std::vector<float>& marks = deck_.stripes[0];
  long perBeat = static_cast<long>(r.beatFrames / kStripeFrames);
  long at = std::clamp(static_cast<long>(pos / kStripeFrames), 0L, static_cast<long>(marks.size()));
  long mark = perBeat > 0 ? NextMark(marks, at, perBeat) : -1;
  deck_.dataLock.Leave();
  if (mark >= 0) {
    double toBeat = mark * kStripeFrames - pos;
    // Inside the mark's own stripe the beat has just passed.
    r.phase = toBeat <= 0.0 ? -toBeat / r.beatFrames : std::clamp(1.0 - toBeat / r.beatFrames, 0.0, 1.0);
  }
  return r;
}
