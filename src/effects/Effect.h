#pragma once
// CEffect: an in-place effect on interleaved stereo float at 44100 Hz, given its channel's tempo
// with every block. Process wraps the concrete DSP (ProcessCore) in the dry/wet stage:
//   wet above 0.975  the core runs on the block itself, no copy;
//   0.025 .. 0.975   the core runs on a copy and the two are mixed;
//   0.025 or below   the block passes untouched, and a running effect is stopped and reset, so
//                    the next fade-in starts from empty delay lines.
// The thresholds are compared in float: 0.975f itself takes the mix path.
//
// Threads: Process, ProcessCore, Start, Stop and Reset run on the audio thread and must not
// allocate or wait. SetDryWet and SetParam come from the main thread or scripts; each is one
// atomic store that the effect reads once per block. Everything else is main-thread only.

#include <atomic>
#include <memory>
#include <string>

#include "app/base/Realtime.h"

// What a tempo-locked effect follows: the channel that feeds it answers with its deck's BPM.
// Called from the main thread (setters) and the audio thread (block start).
class CTempoSource {
 public:
  virtual ~CTempoSource() = default;
  virtual float GetBpm() = 0;
};

class CEffect {
 public:
  static constexpr int kMaxFrames = 4410;  // the engine's largest block
  static constexpr int kChainType = 110;   // a hosted plug-in in a user chain
  static constexpr int kBuiltInType = 0;   // a built-in effect

  CEffect();
  virtual ~CEffect();
  CEffect(const CEffect&) = delete;
  CEffect& operator=(const CEffect&) = delete;

  virtual std::string GetDisplayName() { return name; }
  virtual int HasEditor() { return 0; }
  virtual int IsEditorVisible() { return 0; }
  virtual void GetEditorPosition(int* x, int* y) { *x = 0, *y = 0; }
  virtual void SetEditorPosition(int x, int y) { (void)x, (void)y; }
  virtual void ToggleEditor() {}
  LUMO_RT virtual void Start() noexcept { enabled.store(1, std::memory_order_relaxed); }
  LUMO_RT virtual void Stop() noexcept { enabled.store(0, std::memory_order_relaxed); }
  LUMO_RT virtual void Reset() noexcept {}
  virtual void SetDryWet(float value) { dryWet.store(value, std::memory_order_relaxed); }
  virtual float GetDryWet() { return dryWet.load(std::memory_order_relaxed); }
  // The dry/wet wrapper; frames at most kMaxFrames.
  LUMO_RT void Process(float* block, int frames, float bpm) noexcept;
  LUMO_RT virtual void ProcessCore(float* block, int frames, float bpm) noexcept = 0;
  // Parameters are plain integers, 0..1000 unless a class says otherwise.
  virtual int GetParamCount() { return 0; }
  // Fills the three texts shown beside a parameter; 0 when there is no such parameter.
  virtual int GetParamInfo(int id, std::string* label, std::string* value, std::string* unit) {
    (void)id, (void)label, (void)value, (void)unit;
    return 0;
  }
  virtual int GetParam(int id) { return (void)id, 0; }
  virtual void SetParam(int id, int value) { (void)id, (void)value; }
  virtual void OnIdle() {}

  bool IsEnabled() const { return enabled.load(std::memory_order_relaxed) != 0; }

  void* owner = nullptr;   // the channel holding a chain effect
  int panel = -1;          // the skin's panel for a chain effect
  int needsIdle = 0;
  int windowSlot = -1;
  int type = 0;            // kChainType for hosted plug-ins, 0 for built-ins
  std::string name;        // UTF-8
  std::string filename;
  int componentId = -1;
  int context = 0;
  std::atomic<int> enabled{1};
  std::atomic<float> dryWet{1.0f};
  // The channel's tempo for the beat-locked effects; null outside a deck channel. Set at set-up.
  std::atomic<CTempoSource*> tempoSource{nullptr};

 private:
  std::unique_ptr<float[]> wetBuffer_;  // one block's copy for the mix path
};

// The built-in effects start from a clean state: Start resets before it enables.
class CBuiltInEffect : public CEffect {
 public:
  LUMO_RT void Start() noexcept override {
    Reset();
    CEffect::Start();
  }
};
