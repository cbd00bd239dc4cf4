#pragma once
// The attached control surfaces: up to 16 devices, each tied to a controller script by its
// MIDI identity reply, its port name or its USB vendor and product id, or left to the MIDI learn
// map when nothing matches. The slot number is the `uniqueId` scripts see.
//
// Matching order: a device that answers the identity request within a second is tied by its
// sysex id; after the second, by name; HID devices by VID/PID when they open. The identity
// reply arrives on the driver's thread but is queued like any message, so controllerInit and
// every other script call run on the GUI thread.
//
// Hot-plug: WatchDevices (each tick) lists the ports and HID devices once a second; a device
// that went is closed (controllerDeinit first), one that came is opened when the user's MIDI
// selection names it or, for HID, when a script claims its ids.
//
// Threads: GUI thread only, except OnMidiBytes, which the MIDI back end calls on its threads.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "controllers/ConsoleLeds.h"
#include "controllers/ControllerTransport.h"
#include "controllers/HidData.h"
#include "controllers/MidiQueue.h"
#include "controllers/ScriptHost.h"

class ControllerSet;

struct CZQHardwareController {
  int selfId = 0;
  int midiInIndex = -1;
  int midiOutIndex = -1;
  int hidIndex = -1;
  int matchDone = 0;
  int scriptIndex = -1;
  double identityRequestTime = 0;  // seconds on the set's clock
  std::unique_ptr<MidiInput> midiIn;
  std::unique_ptr<MidiOutput> midiOut;
  std::unique_ptr<HidDevice> hidDevice;
  HidStores stores;
  std::string inputName;   // the port or HID product name as the system lists it
  std::string outputName;  // "" without an output
  std::string hidPath;
  std::string matchReason;  // "sysex id", "device name", "VID/PID" or "" while unmatched
  ControllerSet* owner = nullptr;
  bool open = false;

  // The number the log lines show for the device.
  unsigned LogId() const { return static_cast<unsigned>(reinterpret_cast<uintptr_t>(this) & 0xFFFFFFFFu); }
};

class ControllerSet : public ScriptDevices {
 public:
  // Any of the systems may be null (no MIDI, no HID). The set installs itself as the host's
  // devices. The queue is the set's own.
  ControllerSet(MidiSystem* midi, HidSystem* hid, ScriptHost* host);
  ~ControllerSet() override;

  // Seconds for the identity time-out and the hot-plug period; tests step their own clock.
  void SetClock(std::function<double()> seconds) { clock_ = std::move(seconds); }
  // Messages of the built-in console's input (queue kinds 1 to 64), on the GUI thread.
  using ConsoleMessageHandler = std::function<void(int kind, int status, int channel, int data1, int data2)>;
  void SetConsoleHandler(ConsoleMessageHandler handler) { consoleHandler_ = std::move(handler); }
  // Messages from devices without a script (the MIDI learn map takes them).
  using UnmatchedHandler = std::function<void(int status, int channel, int data1, int data2, int time)>;
  void SetUnmatchedHandler(UnmatchedHandler handler) { unmatched_ = std::move(handler); }
  MidiQueue& Queue() { return queue_; }

  // Start-up: lists ports and HID devices, loads the scripts in `scriptFolder` and opens the HID
  // devices that a script claims.
  void DetectControllers(const std::string& scriptFolder);
  // Lists the ports and HID devices again (indices change with the lists).
  void ListDevices();
  const std::vector<std::string>& InputNames() const { return inputs_; }
  const std::vector<std::string>& OutputNames() const { return outputs_; }
  const std::vector<HidDeviceInfo>& HidDevices() const { return hid_; }

  // Opens one device: exactly one of the indices is set. False when the device already has a
  // slot or all 16 are taken (then *slot is -1).
  bool OpenController(int midiInIndex, int hidIndex, int* slot);
  void CloseController(int slot);
  void CloseControllersOfMidiInput(int index);
  void CloseAllMidiControllers();
  void CloseAllHidControllers();
  void CloseAll();

  // Opens each listed input whose name is in `enabledInputs` and closes the others.
  void ApplyMidiSelection(const std::vector<std::string>& enabledInputs);

  // Each main tick: name matching after the identity time-out, HID reads, timerTick.
  void PollControllers();
  // The queue's drain: messageReceived for tied MIDI scripts, the learn map for the others.
  int DrainQueue();
  // Each tick: notices devices that came or went (once a second).
  void WatchDevices();
  // End of each tick: every notifier row whose value changed goes first to `builtIn` (the
  // consoles' play and cue lamps), then to notificationReceived of each tied script; then the
  // current values become the previous ones.
  void NotifyChanges(const std::function<void(const char* name, int deck, int value)>& builtIn = nullptr);

  const CZQHardwareController& Slot(int slot) const { return slots_[slot]; }

  // The built-in consoles found at start-up (a bit set) and the lamps of the one whose output
  // was opened.
  int HardwareControllerType() const { return hardwareControllerType_; }
  ConsoleLeds& Leds() { return leds_; }
  // The bit of the built-in console whose input is open (its messages' family); 0 for none.
  int ConsoleInputBit() const { return consoleIn_.input ? consoleIn_.bit : 0; }
  const std::string& ConsoleInputName() const { return consoleIn_.name; }
  // The bit of the console whose output drives the lamps; 0 for none.
  int ConsoleOutputBit() const { return consoleOutputBit_; }

  // ScriptDevices
  bool SendMidiShort(int uniqueId, int status, int data1, int data2) override;
  HidStores* HidStoresOf(int uniqueId) override;
  bool WriteHid(int uniqueId, const unsigned char* data, int length) override;
  SysExResult SendMidiLong(int uniqueId, const unsigned char* bytes, int length) override;

  // The MIDI back end's input callback (driver thread). Public for the fakes and fuzzing.
  static void OnMidiBytes(void* context, const unsigned char* bytes, size_t length, int time);

 private:
  // The built-in console's input: its messages carry the console's kind.
  struct ConsoleInput {
    ControllerSet* owner = nullptr;
    int bit = 0;
    int kind = 0;
    std::string name;
    std::unique_ptr<MidiInput> input;
  };
  static void OnConsoleBytes(void* context, const unsigned char* bytes, size_t length, int time);
  void DeliverMessage(const MidiQueueMessage& message);
  void MatchBySysEx(CZQHardwareController& controller, const std::string& id);
  void MatchByName(CZQHardwareController& controller);
  void Tie(CZQHardwareController& controller, int script, const char* reason);
  void PollHid(CZQHardwareController& controller);
  int FindInput(const std::string& name) const;
  bool OpenMidi(CZQHardwareController& controller, int midiInIndex);
  bool OpenHid(CZQHardwareController& controller, int hidIndex);
  void WatchMidi(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs);
  void WatchHid(const std::vector<HidDeviceInfo>& devices);
  void DetectBuiltInConsoles();
  double Now() const { return clock_(); }

  MidiSystem* midi_;
  HidSystem* hid_system_;
  ScriptHost* host_;
  MidiQueue queue_;
  CZQHardwareController slots_[kMaxControllerSlots];
  std::vector<std::string> inputs_, outputs_;
  std::vector<HidDeviceInfo> hid_;
  std::vector<std::string> selection_;
  std::function<double()> clock_;
  UnmatchedHandler unmatched_;
  double lastWatch_ = 0;
  int hardwareControllerType_ = 0;
  std::unique_ptr<MidiOutput> consoleOutput_;
  int consoleOutputBit_ = 0;
  ConsoleInput consoleIn_;
  ConsoleMessageHandler consoleHandler_;
  ConsoleLeds leds_;
};
