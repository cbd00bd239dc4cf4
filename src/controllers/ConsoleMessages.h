#pragma once
// The built-in handlers of the consoles the program maps itself (no script). A Tarvo console's
// lit buttons send the number of their own lamp, so the lamp table read backwards says which
// button a message comes from: play, cue, key lock, the three kills, talk-over and on-air work
// as soon as the console is plugged in. Everything else a console sends (its faders, jog wheels,
// and every control of the other built-in consoles) goes to the MIDI learn map, where the DJ
// binds it like any unscripted device.
//
// The handler also keeps the console's two modes (`tarvo_tune_scratch`, `tarvo_vol_pitch`, per
// deck) and puts its lamps in step with the engine: the tick hands it each changed notifier row.
//
// Threads: GUI thread only.

#include <functional>

#include "controllers/ConsoleLeds.h"

struct ConsoleButton {
  const char* action = nullptr;  // the script action a press runs; null: not a known button
  int deck = -1;                 // 0 or 1; -1 for a global action
};
// The button behind a message from a console of `family`.
ConsoleButton ConsoleButtonFor(int family, int status, int data1);

class ConsoleHandler {
 public:
  // `learn` takes the messages that are not a known button (status, channel, data1, data2).
  using LearnMap = std::function<void(int status, int channel, int data1, int data2)>;
  ConsoleHandler(ConsoleLeds& leds, LearnMap learn) : leds_(leds), learn_(std::move(learn)) {}

  // One message from the built-in console of `family` (its bit).
  void OnMessage(int family, int status, int channel, int data1, int data2);
  // A changed notifier row: the lamps that follow it are set (on the console the lamps serve).
  void OnNotifier(const char* name, int deck, int value);

  // The console's two mode switches, `tarvo_tune_scratch` and `tarvo_vol_pitch`, on deck 0 or
  // 1: each press flips the mode and returns the new state (false for anything else).
  bool ConsoleLedBlinkControl(const char* control, int deck);
  bool ScratchMode(int deck) const { return deck == 0 || deck == 1 ? scratch_[deck] : false; }
  bool PitchOnFader(int deck) const { return deck == 0 || deck == 1 ? pitchOnFader_[deck] : false; }

 private:
  ConsoleLeds& leds_;
  LearnMap learn_;
  bool scratch_[2] = {};
  bool pitchOnFader_[2] = {};
};

// The console lamps the program drives (the maker's property numbers).
enum ConsoleLed : int {
  kLedKillLow = 534, kLedKillMid = 535, kLedKillHigh = 536, kLedKeyLock = 537, kLedPlay = 538, kLedCue = 539,
  kLedOnAir = 540, kLedTalkOver = 541, kLedRmxKillLow = 623, kLedRmxKillMid = 624, kLedRmxKillHigh = 625,
};
