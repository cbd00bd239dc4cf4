#include "controllers/ConsoleLeds.h"

#include <chrono>
#include <thread>

namespace {

struct LedRow {
  int led;
  int mk2Deck0, mk2Deck1;  // MP3 and Mk2 families; -1 where the lamp does not exist
  int rmxDeck0, rmxDeck1;  // RMX and Steel
};

constexpr LedRow kControllerLeds[] = {
    {534, 15, 16, -1, -1}, {535, 14, 17, -1, -1}, {536, 13, 18, -1, -1}, {537, 22, 26, -1, -1},
    {538, 9, 3, 12, 36},   {539, 8, 2, 11, 35},   {540, -1, 4, -1, 31},  {541, 10, -1, 7, -1},
    {554, 21, 25, 20, 24}, {623, -1, -1, 14, 38}, {624, -1, -1, 15, 39}, {625, -1, -1, 16, 40},
};

struct NoteRow {
  int led, deck0, deck1;
};
constexpr NoteRow kNoteLeds[] = {{537, 19, 39}, {538, 14, 34}, {539, 15, 35}, {554, 16, 36}};

struct BuiltInTest {
  int bit;
  int kind;  // the queue kind of its messages
  const char* name;
  const char* tests[4];
  bool hasOutput;
};
constexpr BuiltInTest kBuiltInTests[] = {
    {0x1, 1, "Behringer BCD2000", {"BCD-2000", "BCD2000"}, true},
    {0x2, 1, "Behringer BCD3000", {"BCD-3000", "BCD3000"}, true},
    {0x8000, 8, "M-Audio Xponent", {"Xponent"}, false},
    {0x10000, 16, "Reloop Digital Jockey 2 Interface Edition", {"Reloop", "Digital Jockey - IE2"}, false},
    {0x100000, 64, "Vestax VCI-100", {"Vestax", "VCI-100", "VCI100", "VCI 100"}, false},
    {kConsoleMp3e2, 32, "Tarvo DJ Control MP3 e2", {"DJ Control MP3 e2"}, true},
    {kConsoleMp3, 2, "Tarvo DJ Control MP3", {"DJ Control MP3"}, true},
    {kConsoleMk2, 2, "Tarvo DJ Console Mk2", {"DJ Console Mk2"}, true},
    {kConsoleSteel, 4, "Tarvo DJ Control Steel", {"DJ Control Steel"}, true},
    {kConsoleRmx, 4, "Tarvo DJ Console RMX", {"DJ Console Rmx"}, true},
};

}  // namespace

BuiltInConsole BuiltInConsoleFromPortName(const std::string& portName, bool outputs) {
  for (const BuiltInTest& test : kBuiltInTests) {
    if (outputs && !test.hasOutput) continue;
    for (const char* text : test.tests) {
      if (text && portName.find(text) != std::string::npos) return {test.bit, test.name, test.kind};
    }
  }
  return {0, "", 0};
}

// The names the consoles go by on the status line: the RMX and the Steel are both "DJ Console"
// there, and the MP3 e2 shows as the MP3 it replaced.
const char* ConsoleName(int family) {
  switch (family) {
    case kConsoleMk2: return "Tarvo DJ Console Mk2";
    case kConsoleRmx:
    case kConsoleSteel: return "Tarvo DJ Console";
    case kConsoleMp3:
    case kConsoleMp3e2: return "Tarvo DJ Control MP3";
    default: return "";
  }
}

void ConsoleLedState::Forget() {
  for (auto& deck : value) {
    for (int& v : deck) v = -1;  // unknown: the first value is always sent
  }
}

int ConsoleLedMessageNumber(int family, int led, int deck) {
  if (deck < 0 || deck > 1) return -1;
  if (family == kConsoleMp3e2) {
    for (const NoteRow& row : kNoteLeds) {
      if (row.led == led) return deck == 0 ? row.deck0 : row.deck1;
    }
    return -1;
  }
  const bool rmx = family == kConsoleRmx || family == kConsoleSteel;
  for (const LedRow& row : kControllerLeds) {
    if (row.led != led) continue;
    if (rmx) return deck == 0 ? row.rmxDeck0 : row.rmxDeck1;
    // The shuffle lamp moved on the consoles after the Mk2.
    if (led == 554 && family != 64 && family != kConsoleMk2) return deck == 0 ? 126 : 125;
    return deck == 0 ? row.mk2Deck0 : row.mk2Deck1;
  }
  return -1;
}

bool ConsoleLedOfMessage(int family, int number, int* led, int* deck) {
  for (int l = kFirstConsoleLed; l < kFirstConsoleLed + kConsoleLedCount; ++l) {
    for (int d = 0; d < 2; ++d) {
      if (ConsoleLedMessageNumber(family, l, d) != number) continue;
      *led = l;
      *deck = d;
      return true;
    }
  }
  return false;
}

ConsoleLeds::ConsoleLeds(std::function<void()> pause) : pause_(std::move(pause)) {
  if (!pause_) pause_ = [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); };
  SetOutput(nullptr, 0);
}

void ConsoleLeds::SetOutput(MidiOutput* output, int family) {
  output_ = output;
  family_ = family;
  state_.Forget();
}

void ConsoleLeds::ConsoleSetLed(int led, int deck, int value) {
  if (deck < 0 || deck > 1 || led < kFirstConsoleLed || led >= kFirstConsoleLed + kConsoleLedCount) return;
  int& stored = state_.value[deck][led - kFirstConsoleLed];
  if (stored == value) return;
  if (family_ < 64 || family_ > 4096 || !output_) return;
  stored = value;
  const int number = ConsoleLedMessageNumber(family_, led, deck);
  if (number < 0) return;
  const int status = family_ == kConsoleMp3e2 ? 0x90 : 0xB0;
  const int lit = value > 0 ? 127 : 0;
  for (int channel = 0; channel < 2; ++channel) Send(status | channel, number, lit);
}

void ConsoleLeds::ConsoleSetLedBothDecks(int led, int value) {
  ConsoleSetLed(led, 0, value);
  ConsoleSetLed(led, 1, value);
}

bool ConsoleLeds::Send(int status, int number, int value) {
  const unsigned char bytes[3] = {static_cast<unsigned char>(status), static_cast<unsigned char>(number),
                                  static_cast<unsigned char>(value)};
  const bool sent = output_->Send(bytes, sizeof bytes);
  pause_();
  return sent;
}
