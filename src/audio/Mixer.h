#pragma once
// CZQMixer: sixteen source slots summed into the master and monitor buses (or, with an
// external mixer, into one bus per deck plus an aux bus), with per-slot gains, monitor levels,
// crossfader sides and level meters. One block: PrepareBlock phases 0, 1, 2 on every source,
// then GetSamples on each slot in order.
//
// Setters run on the main thread and take effect at the next block; the device thread reads
// the values without a lock. Volume, trim and crossfader gain reach the audio through a
// 100-frame geometric ramp (carried as gain plus 1 so it can start from and end at silence);
// every other gain applies at once. The slider-position setters (fader law, crossfader curve,
// cue mix) and the dB dials sit on top of the linear setters and live in MixerControls.cpp.

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

  // Slider positions and dials, main thread; each takes effect on the next block. Positions run
  // 0..steps-1 (128 steps); out-of-range slots are ignored.
  void SetChannelVolume(int slot, int position);
  void SetChannelMonitor(int slot, int position);
  void SetChannelTrim(int slot, float dB);
  void SetCrossfader(int position);
  // -1 makes the crossfader a hard cut; 0 a slope across the whole travel; c keeps it flat for
  // the first c steps from each end. Clamped to -1..steps-3. The cue mix follows the same curve.
  void SetCrossfaderCurve(int curve);
  void SetCueMix(int position);
  void SetMasterGain(float dB) { SetMasterGainLinear(DbToGainLinear(dB)); }
  void SetMonitorGain(float dB) { SetMonitorGainLinear(DbToGainLinear(dB)); }
  void SetMicGain(float dB) { SetMicGainLinear(DbToGainLinear(dB)); }
  int ChannelVolumePosition(int slot) const;
  int CrossfaderPosition() const { return crossfaderPosition_; }
  int CrossfaderCurve() const { return crossfaderCurve_; }

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

  // Meters in dB, main thread: left and right since the last read, which resets the sums. A
  // source's meter adds its trim (after trim, before volume and crossfader). Silence reads
  // -318.7; a bad slot -320.
  void ReadSourceLevelDb(int slot, float* left, float* right);
  void ReadMasterLevelDb(float* left, float* right) { MeterDb(masterMeter_, 0.0f, left, right); }
  void ReadMonitorLevelDb(float* left, float* right) { MeterDb(monitorMeter_, 0.0f, left, right); }
  void ReadMicLevelDb(float* left, float* right) { MeterDb(micMeter_, 0.0f, left, right); }

  // Meters, main thread: mean squares since the last read.
  MeanSquares ReadSourceLevel(int slot);
  MeanSquares ReadMasterLevel() { return masterMeter_.ReadAndReset(); }
  MeanSquares ReadMonitorLevel() { return monitorMeter_.ReadAndReset(); }
  MeanSquares ReadMicLevel() { return micMeter_.ReadAndReset(); }

 private:
  // Eight-byte aligned so the atomic is one lock-free word with every compiler (clang would
  // otherwise call libatomic, which may lock, on the audio thread).
  struct alignas(8) RampStep {
    float target;         // gain + 1
    float factorMinusOne; // per-frame factor less 1, which keeps its precision in a float
  };
  static_assert(std::atomic<RampStep>::is_always_lock_free);
  struct Slot {
    CAudioSignalSource* source = nullptr;
    std::unique_ptr<float[]> buffer;
    std::atomic<float> volume{1.0f};
    std::atomic<float> trim{1.0f};
    std::atomic<float> crossfader{1.0f};
    std::atomic<float> monitorLevel{0.0f};
    std::atomic<int> flatMonitor{0};
    std::atomic<int> side{-1};
    // Ramp, as gain + 1. Target and per-frame factor come from the main thread as one value,
    // so the device thread never pairs a new target with an old factor (which would snap the
    // gain in one frame); current is the device thread's.
    std::atomic<RampStep> ramp{RampStep{2.0f, 0.0f}};
    double rampCurrent = 2.0;                        // device thread's own copy
    std::atomic<double> rampCurrentShared{2.0};      // published for the setters
    LevelMeter meter;
    // Main thread only.
    int volumePosition = 127;
    int monitorPosition = 0;
    float trimDb = 0.0f;
  };

  static float DbToGainLinear(float dB);
  static void MeterDb(LevelMeter& meter, float offsetDb, float* left, float* right);
  void ApplyCrossfaderGains();
  void ApplyCueMix();
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

  // Slider state, main thread only.
  int volumeSteps_ = 128;
  int crossfaderSteps_ = 128;
  int crossfaderPosition_ = 0;
  bool crossfaderApplied_ = false;
  int crossfaderCurve_ = 0;
  float crossfaderBase_;
  int cueMixPosition_ = 0;

  LevelMeter masterMeter_;
  LevelMeter monitorMeter_;
  LevelMeter micMeter_;
};
