#include "controllers/HardwareControllers.h"

#include <chrono>
#include <cstdint>
#include <cstdio>

#include "app/base/Trace.h"
#include "controllers/PortNames.h"

namespace {

const unsigned char kIdentityRequest[] = {0xF0, 0x7E, 0x7F, 0x06, 0x01, 0xF7};

double SteadySeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// A universal identity reply: F0 7E <device> 06 02 and the five identity bytes, whatever the
// device id.
bool IsIdentityReply(const unsigned char* bytes, size_t length) {
  return length >= 10 && bytes[0] == 0xF0 && bytes[1] == 0x7E && bytes[3] == 0x06 && bytes[4] == 0x02;
}

}  // namespace

ControllerSet::ControllerSet(MidiSystem* midi, HidSystem* hid, ScriptHost* host)
    : midi_(midi), hid_system_(hid), host_(host), clock_(SteadySeconds) {
  for (int i = 0; i < kMaxControllerSlots; ++i) {
    slots_[i].selfId = i;
    slots_[i].owner = this;
  }
  if (host_) host_->SetDevices(this);
}

ControllerSet::~ControllerSet() {
  CloseAll();
  consoleIn_.input.reset();
  leds_.SetOutput(nullptr, 0);
  if (host_) host_->SetDevices(nullptr);
}

void ControllerSet::ListDevices() {
  if (midi_) {
    inputs_ = midi_->InputNames();
    outputs_ = midi_->OutputNames();
  }
  if (hid_system_) hid_ = hid_system_->Enumerate();
}

void ControllerSet::DetectControllers(const std::string& scriptFolder) {
  ListDevices();
  for (size_t i = 0; i < hid_.size(); ++i) {
    const HidDeviceInfo& d = hid_[i];
    TraceLine("HID found[%d]: '%s', VID:%04hx, PID:%04hx, usage_page:%x, usage:%x, path:'%s'", static_cast<int>(i),
              d.product.c_str(), static_cast<unsigned short>(d.vendorId), static_cast<unsigned short>(d.productId),
              d.usagePage, d.usage, d.path.c_str());
  }
  CloseAll();
  if (host_) host_->LoadControllerScripts(scriptFolder);
  WatchHid(hid_);
  DetectBuiltInConsoles();
  lastWatch_ = Now();
}

// The consoles the program maps itself: the first input and the first output whose names pass
// a test set the controller type; the input's messages go to the console's handler, the output
// drives its lamps. Runs again when the ports change (a console plugged in or out).
void ControllerSet::DetectBuiltInConsoles() {
  hardwareControllerType_ = 0;
  leds_.SetOutput(nullptr, 0);
  consoleOutput_.reset();
  consoleOutputBit_ = 0;
  consoleIn_.input.reset();  // stops its callbacks before the fields change
  consoleIn_ = ConsoleInput{};
  consoleIn_.owner = this;
  for (size_t i = 0; i < inputs_.size(); ++i) {
    const BuiltInConsole console = BuiltInConsoleFromPortName(inputs_[i], false);
    if (!console.bit) continue;
    hardwareControllerType_ |= console.bit;
    TraceLine("yes, we found a '%s' controller (in)", console.name);
    CloseControllersOfMidiInput(static_cast<int>(i));  // the console's own handler takes it
    consoleIn_.bit = console.bit;
    consoleIn_.kind = console.kind;
    consoleIn_.name = inputs_[i];
    if (midi_) consoleIn_.input = midi_->OpenInput(static_cast<int>(i), &ControllerSet::OnConsoleBytes, &consoleIn_);
    break;
  }
  for (size_t i = 0; i < outputs_.size() && midi_; ++i) {
    const BuiltInConsole console = BuiltInConsoleFromPortName(outputs_[i], true);
    if (!console.bit) continue;
    consoleOutput_ = midi_->OpenOutput(static_cast<int>(i));
    TraceLine("yes, we found a '%s' controller (out)", console.name);
    if (consoleOutput_) leds_.SetOutput(consoleOutput_.get(), console.bit);
    consoleOutputBit_ = console.bit;
    // The console's first output: every lamp off, whatever the last program left lit.
    for (int led = kFirstConsoleLed; led < kFirstConsoleLed + kConsoleLedCount; ++led) {
      leds_.ConsoleSetLedBothDecks(led, 0);
    }
    break;
  }
  TraceLine("controllerType = %d", hardwareControllerType_);
}

