#include "controllers/ControllerLayer.h"

namespace {
constexpr const char* kKeyFile = "shortcuts_kb.xml";
constexpr const char* kMidiFile = "shortcuts_midi.xml";
}  // namespace

ControllerLayer::ControllerLayer(std::unique_ptr<MidiSystem> midi, std::unique_ptr<HidSystem> hid)
    : midi_(std::move(midi)),
      hid_(std::move(hid)),
      controllers_(midi_.get(), hid_.get(), &host_),
      console_(controllers_.Leds(), [this](int status, int channel, int data1, int data2) {
        shortcuts_.MapMidi(status, channel, data1, data2, 0);
      }) {
  controllers_.SetUnmatchedHandler([this](int status, int channel, int data1, int data2, int time) {
    shortcuts_.MapMidi(status, channel, data1, data2, time);
  });
  controllers_.SetConsoleHandler([this](int, int status, int channel, int data1, int data2) {
    console_.OnMessage(controllers_.ConsoleInputBit(), status, channel, data1, data2);
  });
}

const char* ControllerLayer::ConsoleStatus() const {
  const int bit = controllers_.ConsoleInputBit() ? controllers_.ConsoleInputBit() : controllers_.ConsoleOutputBit();
  return ConsoleName(bit);
}

ControllerLayer::~ControllerLayer() { controllers_.CloseAll(); }

void ControllerLayer::Start(const std::string& settingsFolder, const std::string& scriptFolder,
                            const std::vector<std::string>& enabledMidiInputs, MidiQueue::WakeFunction wake,
                            void* wakeContext) {
  shortcuts_.LoadKeyShortcuts(settingsFolder + kKeyFile);
  shortcuts_.LoadMidiShortcuts(settingsFolder + kMidiFile);
  controllers_.Queue().SetWake(wake, wakeContext);
  controllers_.DetectControllers(scriptFolder);
  controllers_.ApplyMidiSelection(enabledMidiInputs);
}

void ControllerLayer::SaveShortcuts(const std::string& settingsFolder) const {
  shortcuts_.SaveKeyShortcuts(settingsFolder + kKeyFile);
  shortcuts_.SaveMidiShortcuts(settingsFolder + kMidiFile);
}

void ControllerLayer::Tick() {
  controllers_.DrainQueue();
  controllers_.PollControllers();
  controllers_.WatchDevices();
  controllers_.NotifyChanges([this](const char* name, int deck, int value) { console_.OnNotifier(name, deck, value); });
}
