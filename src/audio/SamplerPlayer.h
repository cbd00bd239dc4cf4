#pragma once
// CSamplerPlayer: one short sound held wholly in memory, played at a rate, once or in a loop,
// and optionally locked to the beat of deck 0 or 1. Eight of them sit in mixer slots 5 to 12.
//
// Threads: Load, Play, Seek, SetRate, SetLoop, SetBeats, SyncTo and PollEvents are main-thread
// calls; GetSamples and PrepareBlock run on the audio thread. The main thread never writes the
// play position: it posts a rewind or a seek that the audio thread takes at the start of the
// next block. Load withdraws the sample and waits for the audio thread to leave it before
// freeing it.
//
// The end callback is not called on the audio thread: the audio thread raises a flag and
// PollEvents (the main tick) delivers it once per ending.

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "audio/AudioSignalSource.h"
#include "audio/RtGate.h"

class CBeatClock;
class CZQMixer;

class CSamplerPlayer : public CAudioSignalSource {
 public:
  static constexpr int kCount = 8;
  static constexpr int kFirstSlot = 5;
  static constexpr double kSyncLookAheadFrames = 970.2;  // 22 ms
  static constexpr int kMaxPitch = 5000;                 // a sync follows the deck within +-50 %
  static constexpr int kNoTempoString = 158;

  // (event, sampler index, -1); event 0 is "playback ended".
  using EndCallback = void (*)(int event, int index, int value, void* context);
  // Shows a language string in a message box (the window installs it).
  using MessageHook = void (*)(int stringId);

  explicit CSamplerPlayer(int index);
  ~CSamplerPlayer() override;

  // Main thread. Decodes the whole file to 44100 Hz 16-bit stereo. 1 loaded; 0 (traced) when no
  // decoder takes it or it holds no audio, which leaves the player empty.
  int Load(const std::string& path);
  // Loads already decoded 16-bit stereo frames (generated sounds, tests).
  int LoadFrames(std::vector<short> interleaved);
  void Unload();
  // 0 stops and rewinds; 1 starts (from the top unless looping), syncing first with auto-sync.
  int Play(int on);
  // Moves by deltaFrames: wraps with loop on, otherwise a seek past either end is ignored.
  void Seek(double deltaFrames);
  void SetRate(double rate) { targetRate_.store(rate, std::memory_order_relaxed); }
  void SetLoop(int on) { loop_.store(on != 0, std::memory_order_relaxed); }
  void SetBeats(int beats) { beats_.store(beats < 0 ? 0 : beats, std::memory_order_relaxed); }
  void SetSync(int on) { autoSync_ = on != 0; }
  // The two decks auto-sync chooses from, and the crossfader position that decides (0..127).
  void SetSyncDecks(CBeatClock* deck0, CBeatClock* deck1) { syncDecks_[0] = deck0, syncDecks_[1] = deck1; }
  void SetCrossfaderPosition(int position) { crossfader_ = position; }
  // Or read it from the mixer at each Play.
  void SetCrossfaderSource(const CZQMixer* mixer) { crossfaderSource_ = mixer; }
  // Takes the deck's tempo (within +-50 %) and lines up with its beat in the block it starts.
  // 0 when the sampler has no tempo (string 158 shown) or the deck is out of reach.
  int SyncTo(CBeatClock* deck);
  void SetEndCallback(EndCallback callback, void* context) { callback_ = callback, context_ = context; }
  static void SetMessageHook(MessageHook hook);
  // Main thread: delivers a pending end event. Returns how many it delivered (0 or 1).
  int PollEvents();

  LUMO_RT void GetSamples(float* out, int frames) noexcept override;
  LUMO_RT void PrepareBlock(int phase) noexcept override;
  float GetBpm() override;
  int GetPosition() override { return static_cast<int>(position_.load(std::memory_order_relaxed)); }
  int GetLength() override { return loaded_.load(std::memory_order_acquire) ? length_ : -1; }

  int index() const { return index_; }
  bool IsLoaded() const { return loaded_.load(std::memory_order_acquire); }
  bool IsPlaying() const { return playing_.load(std::memory_order_acquire); }
  double Position() const { return position_.load(std::memory_order_relaxed); }
  double TargetRate() const { return targetRate_.load(std::memory_order_relaxed); }
  // The rate the audio thread plays at, taken up from the target at the start of a block, and
  // the frames it advances per output frame (base rate times applied rate).
  double AppliedRate() const { return appliedRate_.load(std::memory_order_relaxed); }
  double Step() const { return step_.load(std::memory_order_relaxed); }

 private:
  double BeatLength() const;  // frames per beat of the sample; 22050 when no tempo is known
  LUMO_RT void TakeRequests() noexcept;
  LUMO_RT void AlignToDeck() noexcept;
  LUMO_RT bool SeekBy(double& pos, double delta) const noexcept;
  LUMO_RT void Finish(float* out, int from, int frames, double restart) noexcept;
  LUMO_RT void Interpolate(double pos, float* frame) const noexcept;

  int index_;
  std::vector<short> data_;  // main thread swaps it only while the audio thread is out
  int length_ = 0;
  RtGate gate_;
  std::atomic<bool> loaded_{false};
  std::atomic<bool> playing_{false};
  std::atomic<bool> loop_{false};
  std::atomic<int> beats_{0};
  std::atomic<double> position_{0.0};
  std::atomic<double> targetRate_{1.0};
  // Written by the audio thread only; atomic so the main thread may read them.
  std::atomic<double> appliedRate_{1.0};
  std::atomic<double> step_{1.0};
  double baseRate_ = 1.0;     // the sample is at the engine rate after decoding
  // Main thread to audio thread.
  std::atomic<bool> rewindRequest_{false};
  std::atomic<double> seekRequest_{0.0};
  std::atomic<bool> syncPending_{false};
  std::atomic<CBeatClock*> syncDeck_{nullptr};
  // Audio thread to main thread.
  std::atomic<bool> ended_{false};
  // Main thread only.
  bool autoSync_ = false;
  CBeatClock* syncDecks_[2] = {nullptr, nullptr};
  int crossfader_ = 64;
  const CZQMixer* crossfaderSource_ = nullptr;
  EndCallback callback_ = nullptr;
  void* context_ = nullptr;
};
