#include "audio/MixRecorder.h"

#include <algorithm>
#include <cmath>
#include <thread>

#include "app/base/Trace.h"
#include "audio/Threads.h"
#include "codecs/PathRules.h"

namespace {

constexpr int kFrameBytes = 4;  // 16-bit stereo
constexpr int kRingFrames = CMixRecorder::kRingBytes / kFrameBytes;

}  // namespace

bool IsMp3Path(const std::string& path) { return EndsWith(ToLowerAscii(path), ".mp3"); }

std::string WithRecordingExtension(const std::string& path, bool mp3) {
  if (IsMp3Path(path) || EndsWith(ToLowerAscii(path), ".wav")) return path;
  return path + (mp3 ? ".mp3" : ".wav");
}

CMixRecorder::CMixRecorder()
    : tapBuffer_(new short[2 * kMaxBlockFrames]), writerBuffer_(new short[2 * kRingFrames]) {
  lame_.bitRate = 128;
  lame_.channelOption = 1;
}

CMixRecorder::~CMixRecorder() { Stop(); }

int CMixRecorder::Start(const std::string& path) {
  if (IsRecording()) {
    TraceLine("recorder: already recording");
    return 0;
  }
  useMp3_ = IsMp3Path(path);
  if (useMp3_ && !HasEncoder()) {
    TraceLine("recorder: %s wants MP3, but LAME (libmp3lame.so.0) is not installed", path.c_str());
    return 0;
  }
  writer_ = useMp3_ ? static_cast<CBaseCodec*>(&lame_) : static_cast<CBaseCodec*>(&wav_);
  AudioFormat format{kEngineRate, 2, 16, 16, 0, 0};
  ring_.Reset();  // neither side runs: not recording, and Stop waited for the tap to leave
  failed_.store(false, std::memory_order_relaxed);
  framesTaken_.store(0, std::memory_order_relaxed);
  dropped_.store(0, std::memory_order_relaxed);
  if (!writer_->open(path, &format, 1)) {
    TraceLine("recorder: can not create %s", path.c_str());
    return 0;
  }
  thread_ = std::make_unique<CPeriodicThread>(&CMixRecorder::WriterEntry, this, 1, kWriterPeriodMs,
                                              "recorder");
  recording_.store(true, std::memory_order_release);
  TraceLine("recorder: recording to %s", path.c_str());
  return 1;
}

void CMixRecorder::WaitForTapToLeave() const {
  while (inTap_.load(std::memory_order_acquire) != 0) std::this_thread::yield();
}

int CMixRecorder::Stop() {
  if (!IsRecording()) return 1;
  // No block enters after this; one already inside Tap finishes first, so the drain below
  // sees the whole tail.
  recording_.store(false, std::memory_order_release);
  WaitForTapToLeave();
  thread_->Stop();
  thread_.reset();
  WriterRound();
  bool ok = !failed_.load(std::memory_order_acquire);
  writer_->close();
  TraceLine("recorder: stopped after %.1f s%s", Duration(), ok ? "" : " (the file is incomplete)");
  if (unsigned long lost = DroppedBlocks()) TraceLine("recorder: %lu blocks were lost to a full ring", lost);
  failed_.store(false, std::memory_order_relaxed);
  return ok ? 1 : 0;
}

int CMixRecorder::Tap(const float* master, int frames) noexcept {
  inTap_.fetch_add(1, std::memory_order_acq_rel);
  int result = 1;
  if (recording_.load(std::memory_order_acquire) && master && frames > 0 && frames <= kMaxBlockFrames) {
    short* pcm = tapBuffer_.get();
    for (int i = 0; i < 2 * frames; ++i) {
      // In double, rounded to nearest with ties to even like the output stage.
      double scaled = std::clamp(static_cast<double>(master[i]) * kScale, -32768.0, 32767.0);
      pcm[i] = static_cast<short>(std::lrint(scaled));
    }
    if (ring_.Write(pcm, static_cast<size_t>(frames) * kFrameBytes)) {
      framesTaken_.fetch_add(frames, std::memory_order_relaxed);
    } else {
      dropped_.fetch_add(1, std::memory_order_relaxed);
    }
    // Past half full the writer is behind its period (a loaded machine): call it now.
    if (ring_.Filled() > ring_.Size() / 2 && thread_) thread_->Wake();
    result = failed_.load(std::memory_order_relaxed) ? 0 : frames;
  }
  inTap_.fetch_sub(1, std::memory_order_release);
  return result;
}

void CMixRecorder::WriterEntry(void* self) { static_cast<CMixRecorder*>(self)->WriterRound(); }

void CMixRecorder::WriterRound() {
  bool wrote = false;
  for (;;) {
    int frames = static_cast<int>(std::min<size_t>(ring_.Filled() / kFrameBytes, kRingFrames));
    if (frames <= 0 || !ring_.Read(writerBuffer_.get(), static_cast<size_t>(frames) * kFrameBytes)) break;
    if (failed_.load(std::memory_order_relaxed)) continue;  // the file is lost; keep the ring moving
    if (writer_->write(writerBuffer_.get(), frames) != frames) {
      TraceLine("recorder: writing failed after %.1f s", writer_->durationSeconds());
      failed_.store(true, std::memory_order_release);
    }
    wrote = true;
  }
  if (wrote && !useMp3_ && !failed_.load(std::memory_order_relaxed) && !wav_.flushHeader()) {
    TraceLine("recorder: writing failed after %.1f s", wav_.durationSeconds());
    failed_.store(true, std::memory_order_release);
  }
}
