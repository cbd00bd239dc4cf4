// Whatever a device sends (short messages, running bytes, sysex of any length, identity
// replies, floods past the queue's limit) goes from the driver callback through the queue into
// the test controller script without a crash or a hang.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FakeTransport.h"
#include "controllers/HardwareControllers.h"

namespace {

struct Rig {
  FakeMidiSystem midi;
  ScriptHost host;
  ControllerSet set{&midi, nullptr, &host};
  double now = 0;
  Rig() {
    midi.inputs = {"lumo-test-ctl:midi_out"};
    midi.outputs = {"lumo-test-ctl:midi_in"};
    host.LoadControllerScript(LUMO_SOURCE_DIR "/data/controllers/lumo-test-controller.js");
    set.SetClock([this] { return now; });
    set.ListDevices();
    set.ApplyMidiSelection(midi.inputs);
    now = 2;
    set.PollControllers();  // tied by name
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Rig rig;
  // Each message: a length byte (1 to 32) and that many bytes.
  size_t at = 0;
  int sent = 0;
  while (at < size) {
    const size_t length = std::min<size_t>((data[at] & 31) + 1, size - at - 1);
    if (length == 0 || at + 1 >= size) break;
    rig.midi.Deliver(0, std::vector<unsigned char>(data + at + 1, data + at + 1 + length));
    at += 1 + length;
    if (++sent % 300 == 0) rig.set.DrainQueue();
  }
  rig.set.DrainQueue();
  rig.set.PollControllers();
  rig.midi.sent[0].clear();
  return 0;
}
