// lumo midi-monitor: prints every message that arrives on the MIDI inputs, one line each, until
// Ctrl-C or --seconds. Clock and active sensing are left out.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <thread>

#include "Commands.h"
#include "LumoSession.h"
#include "app/base/Trace.h"
#include "controllers/ControllerTransport.h"
#include "controllers/MidiQueue.h"

namespace {

constexpr const char* kUsage = "usage: lumo midi-monitor [--port NAME] [--api alsa|jack] [--seconds S]\n";
constexpr int kSysExKind = 2;

volatile std::sig_atomic_t g_interrupted = 0;
void OnInterrupt(int) { g_interrupted = 1; }

struct Port {
  MidiQueue* queue;
  int index;
};

// On the driver's thread: only the queue, never stdout.
void OnBytes(void* context, const unsigned char* bytes, size_t length, int time) {
  auto* port = static_cast<Port*>(context);
  if (length > 0 && bytes[0] == 0xF0) {
    port->queue->Push(port, kSysExKind, 0xF0, 0, static_cast<int>(length), 0, time);
  } else {
    port->queue->PushShortBytes(port, bytes, length, time);
  }
}

const char* StatusName(int status) {
  switch (status) {
    case 0x80: return "note-off";
    case 0x90: return "note-on";
    case 0xA0: return "aftertouch";
    case 0xB0: return "control";
    case 0xC0: return "program";
    case 0xD0: return "pressure";
    case 0xE0: return "pitch";
    default: return "system";
  }
}

}  // namespace

int RunMidiMonitorCommand(int argc, char** argv) {
  ParsedArgs args = ParseArgs(argc, argv, {});
  double seconds = 0;
  const std::string api = args.Get("api").value_or("");
  if (!args.positional.empty() || !ParseSeconds(args.Get("seconds"), seconds) ||
      (api != "" && api != "alsa" && api != "jack")) {
    std::fprintf(stderr, "%s", kUsage);
    return 2;
  }
  SetTraceQuiet(true);
  std::unique_ptr<MidiSystem> midi = MakeRtMidiSystem(api, "lumo midi-monitor");
  if (!midi) {
    std::fprintf(stderr, "lumo: midi-monitor: MIDI could not start (no ALSA sequencer and no JACK server)\n");
    return 1;
  }
  const std::vector<std::string> names = midi->InputNames();
  const std::string wanted = args.Get("port").value_or("");
  MidiQueue queue;
  std::vector<std::unique_ptr<Port>> ports;
  std::vector<std::unique_ptr<MidiInput>> inputs;
  for (size_t i = 0; i < names.size(); ++i) {
    if (!wanted.empty() && names[i].find(wanted) == std::string::npos) continue;
    ports.push_back(std::make_unique<Port>(Port{&queue, static_cast<int>(i)}));
    if (auto input = midi->OpenInput(static_cast<int>(i), &OnBytes, ports.back().get())) {
      std::printf("listening: %s\n", names[i].c_str());
      inputs.push_back(std::move(input));
    } else {
      std::fprintf(stderr, "lumo: midi-monitor: can not open the input %s\n", names[i].c_str());
    }
  }
  if (inputs.empty()) {
    std::fprintf(stderr, "lumo: midi-monitor: %s\n",
                 wanted.empty() ? "no MIDI input to listen to" : ("no MIDI input named \"" + wanted + "\"").c_str());
    return 1;
  }
  std::fflush(stdout);
  std::signal(SIGINT, OnInterrupt);
  std::signal(SIGTERM, OnInterrupt);
  const auto start = std::chrono::steady_clock::now();
  unsigned long count = 0;
  while (!g_interrupted &&
         (seconds <= 0 || std::chrono::steady_clock::now() - start < std::chrono::duration<double>(seconds))) {
    queue.Drain([&](const MidiQueueMessage& m) {
      const auto* port = static_cast<const Port*>(m.context);
      ++count;
      if (m.kind == kSysExKind) {
        std::printf("%8d ms  %-24s sysex, %d bytes\n", m.time, names[port->index].c_str(), m.data1);
      } else {
        std::printf("%8d ms  %-24s %-10s ch %2d  %3d %3d   (%02X %02X %02X)\n", m.time, names[port->index].c_str(),
                    StatusName(m.status), m.channel + 1, m.data1, m.data2, m.status | m.channel, m.data1, m.data2);
      }
    });
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  inputs.clear();
  std::printf("monitored: messages=%lu\n", count);
  return 0;
}
