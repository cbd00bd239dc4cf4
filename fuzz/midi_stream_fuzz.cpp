// Whatever a device sends (short messages, running bytes, sysex of any length, identity
// replies, floods past the queue's limit) goes from the driver callback through the queue into
// the test controller script, or into a built-in console's handler and its lamps, without a
// crash or a hang.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FakeTransport.h"
#include "controllers/ConsoleMessages.h"
#include "controllers/HardwareControllers.h"

namespace {

struct Rig {
  FakeMidiSystem midi;
  ScriptHost host;
  ControllerSet set{&midi, nullptr, &host};
  ConsoleHandler console{set.Leds(), nullptr};
  double now = 0;
  Rig() {
    midi.inputs = {"lumo-test-ctl:midi_out", "DJ Console Mk2 24:0"};
    midi.outputs = {"lumo-test-ctl:midi_in", "DJ Console Mk2 24:0"};
    set.Leds() = ConsoleLeds([] {});  // no 1 ms pauses between lamp messages here
    set.SetConsoleHandler([this](int, int status, int channel, int data1, int data2) {
      console.OnMessage(set.ConsoleInputBit(), status, channel, data1, data2);
      console.OnNotifier("keyLock", data1 & 1, data2);
    });
    set.SetClock([this] { return now; });
    set.DetectControllers(LUMO_SOURCE_DIR "/data/controllers");  // the console's input opens here
    set.ApplyMidiSelection({midi.inputs[0]});
    now = 2;
    set.PollControllers();  // the test controller tied by name
  }
};

Rig& TheRig() {
  static Rig rig;
  return rig;
}

}  // namespace

// The script engine and the rig are made once, before the first input, so their one-time
// allocations are not counted against an input by the leak check.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  TheRig();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Rig& rig = TheRig();
  // Each message: a length byte (1 to 32; bit 6 picks the console's input) and that many bytes.
  size_t at = 0;
  int sent = 0;
  while (at < size) {
    const size_t length = std::min<size_t>((data[at] & 31) + 1, size - at - 1);
    if (length == 0 || at + 1 >= size) break;
    rig.midi.Deliver((data[at] & 0x40) ? 1 : 0, std::vector<unsigned char>(data + at + 1, data + at + 1 + length));
    at += 1 + length;
    if (++sent % 300 == 0) rig.set.DrainQueue();
  }
  rig.set.DrainQueue();
  rig.set.PollControllers();
  rig.midi.sent[0].clear();
  rig.midi.sent[1].clear();
  return 0;
}
