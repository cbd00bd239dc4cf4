#pragma once
// CMixRecorder: records the master bus to a WAV file, or to MP3 when LAME is present and the
// path ends in ".mp3". The device thread only converts each block to 16 bits (times 30000,
// rounded and clamped, a little under the output's 32000 so a full-scale mix records without
// clipping) and copies it into a one-second ring; a writer thread empties the ring four times
// a second and does every file operation, so a slow disk never stalls the audio.
//
// How to record: Start(path) on the main thread, put the recorder in g_mixRouting.recorder (the
// engine does it once at start-up), let the mix run, Stop(). An offline render records exactly
// the same way: with SetThreadsManual(true) the offline back end steps the writer between
// blocks, so nothing is lost however fast the render runs.
//
// A WAV recording has its header lengths brought up to date on every writer round, so a
// recording cut off by a crash or a kill is a playable file up to the last round. A write that
// fails raises the failure flag; the audio goes on, FeedMasterBus returns false and the mix
// raises g_mixRouting.stopRecordingRequested for the main thread to stop the recording.

#include <atomic>
#include <memory>
#include <string>

#include "audio/AudioSignalSource.h"
#include "audio/MasterBus.h"
#include "audio/RingBuffer.h"
#include "codecs/DecoderWAV.h"
#include "codecs/EncoderLame.h"

class CPeriodicThread;

class CMixRecorder : public CMasterBusRecorder {
 public:
  static constexpr int kRingBytes = 176400;  // one second of 16-bit stereo
  static constexpr double kScale = 30000.0;
  static constexpr int kWriterPeriodMs = 250;

  CMixRecorder();
  ~CMixRecorder() override;  // stops (and so completes the file)
  CMixRecorder(const CMixRecorder&) = delete;
  CMixRecorder& operator=(const CMixRecorder&) = delete;

  // Main thread. 1 when the file is open and recording has begun; 0, with a traced reason,
  // when already recording, when the file cannot be created, or for ".mp3" without LAME.
  int Start(const std::string& path);
  // Main thread. Stops taking blocks, writes what is still in the ring and closes the file.
  // Returns 1 when every block reached the file, 0 when a write failed; idle, it does nothing
  // and returns 1.
  int Stop();

  // Device thread: takes a copy of the master. Returns 1 when not recording, 0 when the disk is
  // failing, otherwise the frames taken. A full ring drops the block (counted).
  LUMO_RT int Tap(const float* master, int frames) noexcept;
  LUMO_RT bool FeedMasterBus(const float* stereo, int frames) noexcept override {
    return Tap(stereo, frames) != 0;
  }

  // One round of the writer thread: everything in the ring to the file. Tests call it directly.
  void WriterRound();

  // Any thread.
  bool IsRecording() const { return recording_.load(std::memory_order_acquire); }
  bool Failed() const { return failed_.load(std::memory_order_acquire); }
  bool IsMp3() const { return useMp3_; }
  double Duration() const { return framesTaken_.load(std::memory_order_relaxed) / double(kEngineRate); }
  unsigned long DroppedBlocks() const { return dropped_.load(std::memory_order_relaxed); }
  // Whether MP3 can be offered (LAME loaded).
  static bool HasEncoder() { return CEncoderLame::Available(); }

 private:
  static void WriterEntry(void* self);
  void WaitForTapToLeave() const;

  CDecoderWAV wav_{100};
  CEncoderLame lame_{101};
  CBaseCodec* writer_ = &wav_;
  bool useMp3_ = false;
  std::atomic<bool> recording_{false};
  std::atomic<bool> failed_{false};
  std::atomic<int> inTap_{0};  // the device thread is inside Tap
  std::unique_ptr<short[]> tapBuffer_;     // device thread's conversion
  std::unique_ptr<short[]> writerBuffer_;  // writer thread's read
  CRingBuffer ring_{kRingBytes, false};    // device thread writes, writer thread reads
  std::atomic<long long> framesTaken_{0};
  std::atomic<unsigned long> dropped_{0};
  std::unique_ptr<CPeriodicThread> thread_;
};

// True when the path ends in ".mp3" (any case).
bool IsMp3Path(const std::string& path);
// The path with ".mp3" or ".wav" added when it has neither (the save dialog's chosen type).
std::string WithRecordingExtension(const std::string& path, bool mp3);
