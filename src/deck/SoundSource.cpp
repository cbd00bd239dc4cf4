// The deck's construction and its transport commands (main thread, scripts).

#include "deck/SoundSource.h"

#include <algorithm>
#include <cmath>

#include "audio/Threads.h"
#include "codecs/CodecChain.h"
#include "deck/DeckAnalysis.h"
#include "deck/StretchFeeder.h"

namespace {
constexpr int kLoaderPeriodMs = 250;
constexpr int kMaxSearchStepSeconds = 300;
constexpr double kMaxSpeed = 32.0;

}  // namespace

// The data root would hold a swap file for blocks; blocks never leave memory, so it goes unused.
CSoundSource::CSoundSource(int id, const std::string& /*dataRoot*/)
    : id_(id), codec_(std::make_unique<CCodecChain>(id)) {
  std::fill(std::begin(cueHold_), std::end(cueHold_), -1);
  stretch_ = std::make_unique<CStretchFeeder>(*this);
  std::string name = "deck loader " + std::to_string(id);
  loaderThread_ = std::make_unique<CPeriodicThread>(&CSoundSource::LoaderThreadEntry, this, 0,
                                                    kLoaderPeriodMs, name.c_str());
}

CSoundSource::~CSoundSource() {
  quit.store(1, std::memory_order_release);
  loaderThread_->Stop();
  stretch_.reset();
  if (analysisThread_) analysisThread_->Wait(30000);
  analysisThread_.reset();
  // What was analysed during the session is kept: the track still loaded at close is saved
  // as an unload would save it. Its analysis port outlives the deck.
  if (fileOpen.load(std::memory_order_acquire) && analysis()) analysis()->SaveStripes(*this);
  fileOpen.store(0, std::memory_order_release);
  memory.FreeAll();
  codec_->close();
}

void CSoundSource::LoaderThreadEntry(void* self) { static_cast<CSoundSource*>(self)->loaderPass(); }

void CSoundSource::WakeLoader() noexcept {
  if (loaderThread_) loaderThread_->Wake();
}

void CSoundSource::SetCallbacks(TransportCallback onTransport, LoadedCallback onLoaded) {
  onTransport_ = onTransport;
  onLoaded_ = onLoaded;
}

void CSoundSource::FireTransport(int event) {
  if (onTransport_) onTransport_(event, id_);
}

void CSoundSource::DeliverTransportEvents() {
  int event = pendingTransport_.exchange(-1, std::memory_order_acq_rel);
  if (event >= 0) FireTransport(event);
}

bool CSoundSource::isReady() const {
  return fileOpen.load(std::memory_order_acquire) && !loadPending.load(std::memory_order_acquire) &&
         !seekPending.load(std::memory_order_acquire) && !quit.load(std::memory_order_acquire);
}

bool CSoundSource::AnalysisShouldStop() const {
  return loadPending.load(std::memory_order_acquire) || quit.load(std::memory_order_acquire);
}

std::string CSoundSource::FilePath() const {
  std::lock_guard lock(requestLock_);
  return filePath_;
}

int CSoundSource::GetPosition() {
  return static_cast<int>(std::lround(position.load(std::memory_order_acquire) - 0.5));
}

// A streamed track's tempo comes from the ten-second window under the play head. Blocks may be
// freed by the loader at any moment, so only the loader reads them and publishes the value.
float CSoundSource::GetBpm() {
  if (memory.streaming()) {
    float window = windowBpm_.load(std::memory_order_relaxed);
    if (window > 0.0f) return window;
  }
  return bpm.load(std::memory_order_relaxed);
}

int CSoundSource::load(const std::string& path, int autoPlay, TSongRecord* record, int) {
  if (loadPending.load(std::memory_order_acquire)) return 0;
  syncPending.store(0, std::memory_order_release);  // a nudge meant for the old track
  setPlaying(0);
  ready.store(0, std::memory_order_release);
  statusCode.store(kStatusLoading, std::memory_order_release);
  {
    std::lock_guard lock(requestLock_);
    requestedPath_ = path;
    requestedRecord_ = record;
    requestedAutoPlay_ = autoPlay;
  }
  // Every load parks at the first sound, whatever the caller asked.
  startAtFirstSound_.store(1, std::memory_order_release);
  loadPending.store(1, std::memory_order_release);
  WakeLoader();
  return 1;
}

