#pragma once
// CCritSect: the program's mutex. The audio thread may only TryEnter; a blocking Enter made on
// the audio thread is counted so the real-time tests catch it.

#include <mutex>

#include "app/base/Realtime.h"

class CCritSect {
 public:
  void Enter() {
    if (rt::OnAudioThread() && !mutex_.try_lock()) {
      rt::NoteBlockingWaitOnAudioThread();
      mutex_.lock();
      return;
    }
    if (!rt::OnAudioThread()) mutex_.lock();
  }
  LUMO_RT bool TryEnter() noexcept { return mutex_.try_lock(); }
  LUMO_RT void Leave() noexcept { mutex_.unlock(); }

  // For std::lock_guard and friends.
  void lock() { Enter(); }
  bool try_lock() noexcept { return TryEnter(); }
  void unlock() noexcept { Leave(); }

 private:
  std::mutex mutex_;
};
