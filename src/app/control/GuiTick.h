#pragma once
// The window's half of the main tick, without the toolkit: about 26 times a second it runs the
// shared engine tick, then writes what the engine is doing into the controls (times, tempo,
// pitch, the position slider, the play, cue and loop lamps), tells the notifier table what
// changed, and collects the output layer's notice for the window to show.
//
// Lamps follow the engine, never the click: a PLAY pressed with no track stays dark.
//
// Threads: GUI thread only. Reads engine atomics and never waits on the audio thread.

#include <string>

#include "app/EngineTick.h"

class CSoundSource;

// Marks a deck's pitch fader to glide back to zero: once a tick cycle (about 380 ms) it moves
// 10 hundredths of a percent toward 0, through the fader, so the engine and the display follow.
void RequestSlowPitchReset(int deck);

class CGuiTick {
 public:
  // One tick over g_engine's decks. Returns the output notice to show, or "".
  std::string Run();
  int counter() const { return engineTick_.counter(); }
  // True once after the engine tick stopped a recording whose disk failed.
  bool TakeRecorderFailure() { return engineTick_.TakeRecorderFailure(); }
  // How many notifier values the tick changed so far (a value that stays the same is told once).
  long notifications() const { return notifications_; }

  // Writes `value` into the notifier slot when it differs, in its three forms (integer,
  // number, text); true when it changed.
  bool Notify(const char* name, int deck, int value);

 private:
  void RefreshDeck(CSoundSource& deck, int index, const DeckTickReport& report);
  void RefreshLamps(CSoundSource& deck, int index);
  void NotifyDeck(CSoundSource& deck, int index);
  void RefreshClock();
  void SlowPitchReset();

  CEngineTick engineTick_;
  long notifications_ = 0;
  std::string shownNames_[4];
};
