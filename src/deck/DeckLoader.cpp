// The deck's loader thread: loading a track, seeking, and keeping track memory around the play
// head. Whole tracks fill outward from the play head and stay; streamed tracks keep a window of
// twenty seconds either side of it.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <new>
#include <thread>

#include "app/base/Trace.h"
#include "audio/FastMath.h"
#include "audio/Threads.h"
#include "codecs/CodecChain.h"
#include "deck/DeckAnalysis.h"
#include "deck/SoundSource.h"
#include "deck/StretchFeeder.h"
#include "library/SongDatabase.h"

std::atomic<int> g_trackMemoryLimitKB{310080};

namespace {

constexpr int kStripesPerBlock = 441;  // one entry per 100 frames
constexpr int kStreamWindowBlocks = 20;
constexpr int kScratchKeepBlocks = 30;
constexpr int kBpmGroupBlocks = 10;
constexpr int kChainChunkFrames = 88200;

int BlockOf(double position) { return static_cast<int>(std::max(0.0, position)) / kTrackBlockFrames; }

// Stripe entries between 50 and 80 carry beat marks in bands of ten; folding takes the mark out
// and leaves the signal level.
float FoldBeatMark(float value) {
  if (value >= 50.0f && value < 60.0f) return value - 55.0f;
  if (value >= 60.0f && value < 70.0f) return value - 65.0f;
  if (value >= 70.0f && value < 80.0f) return value - 75.0f;
  return value;
}

}  // namespace

void CSoundSource::loaderPass() {
  if (inLoaderPass_.exchange(1, std::memory_order_acq_rel)) return;
  if (loadPending.load(std::memory_order_acquire)) {
    DoLoad();
    loadPending.store(0, std::memory_order_release);
    if (loadAutoPlay_) setPlaying(1);
  }
  if (fileOpen.load(std::memory_order_acquire) && !quit.load(std::memory_order_acquire)) {
    if (memory.streaming()) {
      StreamingPass();
    } else {
      WholeTrackPass();
    }
    PinCueBlocks();
    PublishWindowBpm();
    StartReanalysisIfAsked();
  }
  inLoaderPass_.store(0, std::memory_order_release);
}

