// The deck's cue commands: the cue button (return to cue, hold to preview), the cue table and
// its slots, hot cues with hold-to-delete, and the cues kept in the song's record.

#include <algorithm>
#include <cmath>

#include "deck/SoundSource.h"
#include "library/SongDatabase.h"

namespace {
constexpr int kHotCueEmpty = 44;     // a slot at or below this holds no cue
constexpr int kReleaseDistance = 4;  // frames a preview must have moved for the release to act
constexpr int kHoldTicksToDelete = 2;
constexpr int kRecordCues = 5;
}  // namespace

int CSoundSource::cuePress() {
  if (!isReady()) return 0;
  int cue = cuePos.load(std::memory_order_relaxed);
  if (position.load(std::memory_order_acquire) == static_cast<double>(cue)) {
    // On the cue: a stopped deck starts, and holding the button previews from here.
    if (!IsPlaying()) setPlaying(1);
    return 1;
  }
  if (!IsPlaying() && movedWhileStopped.load(std::memory_order_relaxed)) {
    // The user left the track somewhere else after scratching: that is the new cue.
    setCueHere();
    return 1;
  }
  movedWhileStopped.store(0, std::memory_order_relaxed);
  stopAtCue.store(1, std::memory_order_release);
  return 1;
}

int CSoundSource::cueRelease() {
  if (std::abs(cuePos.load(std::memory_order_relaxed) - GetPosition()) < kReleaseDistance) return 0;
  return cuePress();
}

int CSoundSource::selectCue(int slot) {
  if (slot < 0 || slot >= kCueSlots) return 0;
  int current = cueSlot.load(std::memory_order_relaxed);
  cueTable[current].store(cuePos.load(std::memory_order_relaxed), std::memory_order_relaxed);
  cueSlot.store(slot, std::memory_order_relaxed);
  cuePos.store(cueTable[slot].load(std::memory_order_relaxed), std::memory_order_relaxed);
  WakeLoader();  // the cue's blocks move with it
  return 1;
}

int CSoundSource::getCue(int slot) const {
  if (slot == -1 || slot == cueSlot.load(std::memory_order_relaxed)) return cuePos.load(std::memory_order_relaxed);
  if (slot < 0 || slot >= kCueSlots) return 0;
  return cueTable[slot].load(std::memory_order_relaxed);
}

int CSoundSource::clearCue() {
  cuePos.store(0, std::memory_order_relaxed);
  return 1;
}

int CSoundSource::hotCue(int slot) {
  if (!selectCue(slot)) return 0;
  cueHold_[slot] = 0;
  if (cuePos.load(std::memory_order_relaxed) > kHotCueEmpty) return playFromCue();
  return setCueHere();
}

void CSoundSource::hotCueRelease(int slot) {
  if (slot >= 0 && slot < kCueSlots) cueHold_[slot] = -1;
}

int CSoundSource::deleteCue(int slot) {
  if (!selectCue(slot)) return 0;
  clearCue();
  cueTable[slot].store(0, std::memory_order_relaxed);
  return 1;
}

void CSoundSource::CueHoldTick() {
  for (int slot = 0; slot < kCueSlots; ++slot) {
    if (cueHold_[slot] < 0) continue;
    if (++cueHold_[slot] > kHoldTicksToDelete) {
      cueHold_[slot] = -1;
      if (cueSlot.load(std::memory_order_relaxed) == slot) deleteCue(slot);
    }
  }
}

void CSoundSource::CuesFromRecord(const TSongRecord& record) {
  for (int k = 0; k < kRecordCues; ++k) cueTable[k].store(std::max(0, record.cue[k]), std::memory_order_relaxed);
  int slot = record.currentCue >= 0 && record.currentCue < kCueSlots ? record.currentCue : 0;
  cueSlot.store(slot, std::memory_order_relaxed);
  cuePos.store(cueTable[slot].load(std::memory_order_relaxed), std::memory_order_relaxed);
  if (record.cueIn >= 0 && record.cueOut > record.cueIn) {
    lastStart.store(record.cueIn, std::memory_order_relaxed);
    lastEnd.store(record.cueOut, std::memory_order_relaxed);
    lastLength.store(record.cueOut - record.cueIn + 1, std::memory_order_relaxed);
  }
}

void CSoundSource::CuesToRecord(TSongRecord& record) const {
  int slot = cueSlot.load(std::memory_order_relaxed);
  for (int k = 0; k < kRecordCues; ++k) {
    record.cue[k] = k == slot ? cuePos.load(std::memory_order_relaxed) : cueTable[k].load(std::memory_order_relaxed);
  }
  record.currentCue = slot;
  // The loop in force, or else the one last used, is what the song keeps.
  if (loopActive.load(std::memory_order_relaxed)) {
    record.cueIn = loopStart.load(std::memory_order_relaxed);
    record.cueOut = loopEnd.load(std::memory_order_relaxed);
  } else if (lastLength.load(std::memory_order_relaxed) > 0) {
    record.cueIn = lastStart.load(std::memory_order_relaxed);
    record.cueOut = lastEnd.load(std::memory_order_relaxed);
  }
}

// Loader thread: the working cue keeps its block and both neighbours in memory, so a jump to it finds its
// audio. When the cue moves, the blocks around the old place go back to the ordinary rules
// (the first block and the last two stay pinned for good).
void CSoundSource::PinCueBlocks() {
  int cueBlock = std::max(0, cuePos.load(std::memory_order_relaxed)) / kTrackBlockFrames;
  int blocks = memory.blockCount();
  if (pinnedCueBlock_ >= 0 && pinnedCueBlock_ != cueBlock) {
    for (int b = pinnedCueBlock_ - 1; b <= pinnedCueBlock_ + 1; ++b) {
      if (std::abs(b - cueBlock) <= 1 || b == 0 || b >= blocks - 2) continue;
      if (TrackBlock* block = memory.MutableBlock(b)) block->pinned = 0;
    }
  }
  pinnedCueBlock_ = cueBlock;
  for (int b = cueBlock - 1; b <= cueBlock + 1; ++b) {
    if (memory.streaming()) LoadBlock(b);
    memory.Pin(b);
  }
}
