// lumo play FILE: plays a file on deck 0 through a device, with a one-line progress display,
// and exits when the track ends.

#include <cctype>
#include <chrono>
#include <cstdio>
#include <thread>

#include "Commands.h"
#include "LumoSession.h"
#include "RecordSamplerOptions.h"
#include "app/DataFolders.h"
#include "app/Engine.h"
#include "app/base/NumberText.h"
#include "app/base/Trace.h"
#include "app/Settings.h"
#include "audio/Mixer.h"
#include "audio/devices/OutputLayer.h"
#include "audio/devices/SystemCapture.h"
#include "deck/SoundSource.h"

namespace {

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// --input: the settings' live-input device is replaced for this run (the settings file is
// not written); a device that will not open fails the command, naming the ones there are.
bool OpenInput(const std::optional<std::string>& input) {
  if (!input || *input == "none") return true;
  if (!SystemCaptureOpen()) {
    std::string names;
    for (const std::string& name : SystemCaptureDevices()) names += "\n  " + name;
    std::fprintf(stderr, "lumo: can not open the input device \"%s\"; input devices:%s\n", input->c_str(),
                 names.empty() ? " none" : names.c_str());
    return false;
  }
  if (g_engine.mixer) g_engine.mixer->SetMicOn(1);
  std::fprintf(stderr, "lumo: input %s on the microphone channel\n", input->c_str());
  return true;
}

}  // namespace

int ChooseDevice(const std::string& wanted, int count) {
  if (wanted.empty()) return count > 0 ? g_outputSelection.primary : -1;
  std::string lower = Lower(wanted);
  if (lower == "null") return -1;
  long long index = 0;
  if (ParseInt(wanted, index)) {
    if (index >= 0 && index < count) return static_cast<int>(index);
  } else if (lower == "jack") {
    for (int i = 0; i < count; ++i) {
      if (OutputDevice(i) && OutputDevice(i)->pro) return i;
    }
  } else if (int byName = OutputDeviceIndexByName(wanted); byName >= 0) {
    return byName;
  }
  std::fprintf(stderr, "lumo: no device \"%s\"; playing silently on the null back end\n", wanted.c_str());
  return -1;
}

int PlayFile(const std::string& path, const std::string& device, double seconds,
             RecordSamplerOptions* players, const std::optional<std::string>& input) {
  LumoSession session(false);
  int count = OutputDeviceCount(true);
  g_outputSelection.primary = ChooseDevice(device, count);
  g_outputSelection.secondary = -1;
  if (input) g_settings.audinp = *input;
  EngineOpenOutputs();
  if (!OpenInput(input)) return 1;
  OutputStatus status = CurrentOutputStatus();
  std::fprintf(stderr, "lumo: output %s, %d Hz, %d frames per block; log in %slog.txt\n",
               status.primaryName.c_str(), status.deviceRate, status.blockFrames, Folders().root.c_str());

  SetTraceQuiet(true);  // the progress line owns the terminal; the log file keeps every line
  if (!session.LoadAndWait(0, path, true)) {
    SetTraceQuiet(false);
    return 1;
  }
  if (players && !players->Begin()) {
    SetTraceQuiet(false);
    return 1;
  }
  CSoundSource& deck = session.deck(0);
  double length = deck.GetLength() / 44100.0;
  auto start = std::chrono::steady_clock::now();
  double wallLimit = (seconds > 0 ? seconds : length) + 30.0;  // never hang on a stalled device
  bool ended = false;
  for (;;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    DrainRealtimeTrace();
    if (std::string notice = TakeOutputNotice(); !notice.empty()) std::fprintf(stderr, "\nlumo: %s\n", notice.c_str());
    double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (players) players->Step(deck.Position() / 44100.0);
    ShowProgress(deck.Position() / 44100.0, length, status.primaryName);
    if (DeckReachedEnd(deck)) {
      ended = true;
      break;
    }
    if ((seconds > 0 && elapsed >= seconds) || elapsed >= wallLimit) break;
  }
  EndProgress();
  SetTraceQuiet(false);
  // Let the stop fade reach the device before it closes.
  deck.setPlaying(0);
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  bool recorded = !players || players->Finish();
  std::printf("played: deck ended=%d device=%s frames=%llu\n", ended ? 1 : 0,
              status.primaryName.c_str(), static_cast<unsigned long long>(PrimaryFramesDelivered()));
  return recorded ? 0 : 1;
}

int RunPlayCommand(int argc, char** argv) {
  ParsedArgs args = ParseArgs(argc, argv, {});
  double seconds = 0;
  RecordSamplerOptions players;
  const std::optional<std::string> input = args.Get("input");
  if (!players.Parse(args) || args.positional.size() != 1 || !ParseSeconds(args.Get("seconds"), seconds) ||
      (input && input->empty())) {
    std::fprintf(stderr, "usage: lumo play FILE [--device N|NAME|jack|null] [--seconds S] [--input DEVICE|none] %s\n",
                 RecordSamplerOptions::Usage());
    return 2;
  }
  return PlayFile(args.positional[0], args.Get("device").value_or(""), seconds, &players, input);
}
