// The GUI-thread half of the controller set: the queue's drain, matching, polling and
// hot-plug.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "app/base/Trace.h"
#include "controllers/HardwareControllers.h"
#include "controllers/PortNames.h"
#include "skin/model/NotifierTable.h"

namespace {

constexpr double kIdentityTimeout = 1.0;  // seconds before a silent device is matched by name
constexpr double kWatchPeriod = 1.0;      // seconds between two listings of the devices
constexpr int kMaxHidReportsPerTick = 64;  // a jog wheel's burst, and no more

// The first port a built-in console test takes, "" for none.
std::string FirstConsolePort(const std::vector<std::string>& names, bool outputs) {
  for (const std::string& name : names) {
    if (BuiltInConsoleFromPortName(name, outputs).bit) return name;
  }
  return {};
}

}  // namespace

int ControllerSet::DrainQueue() {
  return queue_.Drain([this](const MidiQueueMessage& m) { DeliverMessage(m); });
}

void ControllerSet::DeliverMessage(const MidiQueueMessage& m) {
  const bool builtIn = m.kind >= 1 && m.kind <= 64 && (m.kind & (m.kind - 1)) == 0;
  if (builtIn) {
    // A message still queued from a console input that closed since is dropped.
    if (m.context == &consoleIn_ && consoleIn_.input && consoleHandler_) {
      consoleHandler_(m.kind, m.status, m.channel, m.data1, m.data2);
    }
    return;
  }
  if (m.kind != kGenericControllerKind && m.kind != kIdentityReplyKind) {
    if (unmatched_) unmatched_(m.status, m.channel, m.data1, m.data2, m.time);
    return;
  }
  auto* c = static_cast<CZQHardwareController*>(m.context);
  if (!c || !c->open) return;  // closed since the message came
  if (m.kind == kIdentityReplyKind) {
    char id[11];
    std::snprintf(id, sizeof id, "%02X%02X%02X%02X%02X", (m.data1 >> 24) & 0xFF, (m.data1 >> 16) & 0xFF,
                  (m.data1 >> 8) & 0xFF, m.data1 & 0xFF, m.data2 & 0xFF);
    MatchBySysEx(*c, id);
    return;
  }
  if (c->scriptIndex >= 0 && host_) {
    if (host_->Script(c->scriptIndex).controllerType != 1) {
      host_->CallVoid(c->scriptIndex, "messageReceived", {c->selfId, m.status, m.channel, m.data1, m.data2});
    }
  } else if (unmatched_) {
    unmatched_(m.status, m.channel, m.data1, m.data2, m.time);
  }
}

void ControllerSet::MatchBySysEx(CZQHardwareController& c, const std::string& id) {
  for (int s = 0; host_ && s < host_->ScriptCount(); ++s) {
    const ControllerScript& script = host_->Script(s);
    if (script.controllerType != 0 || script.sysExId != id) continue;
    c.matchDone = 1;
    TraceLine("controller [%X] FSelfId=%d matched to script '%s' [using sysex id]", c.LogId(), c.selfId,
              script.fileName.c_str());
    Tie(c, s, "sysex id");
  }
  c.matchDone = 1;  // answered: no name test after this, script or not
}

void ControllerSet::MatchByName(CZQHardwareController& c) {
  for (int s = 0; host_ && s < host_->ScriptCount(); ++s) {
    const ControllerScript& script = host_->Script(s);
    if (!MidiPortNameMatches(script.midiInName, c.inputName)) continue;
    TraceLine("controller MIDI [%X] FSelfId=%d matched to script '%s' [using device name]", c.LogId(), c.selfId,
              script.fileName.c_str());
    Tie(c, s, "device name");
  }
  c.matchDone = 1;
}

void ControllerSet::PollControllers() {
  for (CZQHardwareController& c : slots_) {
    if (!c.open) continue;
    if (!c.matchDone && c.midiOut && Now() - c.identityRequestTime > kIdentityTimeout) MatchByName(c);
    if (c.hidDevice && c.scriptIndex >= 0) PollHid(c);
    if (c.open && c.scriptIndex >= 0 && host_) host_->CallVoid(c.scriptIndex, "timerTick", {c.selfId});
  }
}

void ControllerSet::PollHid(CZQHardwareController& c) {
  unsigned char report[kHidReadBytes];
  for (int i = 0; i < kMaxHidReportsPerTick && c.hidDevice; ++i) {
    const int length = c.hidDevice->Read(report, sizeof report);
    if (length < 0) {
      TraceLine("HID: unable to read");
      return;
    }
    if (length == 0) return;
    c.stores.TakeReport(report, length);
    host_->CallVoid(c.scriptIndex, "messageReceivedHid", {c.selfId});
  }
}

bool ControllerSet::SendMidiShort(int uniqueId, int status, int data1, int data2) {
  if (uniqueId < 0 || uniqueId >= kMaxControllerSlots) return false;
  CZQHardwareController& c = slots_[uniqueId];
  if (!c.open || !c.midiOut) return false;
  const unsigned char bytes[3] = {static_cast<unsigned char>(status), static_cast<unsigned char>(data1),
                                  static_cast<unsigned char>(data2)};
  // Program change and channel pressure carry one data byte.
  const size_t length = (status & 0xE0) == 0xC0 ? 2 : 3;
  return c.midiOut->Send(bytes, length);
}

