#include "deck/StretchFeeder.h"

#include <rubberband/RubberBandStretcher.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "app/base/Trace.h"
#include "audio/Threads.h"
#include "deck/SoundSource.h"

namespace {
constexpr int kHighest = 5;
constexpr int kOptions = 65553;  // real time, precise stretching, no threads of its own
constexpr int kLeadFrames = 44100;  // keep this much of the song ahead of the play head
constexpr int kMaxChunksPerPass = 3;
constexpr double kSlowest = 0.5;  // the stretcher never goes slower than half speed
constexpr size_t kIoFrames = 16384;
constexpr int kSpanRetries = 4;
constexpr float kInt16ToFloat = 3e-05f;
}  // namespace

CStretchFeeder::CStretchFeeder(CSoundSource& deck) : deck_(deck) {
  fadeFrom_.assign(2 * static_cast<size_t>(kMaxBlockFrames), 0.0f);
  std::string name = "deck stretch " + std::to_string(deck.id());
  thread_ = std::make_unique<CPeriodicThread>([](void* self) { static_cast<CStretchFeeder*>(self)->Pass(); }, this,
                                              kHighest, kPeriodMs, name.c_str());
}

CStretchFeeder::~CStretchFeeder() { thread_->Stop(); }

void CStretchFeeder::Wake() noexcept { thread_->Wake(); }

void CStretchFeeder::Reset() {
  std::lock_guard lock(passLock_);
  resetPending_ = true;
  for (Slot& slot : slots_) {
    slot.version.fetch_add(1, std::memory_order_acq_rel);
    slot.sourceStart.store(0.0, std::memory_order_relaxed);
    slot.sourceEnd.store(0.0, std::memory_order_relaxed);
    slot.ringCount.store(0, std::memory_order_relaxed);
    slot.version.fetch_add(1, std::memory_order_release);
  }
}

bool CStretchFeeder::Prepare() {
  if (stretcher_) return true;
  try {
    stretcher_ = std::make_unique<RubberBand::RubberBandStretcher>(kEngineRate, 2, kOptions, 1.0, 1.0);
    for (Slot& slot : slots_) slot.ring.assign(2 * static_cast<size_t>(kRingFrames), 0.0f);
    for (auto* buffer : {&inLeft_, &inRight_, &outLeft_, &outRight_}) buffer->assign(kIoFrames, 0.0f);
    queue_.assign(2 * static_cast<size_t>(kQueueFrames), 0.0f);
  } catch (const std::exception& e) {
    TraceLine("deck %d: key lock through Rubber Band is not available: %s", deck_.id(), e.what());
    stretcher_.reset();
    return false;
  }
  return true;
}

void CStretchFeeder::Pass() {
  std::lock_guard lock(passLock_);
  if (resetPending_ && stretcher_) {
    stretcher_->reset();
    usedRatio_ = usedScale_ = 1.0;
    activeSlot_.store(0, std::memory_order_release);
  }
  resetPending_ = false;
  if (!deck_.hqEnabled.load() || !deck_.keyLockOn.load() || !deck_.fileOpen.load() || !deck_.isReady() ||
      deck_.GetLength() <= 0 || deck_.direction.load() < 0 || !Prepare()) {
    return;
  }
  int active = activeSlot_.load(std::memory_order_acquire);
  double wanted = std::fabs(deck_.wantedRatio.load());
  double scale = deck_.wantedScale.load();
  bool swap = wanted != usedRatio_ || scale != usedScale_;
  // The slot being rebuilt must not be the one the reader is still fading out of.
  if (swap && lastReadSlot_.load(std::memory_order_acquire) != active) return;
  Slot& slot = slots_[swap ? 1 - active : active];
  double pos = deck_.Position();
  double start = slot.sourceStart.load(), end = slot.sourceEnd.load();
  if (!swap && pos >= start && pos + kLeadFrames <= end) return;
  if (swap || end <= start || pos < start || pos > end + kChunkFrames) Rebuild(slot, pos, wanted, scale);
  for (int k = 0; k < kMaxChunksPerPass && pos + kLeadFrames > slot.sourceEnd.load(); ++k) Fill(slot);
  if (swap) {
    activeSlot_.store(1 - active, std::memory_order_release);  // written last: the slot is complete
    swaps_.fetch_add(1, std::memory_order_relaxed);
  }
}

