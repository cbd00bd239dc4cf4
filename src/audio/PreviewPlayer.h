#pragma once
// CZQPreviewPlayer: plays a file in the headphones (mixer slot 4, monitor only). A reader thread
// decodes ahead into a two-second ring every 300 ms or when woken; the audio thread drains the
// ring and, when it runs dry before the end, plays silence and wakes the reader, as a deck does.
//
// The silent form has no thread and decodes nothing: after OpenFileName has learnt the length
// it keeps time on a stopwatch, so a list can be timed (a video or a picture shown for a set
// duration, an automatic playlist) without a sound.
//
// Play starts at the cue (seconds into the file) and each repeat round returns to it: a round
// is the stretch from the cue to the end, and bit 1 comes after the last round.
//
// Events (bit 1 the end, bit 2 the last lead-time frames) are gathered on the audio thread and
// delivered by GetPosition on the caller's thread, the main tick: the callback never runs on
// the audio thread.

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "audio/AudioSignalSource.h"
#include "audio/RingBuffer.h"
#include "audio/RtGate.h"

class CCodecChain;
class CPeriodicThread;

class CZQPreviewPlayer : public CAudioSignalSource {
 public:
  static constexpr int kSlot = 4;
  static constexpr int kEventEnd = 1;
  static constexpr int kEventNearEnd = 2;
  static constexpr int kReadFrames = 44100;                      // one decode per reader round
  static constexpr size_t kRingBytes = 705600;                   // two seconds of float stereo
  static constexpr size_t kRefillBelowBytes = kRingBytes / 2;    // so the ring holds 1 to 2 s
  static constexpr int kReaderPeriodMs = 300;

  // (event bits, player index).
  using EventCallback = void (*)(int events, int index, void* context);
  // Milliseconds on some steady clock; tests give their own.
  using Stopwatch = double (*)();

  CZQPreviewPlayer(int index, bool silent);
  ~CZQPreviewPlayer() override;
  CZQPreviewPlayer(const CZQPreviewPlayer&) = delete;
  CZQPreviewPlayer& operator=(const CZQPreviewPlayer&) = delete;

  // Main thread. The file already open is only rewound. 1 opened; 0 (traced) otherwise.
  int OpenFileName(const std::string& path);
  void Close();
  int Play(int on);
  // Silent players: the length of one round, overriding the file's (0 keeps the file's).
  void SetDuration(double seconds);
  // How many times the stretch from the cue to the end plays (at least once).
  void SetRepeat(int rounds) { repeatCount_.store(rounds < 1 ? 1 : rounds, std::memory_order_relaxed); }
  // Where play starts and a repeat returns to, in seconds; taken by the next OpenFileName (which
  // rewinds the file already open to it). Past the end it leaves nothing to play.
  void SetCue(double seconds) { cueSeconds_ = seconds > 0 ? seconds : 0.0; }
  double CueSeconds() const { return cueSeconds_; }
  // Frames before the end at which bit 2 is raised; -1 for none.
  void SetLeadTime(int frames) { leadFrames_.store(frames, std::memory_order_relaxed); }
  void SetEventCallback(EventCallback callback, void* context) { callback_ = callback, context_ = context; }
  void SetStopwatch(Stopwatch stopwatch) { stopwatch_ = stopwatch; }
  // Main thread: the place in the file, in frames (silent: from the stopwatch), and any
  // pending events delivered.
  int GetPosition() override;
  int GetLength() override { return opened_.load(std::memory_order_acquire) ? length_ : -1; }

  // One reader round; the thread calls it, tests may too.
  void ReaderRound();

  LUMO_RT void GetSamples(float* out, int frames) noexcept override;

  bool IsOpen() const { return opened_.load(std::memory_order_acquire); }
  bool IsRunning() const { return running_.load(std::memory_order_acquire); }
  double SecondsPerRound() const { return secondsPerRound_; }

 private:
  LUMO_RT void RaiseEvents(int bits) noexcept { events_.fetch_or(bits, std::memory_order_acq_rel); }
  void ResetCounters();
  int SilentPosition();
  int RoundFrames() const { return length_ - cueFrames_; }
  int FilePosition(long long playedFrames) const;  // the cue plus frames played, with repeats

  int index_;
  bool silent_;
  std::string fileName_;
  std::unique_ptr<CCodecChain> chain_;
  std::unique_ptr<float[]> scratch_;  // reader's decode buffer
  CRingBuffer ring_{kRingBytes, false};
  std::mutex readerLock_;  // held for a reader round, and by open and close on the main thread
  RtGate gate_;
  std::atomic<bool> opened_{false};
  std::atomic<bool> running_{false};
  int length_ = 0;
  double secondsPerRound_ = 0.0;
  std::atomic<long long> framesPlayed_{0};
  std::atomic<long long> framesRead_{0};  // the reader's place in the file
  std::atomic<int> roundsRead_{0};        // repeats the reader has gone back to the cue for
  std::atomic<bool> allRead_{false};      // the last round is in the ring, or the file ran out
  std::atomic<int> repeatCount_{1};
  double cueSeconds_ = 0.0;  // main thread
  int cueFrames_ = 0;        // changed under readerLock_ with the counters
  std::atomic<int> leadFrames_{-1};
  std::atomic<bool> nearEndLatched_{false};
  std::atomic<int> events_{0};
  // Silent form, main thread only.
  Stopwatch stopwatch_;
  double startMs_ = 0.0;
  int roundsDone_ = 0;
  EventCallback callback_ = nullptr;
  void* context_ = nullptr;
  std::unique_ptr<CPeriodicThread> reader_;
};
