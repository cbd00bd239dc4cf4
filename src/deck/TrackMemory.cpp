#include "deck/TrackMemory.h"

#include <chrono>
#include <thread>

CTrackMemory::~CTrackMemory() { FreeAll(); }

bool CTrackMemory::ShouldStream(int blockCount, int limitKB) {
  return !(static_cast<long long>(blockCount) * 2 < limitKB / kBlockKB);
}

void CTrackMemory::Reset(int blockCount, bool streaming) {
  FreeAll();
  streaming_.store(streaming, std::memory_order_release);
  blockCount_.store(blockCount, std::memory_order_release);
}

void CTrackMemory::FreeAll() {
  int count = blockCount_.exchange(0, std::memory_order_acq_rel);
  (void)count;
  for (int i = 0; i < kMaxTrackBlocks; ++i) {
    if (blocks_[i].load(std::memory_order_relaxed)) Free(i);
    state_[i].store(kBlockAbsent, std::memory_order_relaxed);
  }
  presentCount_.store(0, std::memory_order_relaxed);
}

void CTrackMemory::Publish(int index, TrackBlock* block) {
  if (index < 0 || index >= kMaxTrackBlocks || !block) {
    delete block;
    return;
  }
  TrackBlock* old = blocks_[index].exchange(block, std::memory_order_acq_rel);
  if (old) {
    WaitForRenderToPass();
    delete old;
  } else {
    presentCount_.fetch_add(1, std::memory_order_relaxed);
  }
  state_[index].store(kBlockPresent, std::memory_order_release);
}

void CTrackMemory::Free(int index) {
  if (index < 0 || index >= kMaxTrackBlocks) return;
  state_[index].store(kBlockAbsent, std::memory_order_release);
  TrackBlock* block = blocks_[index].exchange(nullptr, std::memory_order_seq_cst);
  if (!block) return;
  presentCount_.fetch_sub(1, std::memory_order_relaxed);
  WaitForRenderToPass();
  delete block;
}

void CTrackMemory::Pin(int index) {
  if (TrackBlock* block = MutableBlock(index)) block->pinned = 1;
}

TrackBlock* CTrackMemory::MutableBlock(int index) {
  if (index < 0 || index >= kMaxTrackBlocks) return nullptr;
  return blocks_[index].load(std::memory_order_acquire);
}

bool CTrackMemory::Present(int index) const {
  return index >= 0 && index < kMaxTrackBlocks &&
         state_[index].load(std::memory_order_acquire) != kBlockAbsent;
}

int CTrackMemory::percentLoaded() const {
  if (streaming()) return 100;
  int count = blockCount();
  if (count <= 0) return 0;
  return static_cast<int>(static_cast<long long>(presentCount()) * 100 / count);
}

void CTrackMemory::WaitForRenderToPass() const {
  // The pointer is already out of the table (seq_cst). A render that started after that cannot
  // see it; one in progress (odd count) might, so wait for the count to move on.
  const std::atomic<unsigned>* counts[] = {&renderCount_, &feedCount_};
  for (const std::atomic<unsigned>* count : counts) {
    unsigned seen = count->load(std::memory_order_seq_cst);
    if ((seen & 1) == 0) continue;
    while (count->load(std::memory_order_seq_cst) == seen) {
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
  }
}
