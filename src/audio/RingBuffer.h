#pragma once
// CRingBuffer: a byte ring for one writer and one reader. Write and Read never block and never
// do part of a request: Write fails when the request is 0 or exceeds the free space, Read fails
// when it exceeds the filled space; a Read with a null destination skips.
// Without a lock the hand-off is lock-free (release/acquire on the fill count). With a lock
// (chosen at construction) both sides take it; the audio thread takes it with try-lock and a
// busy lock makes that call fail.

#include <atomic>
#include <cstddef>
#include <memory>

#include "audio/CritSect.h"

class CRingBuffer {
 public:
  CRingBuffer(size_t bytes, bool locked);

  LUMO_RT bool Write(const void* source, size_t bytes) noexcept;
  LUMO_RT bool Read(void* destination, size_t bytes) noexcept;
  // Empties the ring; the reader side calls it (or anyone, while neither side runs).
  void Reset() noexcept;

  size_t Size() const { return size_; }
  size_t Filled() const { return filled_.load(std::memory_order_acquire); }
  size_t Free() const { return size_ - Filled(); }

 private:
  bool Lock() noexcept;
  void Unlock() noexcept;

  std::unique_ptr<unsigned char[]> data_;
  size_t size_;
  size_t readPos_ = 0;   // reader's alone
  size_t writePos_ = 0;  // writer's alone
  std::atomic<size_t> filled_{0};
  std::unique_ptr<CCritSect> lock_;
};