bool ControllerSet::OpenController(int midiInIndex, int hidIndex, int* slot) {
  if (slot) *slot = -1;
  for (const CZQHardwareController& c : slots_) {
    if (!c.open) continue;
    if ((midiInIndex >= 0 && c.midiInIndex == midiInIndex) || (hidIndex >= 0 && c.hidIndex == hidIndex)) return false;
  }
  CZQHardwareController* free = nullptr;
  for (CZQHardwareController& c : slots_) {
    if (!c.open) {
      free = &c;
      break;
    }
  }
  if (!free) return false;
  CZQHardwareController& c = *free;
  c.open = true;
  c.midiInIndex = c.midiOutIndex = c.hidIndex = c.scriptIndex = -1;
  c.matchDone = 0;
  c.matchReason.clear();
  c.inputName.clear();
  c.outputName.clear();
  c.hidPath.clear();
  const bool opened = midiInIndex >= 0 ? OpenMidi(c, midiInIndex) : OpenHid(c, hidIndex);
  TraceLine("CZQHardwareController constructor in:%d, out:%d", c.midiInIndex, c.midiOutIndex);
  if (slot) *slot = c.selfId;
  return opened;
}

bool ControllerSet::OpenMidi(CZQHardwareController& c, int midiInIndex) {
  c.midiInIndex = midiInIndex;
  c.inputName = midiInIndex < static_cast<int>(inputs_.size()) ? inputs_[midiInIndex] : "";
  if (midi_) c.midiIn = midi_->OpenInput(midiInIndex, &ControllerSet::OnMidiBytes, &c);
  if (!c.midiIn) TraceLine("MIDI input '%s' could not be opened", c.inputName.c_str());
  // The output of the same device: the first of exactly the same name, else the first of the
  // same name once the system's decorations are taken off (two identical devices under ALSA
  // differ only in their client numbers, and each keeps its own output).
  int output = -1;
  for (size_t i = 0; i < outputs_.size() && output < 0; ++i) {
    if (outputs_[i] == c.inputName) output = static_cast<int>(i);
  }
  const std::string name = NormaliseMidiPortName(c.inputName);
  for (size_t i = 0; i < outputs_.size() && output < 0; ++i) {
    if (NormaliseMidiPortName(outputs_[i]) == name) output = static_cast<int>(i);
  }
  if (output >= 0 && midi_) c.midiOut = midi_->OpenOutput(output);
  if (c.midiOut) {
    c.midiOutIndex = output;
    c.outputName = outputs_[output];
  }
  if (!c.midiOut) {
    c.matchDone = 1;  // nothing to ask and nowhere to answer: the learn map takes it
    return c.midiIn != nullptr;
  }
  c.midiOut->Send(kIdentityRequest, sizeof kIdentityRequest);
  c.identityRequestTime = Now();
  return c.midiIn != nullptr;
}

bool ControllerSet::OpenHid(CZQHardwareController& c, int hidIndex) {
  TraceLine("CZQHardwareController -- opening HID device");
  c.hidIndex = hidIndex;
  c.matchDone = 1;
  c.stores.Clear();
  c.stores.reportLength = kHidPageBytes;
  if (hidIndex < 0 || hidIndex >= static_cast<int>(hid_.size())) return false;
  const HidDeviceInfo& device = hid_[hidIndex];
  c.inputName = device.product;
  c.hidPath = device.path;
  if (hid_system_) c.hidDevice = hid_system_->Open(device);
  if (!c.hidDevice) TraceLine("HID device '%s' could not be opened", device.path.c_str());
  for (int s = 0; host_ && s < host_->ScriptCount(); ++s) {
    const ControllerScript& script = host_->Script(s);
    if (script.hidVid == 0 || script.hidVid != device.vendorId || script.hidPid != device.productId) continue;
    TraceLine("controller HID [%X] FSelfId=%d matched to script '%s' [using VID %X / PID %X]", c.LogId(), c.selfId,
              script.fileName.c_str(), script.hidVid, script.hidPid);
    Tie(c, s, "VID/PID");
  }
  return c.hidDevice != nullptr;
}

