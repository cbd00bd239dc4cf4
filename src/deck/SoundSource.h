#pragma once
// CSoundSource: a deck. It holds the decoded track as one-second blocks (CTrackMemory) and
// renders from them with a double-precision play position in frames at 44100 Hz, whatever
// the file's own rate. Four exist, ids 0 to 3; even ids sit left of the crossfader.
//
// Four threads touch a deck, and the deck service thread repeats its scratch chase:
//  - the audio thread runs GetSamples / ReadInt16 / PrepareBlock (real-time: no allocation,
//    no lock, no wait; a missing block gives silence while the clock runs on);
//  - the deck's loader thread (250 ms, or at once on a wake) loads, seeks and keeps track
//    memory around the play head;
//  - the deck's stretch thread (110 ms, or on a wake) runs Rubber Band ahead of the play head;
//  - the main thread issues commands. Commands only set single-word requests that the other
//    side consumes (loadPending, seekPending, stopAtCue); nothing here takes a lock around
//    transport fields.
// The play position is written by the audio thread while playing; another thread that moves
// it (a seek's jump, back to top) stores it directly and the audio thread's end-of-block store
// yields to that (compare-and-swap), so a jump is never lost.
//
// The parts live in their own files: transport commands (SoundSource.cpp), render
// (SoundSourceRender.cpp), loading and the loader pass (DeckLoader.cpp), track memory
// (TrackMemory.cpp), cue commands (DeckCues.cpp), loops (DeckLoops.cpp, the audio side in
// DeckLoopBoundary.cpp), pitch and bends (DeckPitch.cpp), the splice key lock
// (SpliceKeyLock.cpp), the renderer choice and the Rubber Band reader (DeckKeyLockRender.cpp,
// fed by StretchFeeder on the deck's stretch thread), scratch, brake and reverse
// (DeckScratch.cpp, chased by the deck service thread).

