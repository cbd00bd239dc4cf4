#pragma once
// The hand-off from the MIDI drivers' callback threads to the GUI thread. Every open input calls
// back on its own thread, so the queue takes a short lock; a push copies 32 bytes and never
// waits on anything else. The GUI thread drains the whole burst in one go after one wake-up.
//
// Threads: Push* from any thread (no allocation); Drain on the GUI thread only.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

// One queued message, 32 bytes. `kind` -1 is a generic controller (context: its controller);
// kIdentityReplyKind carries the five identity bytes of a sysex reply in data1 (four, high byte
// first) and data2 (the fifth), so that matching runs on the GUI thread.
struct MidiQueueMessage {
  void* context;
  int32_t kind;
  int32_t status;
  int32_t channel;
  int32_t data1;
  int32_t data2;
  int32_t time;
};
static_assert(sizeof(MidiQueueMessage) == 32, "the queue moves 32-byte records");

constexpr int32_t kGenericControllerKind = -1;
constexpr int32_t kIdentityReplyKind = 1000;

class MidiQueue {
 public:
  // The queue holds at most this many messages plus one: a push made while more than this many
  // wait is dropped with a log line.
  static constexpr int kMaxMessages = 250;

  // `wake` runs (on the pushing thread) when the first message after a drain arrives; it must
  // only post an event. Null means nobody is woken (tests drain by hand).
  using WakeFunction = void (*)(void* wakeContext);
  void SetWake(WakeFunction wake, void* wakeContext);

  // False when the message was dropped because the queue was full.
  bool Push(void* context, int kind, int status, int channel, int data1, int data2, int time) noexcept;

  // A raw short message from a driver: active sensing (0xFE) and clock (0xF8) are dropped
  // before anything else; a status byte is split into status (channel bits cleared) and
  // channel. Returns false for a dropped or empty message. `kind` is the generic controller's
  // unless a built-in console's input pushes.
  bool PushShortBytes(void* context, const unsigned char* bytes, size_t length, int time,
                      int kind = -1) noexcept;

  // Hands every waiting message to `handle` in arrival order; returns how many. Messages pushed
  // while the drain runs are delivered by this drain or the next one.
  template <typename Handler>
  int Drain(Handler&& handle) {
    int delivered = 0;
    MidiQueueMessage message;
    while (Pop(&message)) {
      handle(message);
      ++delivered;
    }
    wakePosted_.store(false, std::memory_order_release);
    // A message that arrived between the last pop and the clear would otherwise wait for the
    // next one; deliver it now.
    while (Pop(&message)) {
      handle(message);
      ++delivered;
    }
    return delivered;
  }

  int Size() const;
  unsigned long Dropped() const { return dropped_.load(std::memory_order_relaxed); }

 private:
  bool Pop(MidiQueueMessage* message);

  static constexpr int kCapacity = 256;  // above kMaxMessages + 1
  mutable std::mutex lock_;
  std::array<MidiQueueMessage, kCapacity> ring_{};
  int head_ = 0;
  int count_ = 0;
  std::atomic<bool> wakePosted_{false};
  std::atomic<unsigned long> dropped_{0};
  std::atomic<WakeFunction> wake_{nullptr};
  std::atomic<void*> wakeContext_{nullptr};
};