int CSoundSource::unload() {
  if (!load("---$", 0, nullptr, 0)) return 0;
  pitch.store(0, std::memory_order_relaxed);
  direction.store(1, std::memory_order_relaxed);
  brake.store(0, std::memory_order_relaxed);
  return 1;
}

int CSoundSource::setPlaying(int state) {
  int was = playing.load(std::memory_order_acquire);
  int now = state < 0 ? !was : (state != 0);
  if (now == was) return 1;
  if (!now) {
    playing.store(0, std::memory_order_release);
    scratchArmed.store(0, std::memory_order_relaxed);
    FireTransport(0);
  } else {
    movedWhileStopped.store(0, std::memory_order_relaxed);
    playing.store(1, std::memory_order_release);
    FireTransport(everPlayed.exchange(1, std::memory_order_acq_rel) ? 1 : 2);
  }
  return 1;
}

int CSoundSource::seek(int frame) {
  // An empty deck has nowhere to go: a target kept now would move the next track.
  if (!fileOpen.load(std::memory_order_acquire) || scratching.load(std::memory_order_relaxed) || loadPending.load(std::memory_order_acquire) ||
      seekPending.load(std::memory_order_acquire)) {
    return 0;
  }
  seekTarget.store(frame, std::memory_order_relaxed);
  seekPending.store(1, std::memory_order_release);
  WakeLoader();
  return 1;
}

int CSoundSource::backToTop() {
  setPlaying(0);
  endLoop(1);
  position.store(0.0, std::memory_order_release);
  stopAtCue.store(0, std::memory_order_relaxed);
  movedWhileStopped.store(0, std::memory_order_relaxed);
  return 1;
}

int CSoundSource::playFromCue() {
  if (!fileOpen.load(std::memory_order_acquire)) return 0;
  // The position moves before the deck starts, so the first block played is the cue's.
  endLoop(1);
  int cue = cuePos.load(std::memory_order_relaxed);
  position.store(cue, std::memory_order_release);
  codec_->notifySeek(cue, 1);
  setPlaying(1);
  WakeLoader();  // the loader fetches the blocks around the cue
  return 1;
}

int CSoundSource::setCueHere() {
  movedWhileStopped.store(0, std::memory_order_relaxed);
  cuePos.store(GetPosition(), std::memory_order_relaxed);
  WakeLoader();  // the loader pins the blocks around the cue
  return 1;
}

void CSoundSource::setTargetSpeed(double value) {
  // A rate that is not a number would poison the position and every span check after it.
  if (!std::isfinite(value)) return;
  targetSpeed.store(std::clamp(value, -kMaxSpeed, kMaxSpeed), std::memory_order_relaxed);
}

void CSoundSource::searchStart(int dir) {
  searchBack_.store(dir < 0 ? 0 : -1, std::memory_order_relaxed);
  searchForward_.store(dir < 0 ? -1 : 0, std::memory_order_relaxed);
}

void CSoundSource::searchStop() {
  searchBack_.store(-1, std::memory_order_relaxed);
  searchForward_.store(-1, std::memory_order_relaxed);
}

void CSoundSource::SearchTick() {
  bool back = searchBack_.load(std::memory_order_relaxed) >= 0;
  std::atomic<int>& counter = back ? searchBack_ : searchForward_;
  int count = counter.load(std::memory_order_relaxed);
  if (count < 0) return;
  int dir = back ? -1 : 1;
  int step = std::clamp(count, 1, kMaxSearchStepSeconds);
  if (!seekPending.load(std::memory_order_acquire) && !scratching.load(std::memory_order_relaxed) &&
      isReady()) {
    double target = position.load(std::memory_order_relaxed) + dir * step * double(kEngineRate);
    target = std::clamp(target, 0.0, std::max(0.0, lengthFrames.load(std::memory_order_relaxed) - 1.0));
    seek(static_cast<int>(target));
  }
  // A stop in between wins: only a count still running grows.
  counter.compare_exchange_strong(count, count + std::max(1, count / 10), std::memory_order_relaxed);
}
