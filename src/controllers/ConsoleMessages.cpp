#include "controllers/ConsoleMessages.h"

#include <cstring>

#include "skin/model/ActionDispatch.h"

namespace {

bool Is(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

// What the button with each lamp does.
struct LampButton {
  int led;
  const char* action;
  bool global;
};
constexpr LampButton kLampButtons[] = {
    {kLedPlay, "deckPlayPause", false},      {kLedCue, "deckCue", false},
    {kLedKeyLock, "deckKeyLock", false},     {kLedKillLow, "deckEqLowKill", false},
    {kLedKillMid, "deckEqMidKill", false},   {kLedKillHigh, "deckEqHighKill", false},
    {kLedRmxKillLow, "deckEqLowKill", false}, {kLedRmxKillMid, "deckEqMidKill", false},
    {kLedRmxKillHigh, "deckEqHighKill", false}, {kLedTalkOver, "micTalkOver", true},
    {kLedOnAir, "micOnAir", true},
};

// Notifier rows whose lamps the handler keeps in step (the play and cue lamps too: the tick
// reports them like any other row).
struct LampRow {
  const char* notifier;
  int led;
  int rmxLed;  // the RMX and Steel have their kill lamps elsewhere
};
constexpr LampRow kLampRows[] = {
    {"play", kLedPlay, kLedPlay},          {"cue", kLedCue, kLedCue},
    {"keyLock", kLedKeyLock, kLedKeyLock}, {"killLow", kLedKillLow, kLedRmxKillLow},
    {"killMid", kLedKillMid, kLedRmxKillMid}, {"killHigh", kLedKillHigh, kLedRmxKillHigh},
    {"talkOver", kLedTalkOver, kLedTalkOver}, {"onAir", kLedOnAir, kLedOnAir},
};

}  // namespace

ConsoleButton ConsoleButtonFor(int family, int status, int data1) {
  // Only the maker's consoles light their buttons by these numbers.
  if (family != kConsoleMk2 && family != kConsoleMp3 && family != kConsoleRmx && family != kConsoleSteel &&
      family != kConsoleMp3e2) {
    return {};
  }
  const int expected = family == kConsoleMp3e2 ? 0x90 : 0xB0;
  int led = 0, deck = 0;
  // Note-offs (and note-ons of velocity 0) of the MP3 e2 are the release of the same button.
  const bool matches = (status & 0xF0) == expected || (expected == 0x90 && (status & 0xF0) == 0x80);
  if (!matches || !ConsoleLedOfMessage(family, data1, &led, &deck)) return {};
  for (const LampButton& b : kLampButtons) {
    if (b.led == led) return {b.action, b.global ? -1 : deck};
  }
  return {};
}

void ConsoleHandler::OnMessage(int family, int status, int channel, int data1, int data2) {
  const ConsoleButton button = ConsoleButtonFor(family, status, data1);
  if (!button.action) {
    if (learn_) learn_(status, channel, data1, data2);
    return;
  }
  // The console sends 127 when a button goes down and 0 when it comes up: a press and a release
  // of the control, so a held cue works as it does with the mouse.
  const int value = (status & 0xF0) == 0x80 ? 0 : (data2 > 0 ? 127 : 0);
  if (button.deck < 0) {
    CallAction(button.action, &value, 1);
    return;
  }
  const int args[2] = {button.deck, value};
  CallAction(button.action, args, 2);
}

void ConsoleHandler::OnNotifier(const char* name, int deck, int value) {
  const bool rmx = leds_.Family() == kConsoleRmx || leds_.Family() == kConsoleSteel;
  for (const LampRow& row : kLampRows) {
    if (!Is(row.notifier, name)) continue;
    const int led = rmx ? row.rmxLed : row.led;
    // The microphone's lamps sit on one side of the console only.
    if (led == kLedTalkOver) leds_.ConsoleSetLed(led, 0, value);
    else if (led == kLedOnAir) leds_.ConsoleSetLed(led, 1, value);
    else leds_.ConsoleSetLed(led, deck, value);
  }
}

bool ConsoleHandler::ConsoleLedBlinkControl(const char* control, int deck) {
  if (deck != 0 && deck != 1) return false;
  bool* mode = nullptr;
  if (Is(control, "tarvo_tune_scratch")) mode = &scratch_[deck];
  if (Is(control, "tarvo_vol_pitch")) mode = &pitchOnFader_[deck];
  if (!mode) return false;
  *mode = !*mode;
  return *mode;
}
