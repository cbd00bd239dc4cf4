#pragma once
// What lumo render can do to the deck while it renders, so each deck feature can be heard and
// checked from the command line: pitch and its range, key lock, key shift, the cue, hot cues,
// a beat loop, reverse and brake at given times.

#include <string>
#include <utility>
#include <vector>

#include "app/EngineTick.h"

class CSoundSource;
struct ParsedArgs;

struct RenderDeckOptions {
  int pitch = 0;         // hundredths of a percent
  double range = 100.0;  // percent either way the pitch may go
  enum class KeyLock { kOff, kSplice, kRubberBand } keyLock = KeyLock::kOff;
  int keyShift = 0;      // cents
  double cue = -1;       // seconds; -1: the deck's own
  std::vector<std::pair<int, double>> hotCues;  // slot, seconds
  double loopStart = -1;  // seconds
  int loopCode = 0;       // beat-loop size code: 64ths of a beat
  double reverseAt = -1, brakeAt = -1;

  static const char* Usage();
  // Reads the options from the arguments; false, with the reason on stderr, for a bad value.
  bool Parse(const ParsedArgs& args);
  // Before the first block: pitch, key lock, key shift, cues.
  void ApplyAtStart(CSoundSource& deck) const;
  // After each block, with the frames rendered so far: the timed actions, each once, and the
  // engine tick on its own 38 ms clock (it returns a finished track to its cue).
  void Step(CSoundSource& deck, long long renderedFrames);

 private:
  static constexpr int kTickFrames = 1676;  // 38 ms
  CEngineTick tick_;
  long long nextTick_ = 0;
  bool loopDone_ = false, reverseDone_ = false, brakeDone_ = false;
};