#include <atomic>
#include <cstdint>
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
class CStretchFeeder;
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

  // event: 0 stopped, 1 started, 2 started for the first time since the load. Commands fire it
  // on their own thread; a stop made by the audio thread (parking at the cue) is queued and
  // fired by DeliverTransportEvents on the engine tick, never on the audio thread.
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
  // The loader thread may be running: the port is published atomically.
  void SetAnalysis(CDeckAnalysis* analysis) { analysis_.store(analysis, std::memory_order_release); }
  // Engine tick: fires a transport event the audio thread queued.
  void DeliverTransportEvents();

  // --- cues (DeckCues.cpp), main thread. 1 done, 0 refused. ---
  int cuePress();
  int cueRelease();
  int selectCue(int slot);
  int getCue(int slot) const;  // -1 or the selected slot: the working cue
  int clearCue();
  int deleteCue(int slot);      // the slot's cue gone from the table (and as the working cue)
  int hotCue(int slot);         // press of a hot-cue button
  void hotCueRelease(int slot);
  void CueHoldTick();           // main tick: a hot cue held about 1.2 s is deleted
  // The cue table of a song record: user cues, the selected slot and the saved loop.
  void CuesFromRecord(const TSongRecord& record);
  void CuesToRecord(TSongRecord& record) const;

  // --- loops (DeckLoops.cpp), main thread ---
  int loopSizeCode(int frames) const;
  int snapToBeat(int window) const;
  int loopInOrOut();
  int beatLoop(int code);
  int beatLoopBack(int code);
  int resizeLoop(int delta);
  int shiftLoop(int delta);
  int recallLoop();
  int endLoop(int force);
  int skipBeats(int n);
  int RefreshBeatFrames();

  // --- pitch, key and bends (DeckPitch.cpp), main thread ---
  void setPitch(int hundredths);
  void setDirection(int dir);
  int getPitch() const;
  void setKeyShift(int cents);
  int resultingKey(int songKey) const;
  void setKeyLock(bool on);
  void setHq(bool on);  // "hqtime": key lock through Rubber Band instead of the splice
  void bendStart(int dir);  // -1 down, +1 up
  void bendStop(int dir);
  void BendTick();          // main tick
  void JogBend(int dir);    // a wheel turned on a playing deck: a short fixed bend

  // --- beat matching (BeatSync.cpp), main thread; 1 done, 0 refused ---
  // Moves the pitch so this deck's tempo as heard equals the other's (refused beyond 50 %).
  int matchTempo(CSoundSource& other);
  // matchTempo, starting a stopped deck, then one nudge onto the other's beat once the new
  // speed has settled (the audio thread does it in PrepareBlock).
  int beatSync(CSoundSource& other);
  // Moves the play position by `frames`; inside a loop a move that would leave it jumps a beat
  // the other way instead. Any thread; the audio thread uses it for the sync nudge.
  LUMO_RT int nudge(double frames) noexcept;
  struct BeatInfo {
    int beatPos = 0;         // the frame of this reading
    int beatFrames2 = 22050; // frames per beat at the song's tempo
    float beatPhase = 0.0f;  // 0..1, towards 1 as the next beat comes near
    int beatIndex = -1;      // 0..3 in the bar, -1 unknown
  };
  BeatInfo getBeatInfo() const;

  // --- scratch, brake (DeckScratch.cpp): main thread and the deck service thread ---
  int scratchStart(int mouse, int relative);
  void scratchMove(int mouse);
  void scratchEnd();
  void scratchTick(int idleLimit);
  int jogMove(int value, int previous, int type, int forceScratch, int ticksPerTurn);
  void toggleScratchArmed();
  void setBrake(int on);

  // --- tempo again (DeckReanalyse.cpp): main thread ---
  // Walks the loaded track's beats again with `hint` (0: 76-150 BPM, -1: 56-100, -2: 101-195,
  // or a typed tempo b: b-1..b+1) on the analysis thread, off the audio path; the deck's tempo,
  // grid and song record follow. 1 when asked, 0 when the deck has no whole track in memory or
  // no analysis. A second request before the first starts replaces it.
  int reanalyseBpm(int hint);

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
  CStretchFeeder& stretchFeeder() { return *stretch_; }

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
  mutable CCritSect dataLock;

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
  // The loop in force (loopEnd inclusive) and the pending one the audio thread takes over at
  // the boundary; last* remember the loop for recall.
  std::atomic<int> loopInArmed{0};
  std::atomic<int> loopStart{0}, loopEnd{0}, loopLength{0};
  std::atomic<int> nextStart{0}, nextEnd{0}, nextLength{0};
  std::atomic<int> lastStart{0}, lastEnd{0}, lastLength{-1};
  std::atomic<int> loopPasses{0};
  std::atomic<int> exitPending{0};
  std::atomic<int> loopChanged{0};  // the GUI refreshes the loop buttons and clears it
  std::atomic<int> beatFrames{22050};

  // Pitch and key lock.
  std::atomic<double> baseSpeed{1.0};
  std::atomic<int> keyLockOn{0};
  std::atomic<int> hqEnabled{0};
  std::atomic<int> keyShift{0};  // cents
  std::atomic<double> wantedRatio{1.0};
  std::atomic<double> wantedScale{1.0};

  // Scratch (the service thread and the main thread write, the audio thread reads flags).
  std::atomic<int> restartSpeed{0};
  std::atomic<int> scratchWasPlaying{0};
  std::atomic<int> mouseStart{0}, mouseLast{0}, scratchAnchor{0}, mouseVelocity{0};
  std::atomic<int> relativeMode{0}, relativeSum{0};
  std::atomic<int> jogScratching{0};
  std::atomic<float> jogSum{0.0f}, jogStep{0.0f};
  std::atomic<int> jogIdleTicks{0};
  std::atomic<int> jogLastDirection{-1};

  // Beat phase, written by the audio thread every block (BeatSync.cpp); the sync request.
  std::atomic<int> beatPos{0};
  std::atomic<int> beatFrames2{22050};
  std::atomic<float> beatPhase{0.0f};
  std::atomic<int> beatIndex{-1};
  std::atomic<CSoundSource*> syncOther{nullptr};
  std::atomic<int> syncPending{0};  // set after syncOther; the audio thread clears it

  // Requests to the loader thread.
  std::atomic<int> loadPending{0};
  std::atomic<int> seekPending{0};
  std::atomic<double> seekTarget{0.0};
  std::atomic<int> quit{0};

 private:
  // Beat phase and the sync nudge, audio thread (BeatSync.cpp).
  LUMO_RT void UpdateBeatPhase() noexcept;
  LUMO_RT void ApplyPendingSync() noexcept;
  LUMO_RT int ScanForBeatMark(std::vector<float>& marks, int at, int perBeat, int total) noexcept;
  int MatchTempoTo(CSoundSource& other, float ownBpm);

  // Render steps (SoundSourceRender.cpp).
  LUMO_RT bool SpanPresent(double pos, double spd, int frames) const noexcept;
  LUMO_RT void HandleStopAtCue() noexcept;
  LUMO_RT double NextSpeedStep(double current) noexcept;
  LUMO_RT bool ClampAtTrackEnd(double& pos, int length) noexcept;
  // Loop boundary, per frame (DeckLoopBoundary.cpp): takes over a pending loop and wraps.
  // False when the loop has just let go.
  LUMO_RT bool ApplyLoopBoundary(double& pos) noexcept;
  // Renderers (DeckKeyLockRender.cpp): the choice, the Rubber Band reader, the normal one.
  LUMO_RT bool UseRubberBand() const noexcept;
  LUMO_RT void RubberBandRender(float* out, int frames) noexcept;
  LUMO_RT void RenderNormal(float* out, int frames) noexcept;
  LUMO_RT bool SubBeatHold(int code) const noexcept;
  LUMO_RT void ScratchBookkeeping(double pos) noexcept;
  LUMO_RT void ApplyBrakeAndRestart(double& spd) noexcept;
  // Splice key lock (SpliceKeyLock.cpp): the position moves a frame at a time and jumps every
  // 80 ms to make up the rate, crossfading into the jump.
  LUMO_RT void SpliceAdvance(double& pos, double spd, int length) noexcept;
  LUMO_RT void SpliceFetch(double pos, double spd, int length, float& left, float& right) const noexcept;
  LUMO_RT void SpliceSearch(double pos, double spd, int length) noexcept;
  LUMO_RT double SpliceCorrelation(long long from, long long other, int sign, int length) const noexcept;
  LUMO_RT void FetchFrame(long long frame, int length, float& left, float& right) const noexcept;
  LUMO_RT void FetchHermite(double pos, int length, float& left, float& right) const noexcept;
  LUMO_RT void FetchLinear16(double pos, int length, short& left, short& right) const noexcept;
  // A stop or a track end holds the newest output frame; each held frame is it scaled by
  // holdCount / 441, one step lower per frame, so the fade spans exactly 441 frames.
  LUMO_RT void BeginHold() noexcept;
  LUMO_RT void NextHeldFrame(float& left, float& right) noexcept;
  LUMO_RT void StartBlockGain() noexcept;
  template <typename Sample, typename Fetch>
  LUMO_RT void Render(Sample* out, int frames, Fetch fetch, bool keyLockAllowed) noexcept;

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
  void StartReanalysisIfAsked();
  void PauseForRender(int ms);
  void FireTransport(int event);
  void PinCueBlocks();
  void PublishWindowBpm();
  void ResetDeckControls();
  void ApplyNextLoopAtOnce();
  void StoreLoop(int start, int end, bool current);
  void RecomputeSpeed();
  void ChaseTarget(double target, double factor);
  void EndJogScratch();

  static void LoaderThreadEntry(void* self);

  int id_;
  std::unique_ptr<CCodecChain> codec_;
  std::atomic<CDeckAnalysis*> analysis_{nullptr};
  CDeckAnalysis* analysis() const { return analysis_.load(std::memory_order_acquire); }
  // The pending loop is three words: the main thread marks an edit odd while it writes them
  // and the audio thread takes the pending loop only from a stable, even count.
  std::atomic<unsigned> nextEdit_{0};
  void BeginNextEdit() { nextEdit_.fetch_add(1, std::memory_order_acq_rel); }
  void EndNextEdit() { nextEdit_.fetch_add(1, std::memory_order_release); }
  bool NextEqualsCurrent() const;
  std::atomic<int> pendingTransport_{-1};  // a stop the audio thread made, for the tick to fire
  int pinnedCueBlock_ = -1;                // loader thread: the block the cue pins sit around
  std::atomic<float> windowBpm_{0.0f};     // a streamed track's tempo under the play head
  TransportCallback onTransport_ = nullptr;
  LoadedCallback onLoaded_ = nullptr;
  std::unique_ptr<CPeriodicThread> loaderThread_;
  std::unique_ptr<COneShotThread> analysisThread_;
  // A tempo request from the main thread for the loader: kNoReanalysis or the hint.
  static constexpr int kNoReanalysis = INT32_MIN;
  std::atomic<int> reanalyseHint_{kNoReanalysis};
  int runningHint_ = 0;  // the hint the one-shot thread was started with
  std::unique_ptr<CStretchFeeder> stretch_;

  // The load request, handed from the main thread to the loader.
  mutable std::mutex requestLock_;
  std::string requestedPath_;
  std::string filePath_;
  TSongRecord* requestedRecord_ = nullptr;
  int requestedAutoPlay_ = 0;
  int loadAutoPlay_ = 0;  // the loader's copy of the request
  std::atomic<int> startAtFirstSound_{0};
  std::atomic<int> inLoaderPass_{0};

  // Search: step counts in seconds, -1 when off. Commands and the tick may sit on different
  // threads (a controller script, the window's tick).
  std::atomic<int> searchBack_{-1};
  std::atomic<int> searchForward_{-1};

  // Main thread only: hot-cue hold counters (-1 when not held) and the bend.
  int cueHold_[kCueSlots];
  int bendReturn_ = 0, bendLimit_ = 0;
  double bendAmount_ = 0.0;
  int bendDown_ = 0, bendUp_ = 0, bendFixed_ = 0;
  int bendDownTicks_ = 0, bendUpTicks_ = 0;

  // Audio thread only.
  double rampGoal_ = 1.0;
  double speedStep_ = 0.0;
  int fadeCount_ = kFadeLength;
  float gain_ = 1.0f;
  float lastLeft_ = 0.0f, lastRight_ = 0.0f;  // newest output frame
  float heldLeft_ = 0.0f, heldRight_ = 0.0f;  // the frame a stop fades out
  int holdCount_ = 0;                          // the held frame's fade, 441 down to 0
  bool holding_ = true;                        // no live audio: the held frame fades
  bool lastRubberBand_ = false;                // the renderer of the last block
  float switchBuffer_[2 * kMaxBlockFrames];    // the outgoing renderer's block at a switch
  // Splice key lock state, audio thread only.
  bool spliceOn_ = false;
  int spliceCount_ = 0;
  int spliceOffset_ = 0;
  double spliceError_ = 0.0;  // frames jumped minus frames the rate asked for, carried over
};
