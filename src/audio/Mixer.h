#pragma once
// CZQMixer: sixteen source slots summed into the master and monitor buses (or, with an
// external mixer, into one bus per deck plus an aux bus), with per-slot gains, monitor levels,
// crossfader sides and level meters. One block: PrepareBlock phases 0, 1, 2 on every source,
// then GetSamples on each slot in order.
//
// Setters run on the main thread and take effect at the next block; the device thread reads
// the values without a lock. Volume, trim and crossfader gain reach the audio through a
// 100-frame geometric ramp (carried as gain plus 1 so it can start from and end at silence);
// every other gain applies at once. The fader and crossfader laws that turn slider positions
// into these linear gains sit on top of the linear setters here.

#include <atomic>
#include <memory>

#include "audio/AudioSignalSource.h"
#include "audio/LevelMeter.h"

class CZQMixerChannel;

class CZQMixer {
 public:
  static constexpr int kMaxSources = 16;
  static constexpr int kRampFrames = 100;

  explicit CZQMixer(int capacityFrames);

  // Main thread, at set-up. Returns the slot, or -1 when all 16 are taken.
  int AddSource(CAudioSignalSource* source);
  void SetMicChannel(CZQMixerChannel* channel);
  void SetMasterChannel(CZQMixerChannel* channel);

  // Device thread. `monitor` may be null, which skips all monitor work.
  LUMO_RT void MixSources(float* master, float* monitor, int frames) noexcept;
  LUMO_RT void MixSourcesExternal(float** deckBuses, float* aux, float* monitor, int frames) noexcept;

  // Linear gains, main thread. Out-of-range slots are ignored.
  void SetChannelVolumeGain(int slot, float gain);
  void SetChannelTrimGain(int slot, float gain);
  void SetCrossfaderGain(int slot, float gain);
  void SetChannelMonitorLevel(int slot, float gain);
  void SetSourceFlatMonitor(int slot, int flat);
  // Non-zero `left` puts the slot on side 0, zero on side 1.
  void SetCrossfaderSide(int left, int slot);
  void SetCueGains(float cueGain, float masterInCueGain);
  void SetMasterGainLinear(float gain) { masterGain_.store(gain, std::memory_order_relaxed); }
  void SetMonitorGainLinear(float gain) { monitorGain_.store(gain, std::memory_order_relaxed); }
  void SetMicGainLinear(float gain) { micGain_.store(gain, std::memory_order_relaxed); }
  void SetMicOn(int on) { micOn_.store(on != 0, std::memory_order_relaxed); }
  void SetTalkOver(int on) { talkOver_.store(on != 0, std::memory_order_relaxed); }
  void SetSplitCue(int on) { splitCue_.store(on != 0, std::memory_order_relaxed); }
  void SetSmoothGain(int on) { smoothGain_.store(on != 0, std::memory_order_relaxed); }

  int SourceCount() const { return count_; }
  int Capacity() const { return capacity_; }
  CAudioSignalSource* Source(int slot) const;
  int CrossfaderSide(int slot) const;

  // Meters, main thread: mean squares since the last read.
  MeanSquares ReadSourceLevel(int slot);
  MeanSquares ReadMasterLevel() { return masterMeter_.ReadAndReset(); }
  MeanSquares ReadMonitorLevel() { return monitorMeter_.ReadAndReset(); }
  MeanSquares ReadMicLevel() { return micMeter_.ReadAndReset(); }

 private:
  struct Slot {
    CAudioSignalSource* source = nullptr;
    std::unique_ptr<float[]> buffer;
    std::atomic<float> volume{1.0f};
    std::atomic<float> trim{1.0f};
    std::atomic<float> crossfader{1.0f};
    std::atomic<float> monitorLevel{0.0f};
    std::atomic<int> flatMonitor{0};
    std::atomic<int> side{-1};
    // Ramp, all as gain + 1. Target and factor come from the main thread; current is the
    // device thread's. A block may pair a new factor with an old target for one frame, which
    // the stop-at-target test absorbs.
    std::atomic<double> rampTarget{2.0};
    std::atomic<double> rampFactor{1.0};
    double rampCurrent = 2.0;                        // device thread's own copy
    std::atomic<double> rampCurrentShared{2.0};      // published for the setters
    LevelMeter meter;
  };

  void RefreshSourceGain(int slot);
  void SetRampedGain(int slot, std::atomic<float> Slot::*field, float gain);
  LUMO_RT void PrepareSources() noexcept;
  LUMO_RT void PullSlot(Slot& slot, int frames) noexcept;
  LUMO_RT void AddRamped(Slot& slot, float* bus, int frames) noexcept;
  LUMO_RT void AddScaled(const float* from, float* bus, int frames, float gain) noexcept;
  LUMO_RT void PullMic(int frames) noexcept;
  LUMO_RT void BuildMonitor(float* monitor, const float* master, int frames) noexcept;
  LUMO_RT static void GuardAndMeter(float* stereo, int frames, LevelMeter& meter) noexcept;

  int capacity_;
  int count_ = 0;
  Slot slots_[kMaxSources];
  std::unique_ptr<float[]> micBuffer_;
  CZQMixerChannel* micChannel_ = nullptr;
  CZQMixerChannel* masterChannel_ = nullptr;

  std::atomic<float> masterGain_{1.0f};
  std::atomic<float> monitorGain_{1.0f};
  std::atomic<float> micGain_{1.0f};
  std::atomic<float> cueGain_{1.0f};
  std::atomic<float> masterInCueGain_{0.0f};
  std::atomic<bool> micOn_{false};
  std::atomic<bool> talkOver_{false};
  std::atomic<bool> splitCue_{false};
  std::atomic<bool> smoothGain_{true};

  LevelMeter masterMeter_;
  LevelMeter monitorMeter_;
  LevelMeter micMeter_;
};