void CSoundSource::PauseForRender(int ms) {
  // Gives the audio thread time to move to a new position before blocks are dropped. Offline
  // runs do the audio in step and need no pause.
  if (!ThreadsAreManual()) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

void CSoundSource::PublishWindowBpm() {
  const TrackBlock* current = memory.Block(BlockOf(position.load(std::memory_order_relaxed)));
  windowBpm_.store(current && current->hasBpm ? current->bpm : 0.0f, std::memory_order_relaxed);
}

void CSoundSource::UnloadTrack() {
  endLoop(1);
  bool hadTrack = fileOpen.load(std::memory_order_acquire) != 0;
  if (hadTrack && songRecord && !songRecord->name.empty()) {
    CuesToRecord(*songRecord);
    StoreSong(*songRecord);
  }
  windowBpm_.store(0.0f, std::memory_order_relaxed);
  reanalyseHint_.store(kNoReanalysis, std::memory_order_relaxed);  // it was for this track
  pinnedCueBlock_ = -1;
  // A running analysis finishes (or gives up, seeing the load) before its results are saved.
  if (analysisThread_) {
    analysisThread_->Wait(30000);
    analysisThread_.reset();
  }
  if (hadTrack && analysis()) analysis()->SaveStripes(*this);
  fileOpen.store(0, std::memory_order_release);
  codec_->close();
  memory.Reset(0, false);
  lengthFrames.store(0, std::memory_order_release);
  {
    std::lock_guard lock(dataLock);
    for (auto& stripe : stripes) std::vector<float>().swap(stripe);
  }
  analysed.store(0, std::memory_order_relaxed);
  analysisStarted.store(0, std::memory_order_relaxed);
  bpm.store(0.0f, std::memory_order_relaxed);
  if (hadTrack && onLoaded_) onLoaded_(0, id_);
}

void CSoundSource::DoLoad() {
  std::string path;
  {
    std::lock_guard lock(requestLock_);
    path = requestedPath_;
    loadAutoPlay_ = requestedAutoPlay_;
  }
  UnloadTrack();
  {
    std::lock_guard lock(requestLock_);
    filePath_ = path;
    songRecord = requestedRecord_;
  }
  AudioFormat format = EngineFormat();
  if (!codec_->open(path, &format, 0, kChainChunkFrames)) {
    if (path != "---$") TraceLine("deck %d: can not load %s", id_, path.c_str());
    statusCode.store(kStatusLoadFailed, std::memory_order_release);
    return;
  }
  int length = std::min(format.frames, kMaxTrackBlocks * kTrackBlockFrames);
  if (length < 1) {
    TraceLine("deck %d: %s holds no audio", id_, path.c_str());
    UnloadTrack();
    statusCode.store(kStatusLoadFailed, std::memory_order_release);
    return;
  }
  int blocks = (length + kTrackBlockFrames - 1) / kTrackBlockFrames;
  CDeckAnalysis* port = analysis();
  if (port) port->ResetFilters(*this);
  memory.Reset(blocks, CTrackMemory::ShouldStream(blocks, g_trackMemoryLimitKB.load()));
  {
    std::lock_guard lock(dataLock);
    size_t entries = static_cast<size_t>(std::lround(blocks * 44100.0 * 0.01));
    for (auto& stripe : stripes) stripe.assign(entries, 0.0f);
  }
  for (auto& cue : cueTable) cue.store(0, std::memory_order_relaxed);
  cueTable[kLastSoundSlot] = length;
  cueSlot.store(0, std::memory_order_relaxed);
  lengthFrames.store(length, std::memory_order_release);
  int known = port ? port->LoadStripes(*this) : 0;

  if (playing.exchange(0, std::memory_order_acq_rel)) FireTransport(0);
  position.store(0.0, std::memory_order_release);
  // A seek asked for before this load belongs to the old track.
  seekPending.store(0, std::memory_order_release);
  ResetDeckControls();
  stretch_->Reset();
  if (songRecord) CuesFromRecord(*songRecord);
  everPlayed.store(0, std::memory_order_relaxed);

  LoadBlock(0);
  if (known) {
    analysed.store(1, std::memory_order_release);
    if (!autoCueDisabled.load(std::memory_order_relaxed)) FindFirstAndLastSound();
  }
  // The first render parks the deck at the first sound. A load that plays at once starts
  // from there too: parking it in the render would stop the playback the load just asked for.
  if (startAtFirstSound_.load(std::memory_order_acquire)) {
    cuePos.store(cueTable[kFirstSoundSlot], std::memory_order_relaxed);
    if (loadAutoPlay_) {
      position.store(cueTable[kFirstSoundSlot], std::memory_order_release);
      startAtFirstSound_.store(0, std::memory_order_release);
      cuePos.store(cueTable[cueSlot.load(std::memory_order_relaxed)], std::memory_order_relaxed);
    } else {
      stopAtCue.store(1, std::memory_order_release);
    }
  } else {
    cuePos.store(cueTable[cueSlot.load(std::memory_order_relaxed)], std::memory_order_relaxed);
  }
  fileOpen.store(1, std::memory_order_release);
  ready.store(1, std::memory_order_release);
  statusCode.store(kStatusLoaded, std::memory_order_release);
  if (memory.streaming()) {
    PauseForRender(100);
    statusCode.store(kStatusAnalysed, std::memory_order_release);
  }
  TraceLine("deck %d: loaded %s (%d frames)", id_, path.c_str(), length);
  if (onLoaded_) onLoaded_(1, id_);
}

void CSoundSource::FindFirstAndLastSound() {
  std::lock_guard lock(dataLock);
  const std::vector<float>& level = stripes[0];
  int count = static_cast<int>(level.size());
  auto db = [&](int i) { return FastDb(FoldBeatMark(level[static_cast<size_t>(i)])); };
  if (cueTable[kFirstSoundSlot] < 10) {
    for (int i = 0; i < count / 2; ++i) {
      if (db(i) > -10.0f) {
        cueTable[kFirstSoundSlot] = i * 100;
        break;
      }
    }
  }
  if (cueTable[kLastSoundSlot] < 10 || cueTable[kLastSoundSlot] == lengthFrames.load()) {
    for (int i = count - 1; i >= count / 2; --i) {
      if (db(i) > -12.0f) {
        cueTable[kLastSoundSlot] = i * 100;
        break;
      }
    }
  }
}

bool CSoundSource::LoadBlock(int index) {
  int blocks = memory.blockCount();
  if (index < 0 || index >= blocks || memory.Present(index)) return false;
  auto* block = new (std::nothrow) TrackBlock;
  if (!block) {
    TraceLine("ERROR -- could not allocate block from pool or memory !");
    return false;
  }
  int length = lengthFrames.load(std::memory_order_acquire);
  int frames = index == blocks - 1 ? length - index * kTrackBlockFrames : kTrackBlockFrames;
  int got = std::max(0, codec_->read16(block->samples, frames, index * kTrackBlockFrames));
  // A short read leaves the rest of the block silent.
  std::memset(block->samples + 2 * got, 0, sizeof(short) * 2 * static_cast<size_t>(kTrackBlockFrames - got));
  block->framesRead = got;
  bool known = analysed.load(std::memory_order_acquire) != 0;
  block->hasBpm = known;
  block->bpm = known ? bpm.load(std::memory_order_relaxed) : 0.0f;
  block->pinned = index == 0 || index >= blocks - 2;
  bool streamed = memory.streaming();
  CDeckAnalysis* port = analysis();
  if (port && (streamed || !known)) port->FeedSecond(*this, index, block->samples, got);
  memory.Publish(index, block);
  if (!streamed) {
    int none = kStatusNone;
    statusCode.compare_exchange_strong(none, kStatusDecoding, std::memory_order_acq_rel);
  }
  return true;
}

void CSoundSource::DropBlock(int index, bool force) {
  if (index < 0 || index >= memory.blockCount() || seekPending.load(std::memory_order_acquire)) return;
  TrackBlock* block = memory.MutableBlock(index);
  if (!block) return;
  if (!force) {
    if (block->pinned) return;
    int current = BlockOf(position.load(std::memory_order_relaxed));
    if (scratching.load(std::memory_order_relaxed) && std::abs(index - current) <= kScratchKeepBlocks) return;
  }
  if (memory.streaming()) {
    memory.Free(index);
    std::lock_guard lock(dataLock);
    size_t from = static_cast<size_t>(index) * kStripesPerBlock;
    for (auto& stripe : stripes) {
      if (from < stripe.size()) {
        std::fill(stripe.begin() + static_cast<long>(from),
                  stripe.begin() + static_cast<long>(std::min(stripe.size(), from + kStripesPerBlock)), 0.0f);
      }
    }
  } else if (force) {
    // A whole track keeps its blocks in memory; only an unload takes them.
    memory.Free(index);
  }
}

void CSoundSource::ApplySeek(double target, bool streamed) {
  int length = lengthFrames.load(std::memory_order_acquire);
  int targetBlock = BlockOf(target);
  int dir = speed.load(std::memory_order_relaxed) < 0 ? -1 : 1;
  LoadBlock(targetBlock);
  // The render's span reaches a block's length behind the position too; a target just past a
  // block boundary needs the block before it, or the first blocks after the jump are silent.
  int behind = BlockOf(target - dir * (kMaxBlockFrames + 12.0));
  if (behind != targetBlock) LoadBlock(behind);
  if (!streamed) LoadBlock(targetBlock + dir);
  endLoop(1);
  if (target >= 0 && target < length) {
    position.store(target, std::memory_order_release);
    codec_->notifySeek(static_cast<int>(target), 1);
  }
  if (streamed) LoadBlock(targetBlock + dir);
  seekPending.store(0, std::memory_order_release);
  PauseForRender(5);
  for (int b = 1; b <= memory.blockCount() - 4; ++b) {
    if (std::abs(b - targetBlock) > 1 && b != behind) DropBlock(b, false);
  }
}

bool CSoundSource::ShouldLeaveWalk() {
  if (loadPending.load(std::memory_order_acquire) || seekPending.load(std::memory_order_acquire) ||
      quit.load(std::memory_order_acquire)) {
    return true;
  }
  // Playback outranks the sweep: leave when the play head's neighbourhood has a gap.
  if (playing.load(std::memory_order_relaxed) && std::fabs(speed.load(std::memory_order_relaxed)) > 0.1) {
    int c = BlockOf(position.load(std::memory_order_relaxed));
    int last = memory.blockCount() - 1;
    for (int b = std::max(0, c - 1); b <= std::min(last, c + 1); ++b) {
      if (!memory.Present(b)) return true;
    }
  }
  return false;
}

void CSoundSource::WholeTrackPass() {
  if (seekPending.load(std::memory_order_acquire) && !scratching.load(std::memory_order_relaxed)) {
    ApplySeek(seekTarget.load(std::memory_order_relaxed), false);
    return;
  }
  double spd = speed.load(std::memory_order_relaxed);
  int dir = spd < 0 ? -1 : 1;
  int c = BlockOf(position.load(std::memory_order_relaxed));
  LoadBlock(c);
  if (std::fabs(spd) > 0.1 && !loopActive.load(std::memory_order_relaxed)) DropBlock(c - 2 * dir, false);
  LoadBlock(c + dir);
  int blocks = memory.blockCount();
  for (int b = c; b < blocks; ++b) {
    if (LoadBlock(b) && ShouldLeaveWalk()) return;
  }
  for (int b = 0; b < c; ++b) {
    if (LoadBlock(b) && ShouldLeaveWalk()) return;
  }
  StartAnalysisIfComplete();
}

void CSoundSource::StreamingPass() {
  if (seekPending.load(std::memory_order_acquire)) {
    ApplySeek(seekTarget.load(std::memory_order_relaxed), true);
  } else {
    int c = BlockOf(position.load(std::memory_order_relaxed));
    int dir = speed.load(std::memory_order_relaxed) < 0 ? -1 : 1;
    LoadBlock(c);
    if (!loopActive.load(std::memory_order_relaxed)) {
      // Everything outside the window goes, not only the block that just left it: a deck that
      // changes direction or jumps between passes must not leave blocks behind.
      int blocks = memory.blockCount();
      for (int b = 0; b < blocks; ++b) {
        if (std::abs(b - c) > kStreamWindowBlocks && memory.Present(b)) DropBlock(b, false);
      }
    }
    for (int k = 1; k <= kStreamWindowBlocks && !seekPending.load(std::memory_order_acquire); ++k) {
      LoadBlock(c + dir * k);
    }
  }
  StreamingWindowBpm();
}

void CSoundSource::StreamingWindowBpm() {
  CDeckAnalysis* port = analysis();
  if (!port) return;
  int blocks = memory.blockCount();
  for (int group = 0; group * kBpmGroupBlocks < blocks; ++group) {
    int first = group * kBpmGroupBlocks;
    int last = std::min(blocks, first + kBpmGroupBlocks);
    bool needed = false;
    for (int b = first; b < last && !needed; ++b) {
      const TrackBlock* block = memory.Block(b);
      needed = block && !block->hasBpm;
    }
    if (!needed) continue;
    float tempo;
    {
      std::lock_guard lock(dataLock);
      const std::vector<float>& level = stripes[0];
      size_t from = static_cast<size_t>(first) * kStripesPerBlock;
      size_t count = std::min(level.size() - std::min(level.size(), from),
                              static_cast<size_t>(kBpmGroupBlocks * kStripesPerBlock));
      tempo = port->EstimateWindowBpm(level.data() + from, static_cast<int>(count));
    }
    for (int b = first; b < last; ++b) {
      if (TrackBlock* block = memory.MutableBlock(b)) {
        block->bpm = tempo;
        block->hasBpm = 1;
      }
    }
    return;  // one group per pass
  }
}

void CSoundSource::StartAnalysisIfComplete() {
  if (memory.percentLoaded() < 100 || analysisStarted.exchange(1, std::memory_order_acq_rel)) return;
  if (analysed.load(std::memory_order_acquire)) {
    statusCode.store(kStatusAnalysed, std::memory_order_release);
    return;
  }
  if (!analysis()) return;
  statusCode.store(kStatusAnalysing, std::memory_order_release);
  analysisThread_ = std::make_unique<COneShotThread>(
      [](void* self) {
        auto* deck = static_cast<CSoundSource*>(self);
        deck->analysis()->AnalyseWholeTrack(*deck);
      },
      this, 0, "deck analysis");
}
