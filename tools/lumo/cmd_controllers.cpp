// lumo controllers: the MIDI ports and HID devices present, and which controller script each
// one matches and why. Every MIDI input is opened and asked for its identity; after the name
// time-out the matches are printed.

#include <chrono>
#include <cstdio>
#include <thread>

#include "Commands.h"
#include "LumoSession.h"
#include "app/DataFolders.h"
#include "app/base/Trace.h"
#include "controllers/HardwareControllers.h"

namespace {

constexpr const char* kUsage = "usage: lumo controllers [--scripts DIR] [--api alsa|jack]\n";
// Past the one-second identity time-out, so name matches are in too.
constexpr std::chrono::milliseconds kMatchWait{1500};

const char* MatchText(const CZQHardwareController& c) {
  if (c.scriptIndex >= 0) return c.matchReason.c_str();
  return c.midiInIndex >= 0 ? "no script: learn map" : "no script";
}

}  // namespace

int RunControllersCommand(int argc, char** argv) {
  ParsedArgs args = ParseArgs(argc, argv, {});
  const std::string api = args.Get("api").value_or("");
  if (!args.positional.empty() || (api != "" && api != "alsa" && api != "jack")) {
    std::fprintf(stderr, "lumo: controllers: --api wants alsa or jack\n%s", kUsage);
    return 2;
  }
  const std::string folder = args.Get("scripts").value_or(DataFolders::Compute().programData + "controllers");
  SetTraceQuiet(true);
  std::unique_ptr<MidiSystem> midi = MakeRtMidiSystem(api, "lumo controllers");
  std::unique_ptr<HidSystem> hid = MakeHidApiSystem();
  ScriptHost host;
  ControllerSet set(midi.get(), hid.get(), &host);
  set.DetectControllers(folder);
  std::printf("scripts in %s: %d\n", folder.c_str(), host.ScriptCount());
  for (int s = 0; s < host.ScriptCount(); ++s) {
    const ControllerScript& script = host.Script(s);
    std::printf("  %s  \"%s\" (%s)\n", script.fileName.c_str(), script.friendlyName.c_str(),
                script.controllerType == 1 ? "HID" : "MIDI");
  }
  set.ApplyMidiSelection(set.InputNames());
  const auto until = std::chrono::steady_clock::now() + kMatchWait;
  while (std::chrono::steady_clock::now() < until) {
    set.DrainQueue();
    set.PollControllers();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  set.DrainQueue();
  set.PollControllers();

  std::printf("MIDI inputs: %zu\n", set.InputNames().size());
  for (const std::string& name : set.InputNames()) {
    const CZQHardwareController* found = nullptr;
    for (int i = 0; i < kMaxControllerSlots; ++i) {
      if (set.Slot(i).open && set.Slot(i).inputName == name) found = &set.Slot(i);
    }
    if (!found && set.ConsoleInputBit() && name == set.ConsoleInputName()) {
      std::printf("  %s  built-in console: %s\n", name.c_str(), BuiltInConsoleFromPortName(name, false).name);
      continue;
    }
    if (!found) {
      std::printf("  %s  (could not be opened)\n", name.c_str());
      continue;
    }
    std::printf("  %s  output: %s  script: %s  by: %s\n", name.c_str(),
                found->outputName.empty() ? "none" : found->outputName.c_str(),
                found->scriptIndex >= 0 ? host.Script(found->scriptIndex).fileName.c_str() : "none", MatchText(*found));
  }
  std::printf("MIDI outputs: %zu\n", set.OutputNames().size());
  for (const std::string& name : set.OutputNames()) std::printf("  %s\n", name.c_str());
  std::printf("HID devices: %zu\n", set.HidDevices().size());
  for (const HidDeviceInfo& d : set.HidDevices()) {
    const CZQHardwareController* found = nullptr;
    for (int i = 0; i < kMaxControllerSlots; ++i) {
      if (set.Slot(i).open && set.Slot(i).hidPath == d.path) found = &set.Slot(i);
    }
    std::printf("  %04x:%04x %s %s  script: %s  by: %s\n", d.vendorId, d.productId, d.path.c_str(), d.product.c_str(),
                found && found->scriptIndex >= 0 ? host.Script(found->scriptIndex).fileName.c_str() : "none",
                found ? MatchText(*found) : "no script");
  }
  set.CloseAll();
  if (!midi) {
    // The HID list above still stands; the MIDI half could not be looked at.
    std::fprintf(stderr, "lumo: controllers: MIDI could not start (no ALSA sequencer and no JACK server)\n");
    return 1;
  }
  return 0;
}