void ControllerSet::Tie(CZQHardwareController& c, int script, const char* reason) {
  c.scriptIndex = script;
  c.matchReason = reason;
  host_->CallVoid(script, "controllerInit", {c.selfId});
}

void ControllerSet::CloseController(int slot) {
  if (slot < 0 || slot >= kMaxControllerSlots || !slots_[slot].open) return;
  CZQHardwareController& c = slots_[slot];
  if (c.scriptIndex >= 0 && host_) host_->CallVoid(c.scriptIndex, "controllerDeinit", {c.selfId});
  c.hidDevice.reset();
  c.midiOut.reset();
  c.midiIn.reset();  // stops the driver's callbacks for this slot
  c.open = false;
  c.scriptIndex = -1;
  c.midiInIndex = c.midiOutIndex = c.hidIndex = -1;
  c.matchReason.clear();
}

void ControllerSet::CloseControllersOfMidiInput(int index) {
  for (CZQHardwareController& c : slots_) {
    if (c.open && c.midiInIndex == index) CloseController(c.selfId);
  }
}

void ControllerSet::CloseAllMidiControllers() {
  for (CZQHardwareController& c : slots_) {
    if (c.open && c.midiInIndex >= 0) CloseController(c.selfId);
  }
}

void ControllerSet::CloseAllHidControllers() {
  for (CZQHardwareController& c : slots_) {
    if (c.open && c.hidIndex >= 0) CloseController(c.selfId);
  }
}

void ControllerSet::CloseAll() {
  for (CZQHardwareController& c : slots_) CloseController(c.selfId);
}

void ControllerSet::ApplyMidiSelection(const std::vector<std::string>& enabledInputs) {
  selection_ = enabledInputs;
  for (size_t i = 0; i < inputs_.size(); ++i) {
    if (consoleIn_.input && inputs_[i] == consoleIn_.name) continue;  // the console's handler has it
    bool enabled = false;
    for (const std::string& name : enabledInputs) {
      enabled = enabled || name == inputs_[i] || NormaliseMidiPortName(name) == NormaliseMidiPortName(inputs_[i]);
    }
    bool isOpen = false;
    for (const CZQHardwareController& c : slots_) isOpen = isOpen || (c.open && c.midiInIndex == static_cast<int>(i));
    if (enabled && !isOpen) {
      int slot = -1;
      OpenController(static_cast<int>(i), -1, &slot);
    } else if (!enabled && isOpen) {
      CloseControllersOfMidiInput(static_cast<int>(i));
    }
  }
}

void ControllerSet::OnConsoleBytes(void* context, const unsigned char* bytes, size_t length, int time) {
  auto* console = static_cast<ConsoleInput*>(context);
  if (!console || length == 0 || bytes[0] == 0xF0) return;  // the consoles' sysex means nothing here
  console->owner->queue_.PushShortBytes(console, bytes, length, time, console->kind);
}

void ControllerSet::OnMidiBytes(void* context, const unsigned char* bytes, size_t length, int time) {
  auto* c = static_cast<CZQHardwareController*>(context);
  if (!c || length == 0) return;
  if (bytes[0] != 0xF0) {
    c->owner->queue_.PushShortBytes(c, bytes, length, time);
    return;
  }
  if (IsIdentityReply(bytes, length)) {
    const int first4 = (bytes[5] << 24) | (bytes[6] << 16) | (bytes[7] << 8) | bytes[8];
    c->owner->queue_.Push(c, kIdentityReplyKind, 0xF0, 0, first4, bytes[9], time);
    return;
  }
  char text[3 * 64 + 1] = {};
  for (size_t i = 0; i < length && i < 64; ++i) std::snprintf(text + 3 * i, 4, "%02X ", bytes[i]);
  TraceLine("SysEx (size:%d) '%s'", static_cast<int>(length), text);
}
