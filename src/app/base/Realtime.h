#pragma once
// The real-time rule made executable. The device back ends mark the thread that runs the mix
// with AudioThreadScope; functions the audio thread may call carry LUMO_RT in their
// declarations and must not allocate, block, log or wait. Test builds count allocations and
// blocking lock attempts made while the mark is set and fail on any.

// Tag for functions that run on the audio thread.
#define LUMO_RT

namespace rt {

bool OnAudioThread() noexcept;

// Marks the current thread as the audio thread for its lifetime (nests).
class AudioThreadScope {
 public:
  AudioThreadScope() noexcept;
  ~AudioThreadScope();
  AudioThreadScope(const AudioThreadScope&) = delete;
  AudioThreadScope& operator=(const AudioThreadScope&) = delete;

 private:
  bool previous_;
};

// Lock wrappers call this when they are about to wait on the audio thread.
void NoteBlockingWaitOnAudioThread() noexcept;
unsigned long BlockingWaitsOnAudioThread() noexcept;

}  // namespace rt
