#pragma once
// The lamps of the maker's DJ consoles, driven with MIDI: each lamp is a numbered property
// (534 to 625) that becomes a controller message (or, for the MP3 e2, a note) on channels 0
// and 1, with a 1 ms pause after each send because the consoles drop messages otherwise. The
// last value sent per deck and lamp is kept, so an unchanged lamp is never sent again.
//
// Threads: GUI thread only.

#include <functional>
#include <string>

#include "controllers/ControllerTransport.h"

// Console families (bits of the built-in controller type).
enum ConsoleFamily : int {
  kConsoleMk2 = 0x80,
  kConsoleMp3 = 0x100,
  kConsoleRmx = 0x400,
  kConsoleSteel = 0x800,
  kConsoleMp3e2 = 0x1000,
};

// The built-in consoles (mapped by the program, not by a script) that a port name stands for,
// tested in the order start-up tests them: a bit of the controller type, and the name the log
// gives and the kind of its messages. `outputs` selects the shorter order used for output ports. 0 and "" for none.
struct BuiltInConsole {
  int bit;
  const char* name;
  int kind;  // the queue kind its messages carry (1, 2, 4, 8, 16, 32 or 64)
};
BuiltInConsole BuiltInConsoleFromPortName(const std::string& portName, bool outputs);
// What the status line (`status_tarvo_controller`) shows for a console of `family`; "" for none.
const char* ConsoleName(int family);

// The message number (controller or note) that drives lamp `led` of `deck` on a console of
// `family`, -1 where the console has no such lamp; and the way back: the lamp and deck a
// message number stands for (false for none).
int ConsoleLedMessageNumber(int family, int led, int deck);
bool ConsoleLedOfMessage(int family, int number, int* led, int* deck);
// Lamps are property numbers from 534 to 625.
constexpr int kFirstConsoleLed = 534;
constexpr int kConsoleLedCount = 625 - 534 + 1;

// The last value sent to each lamp of the two decks; -1 for not yet sent.
struct ConsoleLedState {
  int value[2][kConsoleLedCount];
  void Forget();
};

class ConsoleLeds {
 public:
  // `pause` runs after each send (1 ms by default; tests count instead of sleeping).
  explicit ConsoleLeds(std::function<void()> pause = nullptr);

  // The console's output and family; null or 0 turns the lamps off this path.
  void SetOutput(MidiOutput* output, int family);
  int Family() const { return output_ ? family_ : 0; }

  // Deck 0 or 1 (higher decks have no lamps on a two-deck console).
  void ConsoleSetLed(int led, int deck, int value);
  void ConsoleSetLedBothDecks(int led, int value);

 private:
  bool Send(int status, int number, int value);

  std::function<void()> pause_;
  MidiOutput* output_ = nullptr;
  int family_ = 0;
  ConsoleLedState state_;
};
