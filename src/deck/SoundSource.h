#pragma once
// CSoundSource: a deck. It holds the decoded track as one-second blocks (CTrackMemory) and
// renders from them with a double-precision play position in frames at 44100 Hz, whatever
// the file's own rate. Four exist, ids 0 to 3; even ids sit left of the crossfader.
//
// Three threads touch a deck:
//  - the audio thread runs GetSamples / ReadInt16 / PrepareBlock (real-time: no allocation,
//    no lock, no wait; a missing block gives silence while the clock runs on);
//  - the deck's loader thread (250 ms, or at once on a wake) loads, seeks and keeps track
//    memory around the play head;
//  - the main thread issues commands. Commands only set single-word requests that the other
//    side consumes (loadPending, seekPending, stopAtCue); nothing here takes a lock around
//    transport fields.
// The play position is written by the audio thread while playing; another thread that moves
// it (a seek's jump, back to top) stores it directly and the audio thread's end-of-block store
// yields to that (compare-and-swap), so a jump is never lost.
//
// The parts live in their own files: transport commands (SoundSource.cpp), render
// (SoundSourceRender.cpp), loading and the loader pass (DeckLoader.cpp), track memory
// (TrackMemory.cpp).

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "audio/AudioSignalSource.h"
#include "audio/CritSect.h"
#include "codecs/AudioFormat.h"
#include "deck/TrackMemory.h"

class CCodecChain;
class CDeckAnalysis;
class CPeriodicThread;
class COneShotThread;
struct TSongRecord;

// What the GUI thread shows after a change; one value at a time, the GUI clears it.
enum DeckStatus : int {
  kStatusNone = 0,
  kStatusLoading = 1,
  kStatusLoaded = 2,
  kStatusLoadFailed = 4,
  kStatusDecoding = 8,
  kStatusAnalysing = 16,
  kStatusAnalysed = 32,
  kStatusLoopChanged = 128,
  kStatusErrorBox = 4096,
};

// The track memory limit in KiB ("maxram"): 310080 by default; 0 streams every track.
extern std::atomic<int> g_trackMemoryLimitKB;

class CSoundSource : public CAudioSignalSource {
 public:
  static constexpr int kFadeLength = 441;
  static constexpr int kCueSlots = 20;
  static constexpr int kFirstSoundSlot = 10;
  static constexpr int kLastSoundSlot = 11;

  // event: 0 stopped, 1 started, 2 started for the first time since the load. Called on the
  // thread that caused the change, which can be the audio thread: keep it to flag setting.
  using TransportCallback = void (*)(int event, int deck);
  // state: 1 after a load, 0 after an unload. Called on the loader thread.
  using LoadedCallback = void (*)(int state, int deck);

  // Starts the loader thread (or registers it for manual stepping in offline runs).
  CSoundSource(int id, const std::string& dataRoot);
  ~CSoundSource() override;

  // --- audio thread ---
  LUMO_RT void GetSamples(float* stereo, int frames) noexcept override;
  LUMO_RT void ReadInt16(short* stereo, int frames) noexcept override;
  float GetBpm() override;
  int GetPosition() override;  // round(position - 0.5)
  int GetLength() override { return lengthFrames.load(std::memory_order_acquire); }
  LUMO_RT void PrepareBlock(int phase) noexcept override;

  // --- commands (main thread, scripts). 1 done, 0 refused. ---
  int load(const std::string& path, int autoPlay, TSongRecord* record, int startAtFirstSound);
  int unload();
  int setPlaying(int state);  // 1 play, 0 stop, -1 toggle
  int seek(int frame);
  int backToTop();
  int playFromCue();
  int setCueHere();
  void searchStart(int direction);  // -1 back, +1 forward
  void searchStop();
  void SearchTick();  // main tick: one accelerating search step
  // The speed pitch and direction ask for; the render ramps towards it.
  void setTargetSpeed(double speed);
  void SetCallbacks(TransportCallback onTransport, LoadedCallback onLoaded);
  void SetAnalysis(CDeckAnalysis* analysis) { analysis_ = analysis; }

  // --- loader thread ---
  void loaderPass();
  LUMO_RT void WakeLoader() noexcept;
  // The one-shot analysis asks this between steps: a new load or quit makes it give up.
  bool AnalysisShouldStop() const;

  // --- state readers (any thread) ---
  int id() const { return id_; }
  bool isReady() const;  // loaded, no load, seek or quit pending
  double Position() const { return position.load(std::memory_order_acquire); }
  bool IsPlaying() const { return playing.load(std::memory_order_relaxed) != 0; }
  int TakeStatus() { return statusCode.exchange(0, std::memory_order_acq_rel); }
  std::string FilePath() const;
  int percentLoaded() const { return memory.percentLoaded(); }

  // Track.
  std::atomic<int> lengthFrames{0};
  std::atomic<int> fileOpen{0};
  std::atomic<int> ready{0};
  std::atomic<int> statusCode{0};
  TSongRecord* songRecord = nullptr;  // the library's song; loader thread sets it at load
  CTrackMemory memory;

