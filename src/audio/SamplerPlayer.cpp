#include "audio/SamplerPlayer.h"

#include <cmath>
#include <cstring>

#include "app/base/Trace.h"
#include "audio/BeatClock.h"
#include "audio/Mixer.h"
#include "codecs/CodecChain.h"

namespace {

constexpr float kInt16ToFloat = 3.0517578e-5f;  // 1/32768: samples are not scaled like decks
constexpr double kFramesPerMinute = 2.646e6;    // 60 * 44100
constexpr int kReadChunk = 44100;

CSamplerPlayer::MessageHook g_messageHook = nullptr;

double Fraction(double x) { return x - std::floor(x); }

}  // namespace

CSamplerPlayer::CSamplerPlayer(int index) : index_(index) {}

CSamplerPlayer::~CSamplerPlayer() { Unload(); }

void CSamplerPlayer::SetMessageHook(MessageHook hook) { g_messageHook = hook; }

void CSamplerPlayer::Unload() {
  playing_.store(false, std::memory_order_release);
  loaded_.store(false, std::memory_order_release);
  gate_.WaitUntilIdle();  // the audio thread no longer reads data_
  std::vector<short>().swap(data_);
  length_ = 0;
}

int CSamplerPlayer::Load(const std::string& path) {
  Unload();
  CCodecChain chain(-1);
  AudioFormat format = EngineFormat();
  if (!chain.open(path, &format, 0, kReadChunk)) {
    TraceLine("sampler %d: no decoder takes %s", index_, path.c_str());
    return 0;
  }
  std::vector<short> frames;
  std::vector<short> chunk(2 * static_cast<size_t>(kReadChunk));
  for (int at = 0;; at += kReadChunk) {
    int got = chain.read16(chunk.data(), kReadChunk, at);
    if (got <= 0) break;
    frames.insert(frames.end(), chunk.begin(), chunk.begin() + 2 * got);
    if (got < kReadChunk) break;
  }
  chain.close();
  if (frames.empty()) {
    TraceLine("sampler %d: %s holds no audio", index_, path.c_str());
    return 0;
  }
  return LoadFrames(std::move(frames));
}

int CSamplerPlayer::LoadFrames(std::vector<short> interleaved) {
  Unload();
  if (interleaved.size() < 2) return 0;
  data_ = std::move(interleaved);
  length_ = static_cast<int>(data_.size() / 2);
  position_.store(0.0, std::memory_order_relaxed);
  rewindRequest_.store(false, std::memory_order_relaxed);
  seekRequest_.store(0.0, std::memory_order_relaxed);
  loaded_.store(true, std::memory_order_release);
  return 1;
}

double CSamplerPlayer::BeatLength() const {
  int beats = beats_.load(std::memory_order_relaxed);
  return beats > 0 && length_ > 0 ? static_cast<double>(length_) / beats : 22050.0;
}

float CSamplerPlayer::GetBpm() {
  int beats = beats_.load(std::memory_order_relaxed);
  if (!IsLoaded() || beats <= 0 || length_ <= 0) return 0.0f;
  return static_cast<float>(kFramesPerMinute / (static_cast<double>(length_) / beats));
}

int CSamplerPlayer::Play(int on) {
  if (!on) {
    playing_.store(false, std::memory_order_release);
    rewindRequest_.store(true, std::memory_order_release);
    return 1;
  }
  if (!IsLoaded()) return 0;
  if (!loop_.load(std::memory_order_relaxed)) rewindRequest_.store(true, std::memory_order_release);
  if (autoSync_) {
    // Of decks 0 and 1, the one the crossfader favours if it plays, else the other if it
    // plays, else the favoured one.
    if (crossfaderSource_) crossfader_ = crossfaderSource_->CrossfaderPosition();
    int favoured = crossfader_ >= 64 ? 1 : 0;
    CBeatClock* first = syncDecks_[favoured];
    CBeatClock* second = syncDecks_[1 - favoured];
    CBeatClock* pick = first && first->ReadBeat().playing ? first
                       : second && second->ReadBeat().playing ? second
                                                              : first;
    if (pick) SyncTo(pick);
  }
  playing_.store(true, std::memory_order_release);
  return 1;
}

int CSamplerPlayer::SyncTo(CBeatClock* deck) {
  float own = GetBpm();
  if (own <= 0.0f) {
    TraceLine("sampler %d: no tempo to sync with (set its beats)", index_);
    if (g_messageHook) g_messageHook(kNoTempoString);
    return 0;
  }
  if (!deck) return 0;
  BeatReading reading = deck->ReadBeat();
  if (reading.bpm <= 0.0f) return 0;
  double ratio = (reading.pitch * 0.0001 + 1.0) * reading.bpm / own;
  long q = std::lround((ratio - 1.0) * 10000.0);
  if (q < -kMaxPitch || q > kMaxPitch) return 0;  // out of reach: plays at its own tempo
  syncDeck_.store(deck, std::memory_order_relaxed);
  targetRate_.store((q * 0.0001 + 1.0) * baseRate_, std::memory_order_relaxed);
  syncPending_.store(true, std::memory_order_release);
  return 1;
}