void CStretchFeeder::Rebuild(Slot& slot, double pos, double wanted, double scale) {
  double speed = std::max(wanted, kSlowest);
  double start = std::max(0.0, pos - speed * kChunkFrames * 0.25);
  slot.version.fetch_add(1, std::memory_order_acq_rel);
  slot.sourceStart.store(start, std::memory_order_relaxed);
  slot.sourceEnd.store(start, std::memory_order_relaxed);
  slot.ringStart.store(0, std::memory_order_relaxed);
  slot.ringCount.store(0, std::memory_order_relaxed);
  slot.speed.store(speed, std::memory_order_relaxed);
  slot.scale.store(scale, std::memory_order_relaxed);
  slot.version.fetch_add(1, std::memory_order_release);
  slot.nextFeed = start;
  queued_ = 0;
  usedRatio_ = wanted;
  usedScale_ = scale;

  stretcher_->reset();
  stretcher_->setTimeRatio(1.0 / speed);
  stretcher_->setPitchScale(scale);
  // Silence ahead of the song and the stretcher's delay cut from its output, so output frame k
  // is song frame start + k * speed exactly.
  std::fill(inLeft_.begin(), inLeft_.end(), 0.0f);
  std::fill(inRight_.begin(), inRight_.end(), 0.0f);
  size_t pad = std::min(stretcher_->getPreferredStartPad(), kIoFrames);
  const float* in[2] = {inLeft_.data(), inRight_.data()};
  if (pad > 0) stretcher_->process(in, pad, false);
  toDrop_ = stretcher_->getStartDelay();
  rebuilds_.fetch_add(1, std::memory_order_relaxed);
}

// Runs the stretcher until half a second of output is queued, then appends that to the ring;
// what the stretcher gave beyond it stays queued for the next fill.
void CStretchFeeder::Fill(Slot& slot) {
  float* out[2] = {outLeft_.data(), outRight_.data()};
  size_t capacity = queue_.size() / 2;
  for (int rounds = 0; queued_ < static_cast<size_t>(kChunkFrames) && rounds < 1000; ++rounds) {
    FeedStretcher(slot);
    for (int available; (available = stretcher_->available()) > 0 && queued_ < capacity;) {
      size_t room = std::min(kIoFrames, capacity - queued_);
      size_t got = stretcher_->retrieve(out, std::min(static_cast<size_t>(available), room));
      if (got == 0) break;
      size_t skip = std::min(got, toDrop_);
      toDrop_ -= skip;
      for (size_t i = skip; i < got; ++i, ++queued_) {
        queue_[2 * queued_] = outLeft_[i];
        queue_[2 * queued_ + 1] = outRight_[i];
      }
    }
  }
  int count = static_cast<int>(std::min(queued_, static_cast<size_t>(kChunkFrames)));
  Append(slot, queue_.data(), count);
  queued_ -= static_cast<size_t>(count);
  std::memmove(queue_.data(), queue_.data() + 2 * count, sizeof(float) * 2 * queued_);
}

void CStretchFeeder::FeedStretcher(Slot& slot) {
  size_t wanted = std::min(std::max<size_t>(stretcher_->getSamplesRequired(), 1), kIoFrames);
  const CTrackMemory& memory = deck_.memory;
  int length = deck_.GetLength();
  memory.EnterFeed();  // blocks stay while they are read
  for (size_t i = 0; i < wanted; ++i) {
    long long frame = static_cast<long long>(slot.nextFeed) + static_cast<long long>(i);
    const TrackBlock* block = frame < length ? memory.Block(static_cast<int>(frame / kTrackBlockFrames)) : nullptr;
    int offset = static_cast<int>(frame % kTrackBlockFrames);
    inLeft_[i] = block ? block->samples[2 * offset] * kInt16ToFloat : 0.0f;
    inRight_[i] = block ? block->samples[2 * offset + 1] * kInt16ToFloat : 0.0f;
  }
  memory.LeaveFeed();
  const float* in[2] = {inLeft_.data(), inRight_.data()};
  stretcher_->process(in, wanted, false);
  slot.nextFeed += static_cast<double>(wanted);
}

