#pragma once
// CDeckBeatClock: a deck seen as a beat clock for the samplers. The phase comes from the beat
// marks in the deck's stripe: 1 - (frames to the next mark) / (frames per beat), so it grows
// towards 1 as the next beat comes near. Without marks (or while the loader holds the stripe
// lock) the phase falls back on a plain grid from the track's start.

#include "audio/BeatClock.h"

class CSoundSource;

class CDeckBeatClock : public CBeatClock {
 public:
  explicit CDeckBeatClock(CSoundSource& deck) : deck_(deck) {}
  LUMO_RT BeatReading ReadBeat() const noexcept override;

 private:
  CSoundSource& deck_;
};