void CSamplerPlayer::Seek(double deltaFrames) {
  if (!IsLoaded() || !std::isfinite(deltaFrames)) return;
  double old = seekRequest_.load(std::memory_order_relaxed);
  while (!seekRequest_.compare_exchange_weak(old, old + deltaFrames, std::memory_order_acq_rel)) {
  }
}

int CSamplerPlayer::PollEvents() {
  if (!ended_.exchange(false, std::memory_order_acq_rel)) return 0;
  if (callback_) callback_(0, index_, -1, context_);
  return 1;
}

// --- audio thread ---

bool CSamplerPlayer::SeekBy(double& pos, double delta) const noexcept {
  if (BeatLength() <= 0.0) return false;
  double next = pos + delta;
  if (loop_.load(std::memory_order_relaxed)) {
    pos = next - std::floor(next / length_) * length_;
    return true;
  }
  if (next < 0.0 || next >= length_) return false;
  pos = next;
  return true;
}

void CSamplerPlayer::TakeRequests() noexcept {
  double pos = position_.load(std::memory_order_relaxed);
  if (rewindRequest_.exchange(false, std::memory_order_acq_rel)) pos = 0.0;
  double delta = seekRequest_.exchange(0.0, std::memory_order_acq_rel);
  if (delta != 0.0) SeekBy(pos, delta);
  // A new rate starts on a whole frame: the step's fraction is dropped, so a rate change lands
  // on the same sample whatever the old rate left behind. Taken before a sync's alignment.
  const double target = targetRate_.load(std::memory_order_relaxed);
  if (target != appliedRate_.load(std::memory_order_relaxed)) {
    appliedRate_.store(target, std::memory_order_relaxed);
    step_.store(baseRate_ * target, std::memory_order_relaxed);
    pos = std::floor(pos);
  }
  position_.store(pos, std::memory_order_relaxed);
}

// Lines the sampler's place in its beat up with the deck's, looking 22 ms ahead on the deck.
void CSamplerPlayer::AlignToDeck() noexcept {
  syncPending_.store(false, std::memory_order_relaxed);
  CBeatClock* deck = syncDeck_.load(std::memory_order_relaxed);
  if (!deck) return;
  BeatReading reading = deck->ReadBeat();
  double ownBeat = BeatLength();
  double pos = position_.load(std::memory_order_relaxed);
  double own = Fraction(pos / ownBeat);
  double theirs = Fraction(reading.phase + kSyncLookAheadFrames / std::max(1.0, reading.beatFrames));
  double e = own - theirs;
  if (e > 0.5) e -= 1.0;
  if (e < -0.5) e += 1.0;
  double rate = targetRate_.load(std::memory_order_relaxed);
  if (SeekBy(pos, (rate < 0 ? e : -e) * ownBeat)) position_.store(pos, std::memory_order_relaxed);
}

void CSamplerPlayer::PrepareBlock(int phase) noexcept {
  RtGate::Section section(gate_);
  if (!loaded_.load(std::memory_order_acquire)) return;
  if (phase == 0) TakeRequests();
  if (phase == 1 && syncPending_.load(std::memory_order_acquire) && playing_.load(std::memory_order_acquire)) {
    AlignToDeck();
  }
}

void CSamplerPlayer::Interpolate(double pos, float* frame) const noexcept {
  long base = static_cast<long>(pos);
  double t = pos - static_cast<double>(base);
  long next = base + 1 < length_ ? base + 1 : 0;  // the frame after the last leans on frame 0
  const short* a = &data_[2 * static_cast<size_t>(base)];
  const short* b = &data_[2 * static_cast<size_t>(next)];
  for (int c = 0; c < 2; ++c) {
    frame[c] = static_cast<float>((a[c] + (b[c] - a[c]) * t) * kInt16ToFloat);
  }
}

// The sample ran off one end without a loop: the rest of the block is silent, the player
// stops at `restart`, and the tick hears of it.
void CSamplerPlayer::Finish(float* out, int from, int frames, double restart) noexcept {
  std::memset(out + 2 * from, 0, sizeof(float) * 2 * static_cast<size_t>(frames - from));
  position_.store(restart, std::memory_order_relaxed);
  playing_.store(false, std::memory_order_release);
  ended_.store(true, std::memory_order_release);
}

void CSamplerPlayer::GetSamples(float* out, int frames) noexcept {
  RtGate::Section section(gate_);
  if (!loaded_.load(std::memory_order_acquire) || !playing_.load(std::memory_order_acquire)) {
    std::memset(out, 0, sizeof(float) * 2 * static_cast<size_t>(frames));
    return;
  }
  TakeRequests();  // a rewind posted after this block's PrepareBlock still lands before sound
  const double step = step_.load(std::memory_order_relaxed);
  bool loop = loop_.load(std::memory_order_relaxed);
  double last = length_ - 1;
  double pos = position_.load(std::memory_order_relaxed);
  for (int i = 0; i < frames; ++i) {
    if (pos > last) {
      if (!loop) return Finish(out, i, frames, 0.0);
      pos -= std::floor(pos / length_) * length_;
    } else if (pos < 0.0) {
      if (!loop) return Finish(out, i, frames, last);
      pos += std::ceil(-pos / length_) * length_;
      if (pos > last) pos = last;
    }
    Interpolate(pos, out + 2 * i);
    pos += step;
  }
  position_.store(pos, std::memory_order_relaxed);
}
