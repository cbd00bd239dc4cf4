#pragma once
// RtGate: lets a main-thread call wait until the audio thread is out of a section, so it can
// free or reopen what that section reads. The audio side only counts itself in and out; the
// waiting side first withdraws the flag the section checks, then waits for the count to drop.

#include <atomic>
#include <thread>

#include "app/base/Realtime.h"

class RtGate {
 public:
  LUMO_RT void Enter() noexcept { inside_.fetch_add(1, std::memory_order_acq_rel); }
  LUMO_RT void Leave() noexcept { inside_.fetch_sub(1, std::memory_order_release); }
  // Not on the audio thread. Returns once no audio-thread section is running.
  void WaitUntilIdle() const {
    while (inside_.load(std::memory_order_acquire) != 0) std::this_thread::yield();
  }

  // Scoped use on the audio side.
  class Section {
   public:
    explicit Section(RtGate& gate) noexcept : gate_(gate) { gate_.Enter(); }
    ~Section() { gate_.Leave(); }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

   private:
    RtGate& gate_;
  };

 private:
  std::atomic<int> inside_{0};
};
