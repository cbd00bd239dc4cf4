// Beat phase and one-shot sync. Every block the audio thread reads, from the beat marks in the
// deck's stripe, how far the play head stands between two beats (PrepareBlock(0)); a sync
// command moves the pitch to the other deck's tempo and leaves a request that the audio thread
// turns into one nudge onto the other deck's beat once the speed ramp has settled
// (PrepareBlock(1)). There is no continuous phase lock.

#include "deck/BeatSync.h"

#include <algorithm>
#include <cmath>

#include "analysis/StripeMarks.h"
#include "deck/SoundSource.h"

namespace {
constexpr double kBeatsToFrames = 2646000.0;  // frames per beat = this / bpm
constexpr int kUnknownBeatFrames = 22050;     // 120 BPM, for tracks without a tempo
constexpr double kFramesToStripes = 0.01;     // one stripe entry per 100 frames
constexpr int kMaxPitchMatch = 5000;          // 50 %, in hundredths of a percent
}  // namespace

float ShortPhaseDifference(float own, float other) {
  float d = own - other;
  if (std::fabs(d) > 0.5f) d += d <= 0.0f ? 1.0f : -1.0f;
  return d;
}

int BeatDifference(const CSoundSource& a, const CSoundSource& b) {
  if (!a.IsPlaying() || !b.IsPlaying() || a.scratching.load(std::memory_order_relaxed) ||
      b.scratching.load(std::memory_order_relaxed)) {
    return 0;
  }
  float d = ShortPhaseDifference(a.beatPhase.load(std::memory_order_relaxed), b.beatPhase.load(std::memory_order_relaxed));
  return -static_cast<int>(std::lround(d * 100.0f));
}

bool OnBeat(const CSoundSource& deck) {
  const float phase = deck.beatPhase.load(std::memory_order_relaxed);
  return deck.IsPlaying() && (phase < 0.25f || phase > 0.9f);
}

void CSoundSource::PrepareBlock(int phase) noexcept {
  if (phase == 0) UpdateBeatPhase();
  if (phase == 1) ApplyPendingSync();
}

// The first mark from `at` up to 4/3 of a beat on. Without one, a mark in the 4/3 beat after
// that means the beat we should have met was never marked: it is marked now, so the grid
// repairs itself and a second pass over the passage finds it. No mark at all: `at`.
int CSoundSource::ScanForBeatMark(std::vector<float>& marks, int at, int perBeat, int total) noexcept {
  const int limit = std::min(total, static_cast<int>(marks.size())) - 1;
  const int w = perBeat * 4 / 3;
  const int firstEnd = std::min(at + w, limit);
  for (int i = at; i <= firstEnd; ++i) {
    if (IsMarked(marks[static_cast<size_t>(i)])) return i;
  }
  const int secondEnd = std::min(at + 2 * w, limit);
  for (int j = firstEnd + 1; j <= secondEnd; ++j) {
    if (!IsMarked(marks[static_cast<size_t>(j)])) continue;
    const int m = j - perBeat;
    if (m >= 0 && !IsMarked(marks[static_cast<size_t>(m)])) marks[static_cast<size_t>(m)] += kBeatMark;
    return m;
  }
  return at;
}

void CSoundSource::UpdateBeatPhase() noexcept {
  const int length = lengthFrames.load(std::memory_order_acquire);
  if (!isReady() || length <= 0) {
    beatPos.store(0, std::memory_order_relaxed);
    beatFrames2.store(kUnknownBeatFrames, std::memory_order_relaxed);
    beatPhase.store(0.0f, std::memory_order_relaxed);
    beatIndex.store(-1, std::memory_order_relaxed);
    return;
  }
  const int p = GetPosition();
  const float tempo = GetBpm();
  const int L = tempo > 1.0f ? static_cast<int>(std::lround(kBeatsToFrames / tempo)) : kUnknownBeatFrames;
  beatPos.store(p, std::memory_order_relaxed);
  beatFrames2.store(L, std::memory_order_relaxed);

  const int total = static_cast<int>(length * kFramesToStripes);
  const int perBeat = static_cast<int>(L * kFramesToStripes);
  if (perBeat < 1 || total < 1) return;
  const int at = std::clamp(static_cast<int>(p * kFramesToStripes), 0, total);
  // The loader or the analysis holds the stripes now and then: keep the last phase.
  if (!dataLock.TryEnter()) return;
  const int m = ScanForBeatMark(stripes[0], at, perBeat, total);
  dataLock.Leave();

  // The search runs on whole stripe entries; the phase itself uses the exact play head, so two
  // decks line up to the frame rather than to the nearest 100 frames. A mark in the entry the
  // play head is already inside is a beat just passed: phase just above 0, not 1.
  const double exactAt = std::clamp(p * kFramesToStripes, 0.0, static_cast<double>(total));
  double ph = 1.0 - (m - exactAt) / (L * kFramesToStripes);
  if (ph >= 1.0) ph -= 1.0;
  ph = std::clamp(ph, 0.0, 1.0);
  if (targetSpeed.load(std::memory_order_relaxed) < 0.0) ph = 1.0 - ph;
  beatPhase.store(static_cast<float>(ph), std::memory_order_relaxed);

  // Which beat of the bar: counted from the track start along the grid the phase implies.
  const long long a = p - (p % L);
  const long long b = p - std::llround(L * ph);
  const long long c = a < b ? -a : L - a;
  long long index = ((p - (c + b)) / L) % 4;
  if (index < 0) index += 4;
  beatIndex.store(static_cast<int>(index), std::memory_order_relaxed);
}