  // Analysis results; the analysis port writes them.
  std::atomic<float> bpm{0.0f};
  std::atomic<int> analysed{0};        // tempo and beat marks known
  std::atomic<int> analysisStarted{0};
  // Three stripe arrays of 441 entries per second (one per 100 frames), guarded by dataLock.
  std::vector<float> stripes[3];
  CCritSect dataLock;

  // Clock.
  std::atomic<double> position{0.0};
  std::atomic<double> speed{1.0};        // in use now; negative is backwards
  std::atomic<double> targetSpeed{1.0};
  std::atomic<int> externalSpeed{0};     // timecode or line input drives targetSpeed
  std::atomic<int> brake{0};
  std::atomic<int> speedGlide{0};
  std::atomic<int> scratching{0};
  std::atomic<int> direction{1};
  std::atomic<int> pitch{0};             // hundredths of a percent

  // Transport.
  std::atomic<int> playing{0};
  std::atomic<int> everPlayed{0};
  std::atomic<int> stopAtCue{0};
  std::atomic<int> movedWhileStopped{0};
  std::atomic<int> scratchArmed{0};

  // Cues and loops.
  std::atomic<int> cueTable[kCueSlots] = {};  // frames; written by the loader and the GUI
  std::atomic<int> cueSlot{0};
  std::atomic<int> cuePos{0};
  std::atomic<int> loopActive{0};
  std::atomic<int> loopSong{0};
  std::atomic<int> autoCueDisabled{0};  // "disacu"

  // Requests to the loader thread.
  std::atomic<int> loadPending{0};
  std::atomic<int> seekPending{0};
  std::atomic<double> seekTarget{0.0};
  std::atomic<int> quit{0};

 private:
  // Render steps (SoundSourceRender.cpp).
  LUMO_RT bool SpanPresent(double pos, double spd, int frames) const noexcept;
  LUMO_RT void HandleStopAtCue() noexcept;
  LUMO_RT double NextSpeedStep(double current) noexcept;
  LUMO_RT bool ClampAtTrackEnd(double& pos, int length) noexcept;
  LUMO_RT void FetchHermite(double pos, int length, float& left, float& right) const noexcept;
  LUMO_RT void FetchLinear16(double pos, int length, short& left, short& right) const noexcept;
  // A stop or a track end holds the newest output frame; each held frame is it scaled by
  // holdCount / 441, one step lower per frame, so the fade spans exactly 441 frames.
  LUMO_RT void BeginHold() noexcept;
  LUMO_RT void NextHeldFrame(float& left, float& right) noexcept;
  LUMO_RT void StartBlockGain() noexcept;
  template <typename Sample, typename Fetch>
  LUMO_RT void Render(Sample* out, int frames, Fetch fetch) noexcept;

  // Loading (DeckLoader.cpp).
  void DoLoad();
  void UnloadTrack();
  void FindFirstAndLastSound();
  void WholeTrackPass();
  void StreamingPass();
  void ApplySeek(double target, bool streamed);
  bool ShouldLeaveWalk();
  void StreamingWindowBpm();

 public:
  // Track memory, loader thread: bring one block in (1 when it was loaded), or let one go.
  // Without force a pinned block stays, blocks near a scratch stay, and a whole track keeps
  // every block.
  bool LoadBlock(int index);
  void DropBlock(int index, bool force);

 private:
  void StartAnalysisIfComplete();
  void PauseForRender(int ms);
  void FireTransport(int event);

  static void LoaderThreadEntry(void* self);

  int id_;
  std::unique_ptr<CCodecChain> codec_;
  CDeckAnalysis* analysis_ = nullptr;
  TransportCallback onTransport_ = nullptr;
  LoadedCallback onLoaded_ = nullptr;
  std::unique_ptr<CPeriodicThread> loaderThread_;
  std::unique_ptr<COneShotThread> analysisThread_;

  // The load request, handed from the main thread to the loader.
  mutable std::mutex requestLock_;
  std::string requestedPath_;
  std::string filePath_;
  TSongRecord* requestedRecord_ = nullptr;
  int requestedAutoPlay_ = 0;
  int loadAutoPlay_ = 0;  // the loader's copy of the request
  std::atomic<int> startAtFirstSound_{0};
  std::atomic<int> inLoaderPass_{0};

  // Search, main tick only: step counts in seconds, -1 when off.
  int searchBack_ = -1;
  int searchForward_ = -1;

  // Audio thread only.
  double rampGoal_ = 1.0;
  double speedStep_ = 0.0;
  int fadeCount_ = kFadeLength;
  float gain_ = 1.0f;
  float lastLeft_ = 0.0f, lastRight_ = 0.0f;  // newest output frame
  float heldLeft_ = 0.0f, heldRight_ = 0.0f;  // the frame a stop fades out
  int holdCount_ = 0;                          // the held frame's fade, 441 down to 0
  bool holding_ = true;                        // no live audio: the held frame fades
};
