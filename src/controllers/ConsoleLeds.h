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

// The family a MIDI port name belongs to, 0 for none (substring tests, case sensitive).
int ConsoleFamilyFromPortName(const std::string& name);

// The built-in consoles (mapped by the program, not by a script) that a port name stands for,
// tested in the order start-up tests them: a bit of the controller type, and the name the log
// gives. `outputs` selects the shorter order used for output ports. 0 and "" for none.
struct BuiltInConsole {
  int bit;
  const char* name;
};
BuiltInConsole BuiltInConsoleFromPortName(const std::string& portName, bool outputs);
// What the status line shows for a found console; "" for none.
const char* ConsoleName(int family);

class ConsoleLeds {
 public:
  // `pause` runs after each send (1 ms by default; tests count instead of sleeping).
  explicit ConsoleLeds(std::function<void()> pause = nullptr);

  // The console's output and family; null or 0 turns the lamps off this path.
  void SetOutput(MidiOutput* output, int family);

  // Deck 0 or 1 (higher decks have no lamps on a two-deck console).
  void ConsoleSetLed(int led, int deck, int value);
  void ConsoleSetLedBothDecks(int led, int value);

 private:
  static constexpr int kFirstLed = 534;
  static constexpr int kLedCount = 625 - 534 + 1;
  bool Send(int status, int number, int value);
  int MessageNumber(int led, int deck) const;

  std::function<void()> pause_;
  MidiOutput* output_ = nullptr;
  int family_ = 0;
  int state_[2][kLedCount];
};
