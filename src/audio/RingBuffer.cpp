#include "audio/RingBuffer.h"

#include <algorithm>
#include <cstring>

CRingBuffer::CRingBuffer(size_t bytes, bool locked)
    : data_(new unsigned char[bytes > 0 ? bytes : 1]()), size_(bytes),
      lock_(locked ? std::make_unique<CCritSect>() : nullptr) {}

bool CRingBuffer::Lock() noexcept {
  if (!lock_) return true;
  if (rt::OnAudioThread()) return lock_->TryEnter();
  lock_->Enter();
  return true;
}

void CRingBuffer::Unlock() noexcept {
  if (lock_) lock_->Leave();
}

bool CRingBuffer::Write(const void* source, size_t bytes) noexcept {
  if (bytes == 0 || !Lock()) return false;
  // Acquire pairs with the reader's release: the bytes it freed are no longer being read.
  bool fits = bytes <= size_ - filled_.load(std::memory_order_acquire);
  if (fits) {
    const auto* in = static_cast<const unsigned char*>(source);
    size_t first = std::min(bytes, size_ - writePos_);
    std::memcpy(data_.get() + writePos_, in, first);
    std::memcpy(data_.get(), in + first, bytes - first);
    writePos_ = (writePos_ + bytes) % size_;
    filled_.fetch_add(bytes, std::memory_order_release);
  }
  Unlock();
  return fits;
}

bool CRingBuffer::Read(void* destination, size_t bytes) noexcept {
  if (!Lock()) return false;
  bool available = bytes <= filled_.load(std::memory_order_acquire);
  if (available) {
    if (destination) {
      auto* out = static_cast<unsigned char*>(destination);
      size_t first = std::min(bytes, size_ - readPos_);
      std::memcpy(out, data_.get() + readPos_, first);
      std::memcpy(out + first, data_.get(), bytes - first);
    }
    readPos_ = size_ ? (readPos_ + bytes) % size_ : 0;
    filled_.fetch_sub(bytes, std::memory_order_release);
  }
  Unlock();
  return available;
}

void CRingBuffer::Reset() noexcept {
  if (!Lock()) return;
  readPos_ = writePos_ = 0;
  filled_.store(0, std::memory_order_release);
  Unlock();
}
