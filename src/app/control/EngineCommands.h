#pragma once
// The one door from the controls to the engine. Every catalogue binding, and through the
// controls every script call, key and controller message, ends in Run(command, deck, value,
// arg). Tests install their own sink to count what reaches the engine.
//
// Threads: GUI thread only. The engine setters it calls publish atomics; nothing here waits on
// the audio thread.

enum class EngineCommand : int {
  // Deck transport and cues.
  kPlayPause, kCuePress, kCueRelease, kSetCue, kCuePlay, kBackToTop, kUnload,
  kSearchStart, kSearchStop, kHotCue, kHotCueRelease, kClearCue, kCueClearMode, kSeekPerMille,
  // Loops (value: code in 64ths of a beat, or the direction).
  kLoopInOut, kLoopExit, kLoopReloop, kLoopHalve, kLoopDouble, kLoopShift, kBeatLoop, kBeatLoopBack,
  kSkipBeats, kLoopSong,
  // Pitch and key.
  kPitch, kBendStart, kBendStop, kKeyLock, kKeyShift, kReverse, kBrake, kScratchArm,
  // The deck's channel.
  kVolume, kGain, kEqBand, kKill, kCutoff, kMonitor, kEffectOn, kEffectDryWet, kEffectParam, kAnalogIn,
  // Global mixer.
  kCrossfader, kCrossfaderCurve, kCueMix, kMasterGain, kMonitorGain, kMicGain, kMicEqBand, kMicKill,
  kTalkOver, kMicOn, kSplitCue,
  // Beat sync (the partner deck, or deck `arg`), the limiter and Auto-Mix.
  kBeatSync, kMatchTempo, kSyncTo, kLimiter, kAutoMix, kAutoMixNext, kAutoMixTowards,
  kCount
};

// The engine call a command makes, as --list-bindings prints it ("deck.setPlaying(-1)").
const char* EngineCommandText(EngineCommand command);

class EngineCommandSink {
 public:
  virtual ~EngineCommandSink() = default;
  // deck -1 for global commands; `arg` is the binding's fixed argument (band, place, size).
  virtual void Run(EngineCommand command, int deck, int value, int arg) = 0;
};

// The sink the bindings call; the engine's own (g_engine) unless a test installs another.
EngineCommandSink& CurrentEngineSink();
void SetEngineSink(EngineCommandSink* sink);  // null: back to the engine's own