void CSoundSource::ApplyPendingSync() noexcept {
  if (!syncPending.load(std::memory_order_acquire)) return;
  // Only once the new pitch's ramp has finished, or the phase would still be sliding.
  const double target = targetSpeed.load(std::memory_order_relaxed);
  if (speed.load(std::memory_order_relaxed) != target) return;
  CSoundSource* other = syncOther.load(std::memory_order_acquire);
  if (other) {
    const float d = ShortPhaseDifference(beatPhase.load(std::memory_order_relaxed),
                                         other->beatPhase.load(std::memory_order_relaxed));
    const double s = target > 0.0 ? 1.0 : (target < 0.0 ? -1.0 : 0.0);
    nudge(-d * s * beatFrames2.load(std::memory_order_relaxed));
  }
  syncPending.store(0, std::memory_order_release);
}

int CSoundSource::nudge(double frames) noexcept {
  if (!isReady()) return 0;
  const double pos = position.load(std::memory_order_acquire);
  double p = pos + frames;
  if (loopActive.load(std::memory_order_relaxed)) {
    // A move that would leave the loop jumps a beat the other way instead.
    const double start = nextStart.load(std::memory_order_relaxed);
    const double end = nextEnd.load(std::memory_order_relaxed);
    int beat = beatFrames.load(std::memory_order_relaxed);
    if (beat <= 0) beat = beatFrames2.load(std::memory_order_relaxed);
    if (p < start) {
      p = pos + beat + frames;
    } else if (p > end) {
      p = pos - (beat - frames);
    }
    if (p < start || p > end) return 0;
  } else if (p < 0.0 || p > lengthFrames.load(std::memory_order_relaxed) - 1) {
    return 0;
  }
  // A small jump: no block request and no codec notice; the render picks it up next block.
  position.store(p, std::memory_order_release);
  return 1;
}

int CSoundSource::MatchTempoTo(CSoundSource& other, float ownBpm) {
  const float otherBpm = other.GetBpm();
  if (ownBpm <= 0.0f || otherBpm <= 0.0f) return 0;
  const long wanted = std::lround(((other.getPitch() * 0.0001 + 1.0) * otherBpm / ownBpm - 1.0) * 10000.0);
  if (std::labs(wanted) > kMaxPitchMatch) return 0;
  if (wanted != getPitch()) setPitch(static_cast<int>(wanted));
  return 1;
}

int CSoundSource::matchTempo(CSoundSource& other) {
  if (!isReady() || !other.isReady()) return 0;
  return MatchTempoTo(other, GetBpm());
}

int CSoundSource::beatSync(CSoundSource& other) {
  if (!isReady()) return 0;
  if (!IsPlaying()) setPlaying(1);
  if (!other.isReady()) return 0;
  // A scratched deck has no tempo of its own to match from.
  const float own = scratching.load(std::memory_order_relaxed) ? 0.0f : GetBpm();
  if (!MatchTempoTo(other, own)) return 0;
  syncOther.store(&other, std::memory_order_release);
  syncPending.store(1, std::memory_order_release);  // after syncOther: the audio thread reads it second
  return 1;
}

CSoundSource::BeatInfo CSoundSource::getBeatInfo() const {
  BeatInfo info;
  info.beatPos = beatPos.load(std::memory_order_relaxed);
  info.beatFrames2 = beatFrames2.load(std::memory_order_relaxed);
  info.beatPhase = beatPhase.load(std::memory_order_relaxed);
  info.beatIndex = beatIndex.load(std::memory_order_relaxed);
  return info;
}
