#include "audio/PreviewPlayer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

#include "app/base/Trace.h"
#include "audio/Threads.h"
#include "codecs/CodecChain.h"

namespace {

constexpr double kSecondsPerFrame = 2.2675736961451248e-05;  // 1 / 44100
constexpr size_t kFrameBytes = 2 * sizeof(float);

double SteadyMs() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

CZQPreviewPlayer::CZQPreviewPlayer(int index, bool silent)
    : index_(index), silent_(silent), chain_(std::make_unique<CCodecChain>(-1)), stopwatch_(&SteadyMs) {
  if (silent_) return;
  scratch_.reset(new float[2 * static_cast<size_t>(kReadFrames)]);
  reader_ = std::make_unique<CPeriodicThread>(
      [](void* self) { static_cast<CZQPreviewPlayer*>(self)->ReaderRound(); }, this, 0, kReaderPeriodMs,
      "preview reader");
}

CZQPreviewPlayer::~CZQPreviewPlayer() {
  if (reader_) reader_->Stop();
  Close();
}

void CZQPreviewPlayer::ResetCounters() {
  cueFrames_ = static_cast<int>(std::min<double>(std::llround(cueSeconds_ * kEngineRate), length_));
  framesPlayed_.store(0, std::memory_order_relaxed);
  framesRead_.store(cueFrames_, std::memory_order_relaxed);
  roundsRead_.store(0, std::memory_order_relaxed);
  allRead_.store(cueFrames_ >= length_, std::memory_order_relaxed);
  nearEndLatched_.store(false, std::memory_order_relaxed);
  events_.store(0, std::memory_order_relaxed);
  roundsDone_ = 0;
}

void CZQPreviewPlayer::Close() {
  opened_.store(false, std::memory_order_release);
  running_.store(false, std::memory_order_release);
  gate_.WaitUntilIdle();  // the audio thread has left the ring
  std::lock_guard lock(readerLock_);
  chain_->close();
  ring_.Reset();
  fileName_.clear();
  length_ = 0;
}

int CZQPreviewPlayer::OpenFileName(const std::string& path) {
  if (IsOpen() && path == fileName_) {
    running_.store(false, std::memory_order_release);
    gate_.WaitUntilIdle();
    std::lock_guard lock(readerLock_);
    ring_.Reset();
    ResetCounters();
    if (reader_) reader_->Wake();
    return 1;
  }
  Close();
  std::lock_guard lock(readerLock_);
  AudioFormat format = EngineFormat();
  if (!chain_->open(path, &format, 0, kReadFrames)) {
    TraceLine("CZQPreviewPlayer::OpenFileName -- file not opened: %s", path.c_str());
    return 0;
  }
  if (format.frames <= 0) {
    TraceLine("CZQPreviewPlayer::OpenFileName -- file has no length: %s", path.c_str());
    chain_->close();
    return 0;
  }
  fileName_ = path;
  length_ = format.frames;
  secondsPerRound_ = length_ * kSecondsPerFrame;
  ring_.Reset();
  ResetCounters();
  if (silent_) chain_->close();  // it only needed the length
  opened_.store(true, std::memory_order_release);
  if (reader_) reader_->Wake();
  return 1;
}

void CZQPreviewPlayer::SetDuration(double seconds) {
  // A streaming player's length is its file's: the audio and reader threads read it.
  if (!silent_ || !(seconds > 0)) return;
  secondsPerRound_ = seconds;
  length_ = static_cast<int>(seconds * kEngineRate);
}

int CZQPreviewPlayer::Play(int on) {
  if (!IsOpen()) return 0;
  if (on) {
    startMs_ = stopwatch_();
    roundsDone_ = 0;
  }
  running_.store(on != 0, std::memory_order_release);
  return 1;
}

void CZQPreviewPlayer::ReaderRound() {
  std::lock_guard lock(readerLock_);
  if (!IsOpen() || silent_) return;
  if (ring_.Filled() >= kRefillBelowBytes || allRead_.load(std::memory_order_relaxed)) return;
  long long read = framesRead_.load(std::memory_order_relaxed);
  int want = static_cast<int>(std::min<long long>(kReadFrames, length_ - read));
  int got = chain_->readFloat(scratch_.get(), want, static_cast<int>(read));
  if (got > 0) {
    ring_.Write(scratch_.get(), static_cast<size_t>(got) * kFrameBytes);
    read += got;
  }
  if (got <= 0 || read >= length_) {
    // The end of a round: back to the cue while repeats remain, so the ring runs on seamlessly.
    int rounds = roundsRead_.load(std::memory_order_relaxed) + 1;
    if (got > 0 && rounds < repeatCount_.load(std::memory_order_relaxed)) {
      roundsRead_.store(rounds, std::memory_order_relaxed);
      read = cueFrames_;
    } else {
      read = length_;
      allRead_.store(true, std::memory_order_release);  // nothing more to come
    }
  }
  framesRead_.store(read, std::memory_order_release);
}

void CZQPreviewPlayer::GetSamples(float* out, int frames) noexcept {
  RtGate::Section section(gate_);
  size_t bytes = static_cast<size_t>(frames) * kFrameBytes;
  if (silent_ || !opened_.load(std::memory_order_acquire) || !running_.load(std::memory_order_acquire)) {
    std::memset(out, 0, bytes);
    return;
  }
  const bool allRead = allRead_.load(std::memory_order_acquire);
  const bool lastRound = roundsRead_.load(std::memory_order_relaxed) + 1 >= repeatCount_.load(std::memory_order_relaxed);
  const long long read = framesRead_.load(std::memory_order_acquire);
  int lead = leadFrames_.load(std::memory_order_relaxed);
  if (lead >= 0 && (allRead || (lastRound && read >= length_ - lead)) &&
      !nearEndLatched_.exchange(true, std::memory_order_relaxed)) {
    RaiseEvents(kEventNearEnd);
  }
  if (ring_.Read(out, bytes)) {
    framesPlayed_.fetch_add(frames, std::memory_order_relaxed);
    return;
  }
  // The ring cannot fill this block: the end, or a reader that is behind.
  if (allRead) {
    // Play out the last part block before calling it the end.
    size_t rest = ring_.Filled();
    if (rest > 0 && ring_.Read(out, rest)) {
      std::memset(reinterpret_cast<char*>(out) + rest, 0, bytes - rest);
      framesPlayed_.fetch_add(static_cast<long long>(rest / kFrameBytes), std::memory_order_relaxed);
      return;
    }
    running_.store(false, std::memory_order_release);
    RaiseEvents(kEventEnd);
  } else if (reader_) {
    reader_->Wake();
  }
  std::memset(out, 0, bytes);
}

int CZQPreviewPlayer::FilePosition(long long played) const {
  const long long round = RoundFrames();
  if (round <= 0) return length_;
  const long long rounds = repeatCount_.load(std::memory_order_relaxed);
  if (played >= round * rounds) return length_;
  return static_cast<int>(cueFrames_ + played % round);
}

int CZQPreviewPlayer::SilentPosition() {
  if (!IsOpen() || length_ <= 0) return 0;
  long long frames = static_cast<long long>((stopwatch_() - startMs_) * 44.1);
  if (!IsRunning()) return cueFrames_;
  int lead = leadFrames_.load(std::memory_order_relaxed);
  long long total = static_cast<long long>(RoundFrames()) * repeatCount_.load(std::memory_order_relaxed);
  if (lead >= 0 && frames >= total - lead && !nearEndLatched_.exchange(true)) RaiseEvents(kEventNearEnd);
  if (frames >= total) {
    running_.store(false, std::memory_order_release);
    RaiseEvents(kEventEnd);
    return length_;
  }
  roundsDone_ = static_cast<int>(frames / RoundFrames());
  return FilePosition(frames);
}

int CZQPreviewPlayer::GetPosition() {
  int position = silent_ ? SilentPosition() : FilePosition(framesPlayed_.load(std::memory_order_relaxed));
  int events = events_.exchange(0, std::memory_order_acq_rel);
  if (events && callback_) callback_(events, index_, context_);
  return position;
}
