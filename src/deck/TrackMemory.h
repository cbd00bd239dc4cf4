#pragma once
// CTrackMemory: a deck's table of one-second blocks. The loader thread alone fills, publishes
// and frees blocks; the audio thread only reads them, without a lock. A block is filled before
// its pointer is published (release), and a reader that finds a null pointer treats the block
// as not yet there.
//
// Freeing is the one hazard: the audio thread may be reading a block at that moment. The audio
// thread brackets each render with EnterRender/LeaveRender (a counter, odd while inside), and
// Free waits, on the loader thread, until any render that could have seen the pointer is over.
// The audio thread never waits for anything.

#include <atomic>
#include <cstdint>

#include "app/base/Realtime.h"
#include "deck/TrackBlock.h"

// Blocks are never swapped out to disk: a block is absent or present.
enum BlockState : int8_t { kBlockAbsent = 0, kBlockPresent = 1 };

class CTrackMemory {
 public:
  static constexpr int kBlockKB = kTrackBlockFrames * 4 / 1024;  // 172

  CTrackMemory() = default;
  ~CTrackMemory();
  CTrackMemory(const CTrackMemory&) = delete;
  CTrackMemory& operator=(const CTrackMemory&) = delete;

  // A track is held whole when twice its blocks stay under the limit's share; otherwise it
  // streams through a window around the play head. A limit of 0 streams every track.
  static bool ShouldStream(int blockCount, int limitKB);

  // --- loader thread ---
  // Frees every block and sets up for a new track (0 blocks: empty).
  void Reset(int blockCount, bool streaming);
  void FreeAll();
  // Hands a filled block to the table; the table owns it from here.
  void Publish(int index, TrackBlock* block);
  // Removes and frees one block (no rules here; the deck decides what may go).
  void Free(int index);
  void Pin(int index);
  TrackBlock* MutableBlock(int index);

  // --- audio thread ---
  LUMO_RT void EnterRender() noexcept { renderCount_.fetch_add(1, std::memory_order_seq_cst); }
  LUMO_RT void LeaveRender() noexcept { renderCount_.fetch_add(1, std::memory_order_seq_cst); }
  // The key-lock feeder reads blocks too, on its own thread, under its own bracket.
  void EnterFeed() const noexcept { feedCount_.fetch_add(1, std::memory_order_seq_cst); }
  void LeaveFeed() const noexcept { feedCount_.fetch_add(1, std::memory_order_seq_cst); }
  LUMO_RT const TrackBlock* Block(int index) const noexcept {
    if (index < 0 || index >= kMaxTrackBlocks) return nullptr;
    return blocks_[index].load(std::memory_order_acquire);
  }

  // --- any thread ---
  bool Present(int index) const;
  int blockCount() const { return blockCount_.load(std::memory_order_acquire); }
  bool streaming() const { return streaming_.load(std::memory_order_acquire); }
  int presentCount() const { return presentCount_.load(std::memory_order_relaxed); }
  // 100 when streaming, else the share of blocks present.
  int percentLoaded() const;

 private:
  void WaitForRenderToPass() const;

  std::atomic<TrackBlock*> blocks_[kMaxTrackBlocks] = {};
  std::atomic<int8_t> state_[kMaxTrackBlocks] = {};
  std::atomic<int> blockCount_{0};
  std::atomic<int> presentCount_{0};
  std::atomic<bool> streaming_{false};
  std::atomic<unsigned> renderCount_{0};
  mutable std::atomic<unsigned> feedCount_{0};
};
