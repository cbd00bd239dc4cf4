#pragma once
// The controller layer as the application holds it: the system's MIDI and HID back ends, the
// script host, the attached devices and the shortcut tables, wired together. Messages from
// devices without a script go to the MIDI learn map; the window installs its ShortcutSink and
// ActionRunner and calls Tick from its main tick.
//
// Threads: GUI thread, except that `wake` runs on the MIDI drivers' threads and must only post
// an event whose handler calls DrainMidi.

#include <memory>
#include <string>
#include <vector>

#include "controllers/ConsoleDisplay.h"
#include "controllers/ConsoleMessages.h"
#include "controllers/HardwareControllers.h"
#include "controllers/ScriptHost.h"
#include "controllers/ShortcutTables.h"

class ControllerLayer {
 public:
  // `midi`/`hid` may be null (for example MakeRtMidiSystem found no MIDI system).
  ControllerLayer(std::unique_ptr<MidiSystem> midi, std::unique_ptr<HidSystem> hid);
  ~ControllerLayer();

  // Start-up, after the settings and the controls exist: shortcut files from `settingsFolder`,
  // scripts from `scriptFolder`, built-in consoles, the user's MIDI inputs.
  void Start(const std::string& settingsFolder, const std::string& scriptFolder,
             const std::vector<std::string>& enabledMidiInputs, MidiQueue::WakeFunction wake, void* wakeContext);
  // Settings save.
  void SaveShortcuts(const std::string& settingsFolder) const;

  void DrainMidi() { controllers_.DrainQueue(); }
  // Each main tick: drain, match and poll, hot-plug, then the notifications.
  void Tick();

  ScriptHost& Scripts() { return host_; }
  ControllerSet& Controllers() { return controllers_; }
  ShortcutTables& Shortcuts() { return shortcuts_; }
  ConsoleHandler& Console() { return console_; }
  ConsoleDisplay& Display() { return display_; }
  // What `status_tarvo_controller` shows: the found console's name, "" for none.
  const char* ConsoleStatus() const;

 private:
  std::unique_ptr<MidiSystem> midi_;
  std::unique_ptr<HidSystem> hid_;
  ScriptHost host_;
  ShortcutTables shortcuts_;
  ControllerSet controllers_;
  ConsoleHandler console_;
  ConsoleDisplay display_;
};
