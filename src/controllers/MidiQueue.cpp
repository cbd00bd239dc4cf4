#include "controllers/MidiQueue.h"

#include "app/base/Trace.h"

void MidiQueue::SetWake(WakeFunction wake, void* wakeContext) {
  wakeContext_.store(wakeContext);
  wake_.store(wake);
}

bool MidiQueue::Push(void* context, int kind, int status, int channel, int data1, int data2,
                     int time) noexcept {
  bool accepted = false;
  {
    std::lock_guard<std::mutex> hold(lock_);
    if (count_ <= kMaxMessages) {
      ring_[(head_ + count_) % kCapacity] = {context, kind, status, channel, data1, data2, time};
      ++count_;
      accepted = true;
    }
  }
  if (!accepted) {
    dropped_.fetch_add(1, std::memory_order_relaxed);
    TraceLine("error - overload - maxMidiMessages = %d", kMaxMessages);
    return false;
  }
  // One wake-up per burst: only the push that finds the flag clear posts.
  if (!wakePosted_.exchange(true, std::memory_order_acq_rel)) {
    WakeFunction wake = wake_.load();
    if (wake) wake(wakeContext_.load());
  }
  return true;
}

bool MidiQueue::PushShortBytes(void* context, const unsigned char* bytes, size_t length, int time,
                               int kind) noexcept {
  if (length == 0 || bytes[0] == 0xFE || bytes[0] == 0xF8) return false;
  if (context == nullptr) return false;
  const int status = bytes[0];
  const int data1 = length > 1 ? bytes[1] : 0;
  const int data2 = length > 2 ? bytes[2] : 0;
  return Push(context, kind, status & 0xF0, status & 0x0F, data1, data2, time);
}

bool MidiQueue::Pop(MidiQueueMessage* message) {
  std::lock_guard<std::mutex> hold(lock_);
  if (count_ == 0) return false;
  *message = ring_[head_];
  head_ = (head_ + 1) % kCapacity;
  --count_;
  return true;
}

int MidiQueue::Size() const {
  std::lock_guard<std::mutex> hold(lock_);
  return count_;
}