SysExResult ControllerSet::SendMidiLong(int uniqueId, const unsigned char* bytes, int length) {
  if (uniqueId < 0 || uniqueId >= kMaxControllerSlots || length <= 0) return SysExResult::kFailed;
  CZQHardwareController& c = slots_[uniqueId];
  if (!c.open || !c.midiOut) return SysExResult::kFailed;
  return SendLong(*c.midiOut, bytes, static_cast<size_t>(length), clock_);
}

HidStores* ControllerSet::HidStoresOf(int uniqueId) {
  if (uniqueId < 0 || uniqueId >= kMaxControllerSlots) return nullptr;
  CZQHardwareController& c = slots_[uniqueId];
  return c.open && c.hidIndex >= 0 ? &c.stores : nullptr;
}

bool ControllerSet::WriteHid(int uniqueId, const unsigned char* data, int length) {
  if (uniqueId < 0 || uniqueId >= kMaxControllerSlots) return false;
  CZQHardwareController& c = slots_[uniqueId];
  return c.open && c.hidDevice && c.hidDevice->Write(data, static_cast<size_t>(length)) >= 0;
}

int ControllerSet::FindInput(const std::string& name) const {
  for (size_t i = 0; i < inputs_.size(); ++i) {
    if (inputs_[i] == name) return static_cast<int>(i);
  }
  return -1;
}

void ControllerSet::WatchDevices() {
  if (Now() - lastWatch_ < kWatchPeriod) return;
  lastWatch_ = Now();
  if (midi_) WatchMidi(midi_->InputNames(), midi_->OutputNames());
  if (hid_system_) WatchHid(hid_system_->Enumerate());
}

void ControllerSet::WatchMidi(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs) {
  if (inputs == inputs_ && outputs == outputs_) return;
  for (const std::string& name : inputs) {
    if (std::find(inputs_.begin(), inputs_.end(), name) == inputs_.end()) {
      TraceLine("MIDI device came: '%s'", name.c_str());
    }
  }
  const bool consolesMoved = FirstConsolePort(inputs, false) != FirstConsolePort(inputs_, false) ||
                             FirstConsolePort(outputs, true) != FirstConsolePort(outputs_, true);
  inputs_ = inputs;
  outputs_ = outputs;
  for (CZQHardwareController& c : slots_) {
    if (!c.open || c.midiInIndex < 0) continue;
    const int index = FindInput(c.inputName);
    if (index < 0) {
      TraceLine("MIDI device went: '%s'", c.inputName.c_str());
      CloseController(c.selfId);
      continue;
    }
    c.midiInIndex = index;  // the lists moved under it
  }
  if (consolesMoved) DetectBuiltInConsoles();  // with the slots' indices in step with the lists
  ApplyMidiSelection(selection_);
}

void ControllerSet::WatchHid(const std::vector<HidDeviceInfo>& devices) {
  for (CZQHardwareController& c : slots_) {
    if (!c.open || c.hidIndex < 0) continue;
    const auto still = std::find_if(devices.begin(), devices.end(),
                                    [&](const HidDeviceInfo& d) { return d.path == c.hidPath; });
    if (still == devices.end()) {
      TraceLine("HID device went: '%s'", c.hidPath.c_str());
      CloseController(c.selfId);
    } else {
      c.hidIndex = static_cast<int>(still - devices.begin());
    }
  }
  hid_ = devices;
  for (size_t i = 0; i < hid_.size(); ++i) {
    bool claimed = false;
    for (int s = 0; host_ && s < host_->ScriptCount(); ++s) {
      const ControllerScript& script = host_->Script(s);
      claimed = claimed || (script.hidVid != 0 && script.hidVid == hid_[i].vendorId &&
                            script.hidPid == hid_[i].productId);
    }
    bool isOpen = false;
    for (const CZQHardwareController& c : slots_) isOpen = isOpen || (c.open && c.hidPath == hid_[i].path);
    int slot = -1;
    if (claimed && !isOpen) OpenController(-1, static_cast<int>(i), &slot);
  }
}

void ControllerSet::NotifyChanges(const std::function<void(const char* name, int deck, int value)>& builtIn) {
  NotifierSlot* table = NotifierTable();
  for (int i = 0; i < kNotifierSlotCount; ++i) {
    NotifierSlot& row = table[i];
    if (row.intValue == row.previousInt && row.floatValue == row.previousFloat && row.text == row.previousText) {
      continue;
    }
    if (builtIn) builtIn(row.name, row.deck, row.intValue);
    for (CZQHardwareController& c : slots_) {
      if (!c.open || c.scriptIndex < 0 || !host_) continue;
      host_->CallVoid(c.scriptIndex, "notificationReceived",
                      {c.selfId, row.name, row.deck, row.intValue, row.floatValue, row.text.c_str()});
    }
    row.previousInt = row.intValue;
    row.previousFloat = row.floatValue;
    row.previousText = row.text;
  }
}
