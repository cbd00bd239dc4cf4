#pragma once
// CBeatClock: what a sampler needs to know about a deck to play in time with it. The deck side
// implements it (deck/DeckBeatClock.h); tests give fixed readings.

#include "app/base/Realtime.h"

struct BeatReading {
  float bpm = 0.0f;          // the track's own tempo, pitch not included; 0 unknown
  int pitch = 0;             // hundredths of a percent
  double phase = 0.0;        // 0..1 through the current beat at the start of this block
  double beatFrames = 22050; // frames per beat at the nominal tempo
  bool playing = false;
};

class CBeatClock {
 public:
  virtual ~CBeatClock() = default;
  // Any thread, real-time safe. Valid after the deck's PrepareBlock(0) for the current block.
  LUMO_RT virtual BeatReading ReadBeat() const noexcept = 0;
};