void CStretchFeeder::Append(Slot& slot, const float* frames, int count) {
  if (count <= 0) return;
  int ringStart = slot.ringStart.load(), ringCount = slot.ringCount.load();
  // The data goes in first, beyond the span the reader may use; then the span grows.
  int at = (ringStart + ringCount) % kRingFrames;
  int first = std::min(count, kRingFrames - at);
  std::memcpy(slot.ring.data() + 2 * static_cast<size_t>(at), frames, sizeof(float) * 2 * static_cast<size_t>(first));
  std::memcpy(slot.ring.data(), frames + 2 * first, sizeof(float) * 2 * static_cast<size_t>(count - first));
  double speed = slot.speed.load();
  int overflow = std::max(0, ringCount + count - kRingFrames);
  slot.version.fetch_add(1, std::memory_order_acq_rel);
  slot.ringStart.store((ringStart + overflow) % kRingFrames, std::memory_order_relaxed);
  slot.ringCount.store(ringCount + count - overflow, std::memory_order_relaxed);
  slot.sourceStart.store(slot.sourceStart.load() + overflow * speed, std::memory_order_relaxed);
  slot.sourceEnd.store(slot.sourceEnd.load() + count * speed, std::memory_order_relaxed);
  slot.version.fetch_add(1, std::memory_order_release);
}

bool CStretchFeeder::ReadSpan(const Slot& slot, Span& span) const noexcept {
  for (int attempt = 0; attempt < kSpanRetries; ++attempt) {
    unsigned before = slot.version.load(std::memory_order_acquire);
    if (before & 1) continue;
    span.sourceStart = slot.sourceStart.load(std::memory_order_relaxed);
    span.sourceEnd = slot.sourceEnd.load(std::memory_order_relaxed);
    span.speed = slot.speed.load(std::memory_order_relaxed);
    span.ringStart = slot.ringStart.load(std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_acquire);
    if (slot.version.load(std::memory_order_relaxed) == before) return true;
  }
  return false;
}

bool CStretchFeeder::ReadSlot(const Slot& slot, double pos, int frames, float* out) const noexcept {
  Span span;
  if (slot.ring.empty() || !ReadSpan(slot, span)) return false;
  if (!(span.sourceStart <= pos && pos + frames * span.speed < span.sourceEnd)) return false;
  long long index = static_cast<long long>((pos - span.sourceStart) / span.speed) + span.ringStart;
  int at = static_cast<int>(index % kRingFrames);
  int first = std::min(frames, kRingFrames - at);
  std::memcpy(out, slot.ring.data() + 2 * static_cast<size_t>(at), sizeof(float) * 2 * static_cast<size_t>(first));
  std::memcpy(out + 2 * first, slot.ring.data(), sizeof(float) * 2 * static_cast<size_t>(frames - first));
  return true;
}

bool CStretchFeeder::Render(double pos, int frames, float* out) noexcept {
  int active = activeSlot_.load(std::memory_order_acquire);
  int last = lastReadSlot_.load(std::memory_order_relaxed);
  bool ok = ReadSlot(slots_[active], pos, frames, out);
  if (ok && last != active && ReadSlot(slots_[last], pos, frames, fadeFrom_.data())) {
    int fade = std::min(frames, kSwapFadeFrames);
    for (int i = 0; i < 2 * fade; ++i) {
      float t = static_cast<float>(i) / (2 * fade);
      out[i] = fadeFrom_[static_cast<size_t>(i)] * (1.0f - t) + out[i] * t;
    }
  }
  // Only now may the feeder rebuild the slot faded out of (release: the reads above are done).
  lastReadSlot_.store(active, std::memory_order_release);
  return ok;
}

double CStretchFeeder::ActiveSpeed() const noexcept {
  return slots_[activeSlot_.load(std::memory_order_acquire)].speed.load(std::memory_order_relaxed);
}

double CStretchFeeder::ActiveScale() const noexcept {
  return slots_[activeSlot_.load(std::memory_order_acquire)].scale.load(std::memory_order_relaxed);
}

void CStretchFeeder::AcknowledgeSlot() noexcept {
  lastReadSlot_.store(activeSlot_.load(std::memory_order_acquire), std::memory_order_release);
}
