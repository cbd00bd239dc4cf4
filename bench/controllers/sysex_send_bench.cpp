// How long a script's sysex takes to leave through RtMidi over JACK MIDI, against the 5 ms a
// byte a send may take before it counts as a driver that stopped listening. A private jackd on
// the dummy driver runs; a JACK client of the bench's own takes the messages in. Reported: the
// median and the slowest send, in microseconds, for a 100-byte and a 4096-byte sysex.
#include <benchmark/benchmark.h>
#include <jack/jack.h>
#include <jack/midiport.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "controllers/ControllerTransport.h"
#include "controllers/SysExOut.h"
#include "support/DummyJackServer.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds() { return std::chrono::duration<double>(Clock::now().time_since_epoch()).count(); }

// The receiving end: a MIDI input port whose buffer is read and dropped each period.
struct Sink {
  jack_client_t* client = nullptr;
  jack_port_t* in = nullptr;
  static int Process(jack_nframes_t frames, void* self) {
    jack_port_get_buffer(static_cast<Sink*>(self)->in, frames);
    return 0;
  }
  ~Sink() {
    if (client) jack_client_close(client);
  }
};

void SysExOverJackMidi(benchmark::State& state) {
  if (!DummyJackServer::Installed()) return state.SkipWithError("jackd is not installed");
  jack_set_error_function([](const char*) {});
  DummyJackServer server;
  server.Start("lumo-sysex-bench");
  Sink sink;
  for (int i = 0; i < 300 && !sink.client; ++i) {
    sink.client = jack_client_open("lumo-sysex-sink", JackNoStartServer, nullptr);
    if (!sink.client) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  if (!sink.client) return state.SkipWithError("jackd did not come up");
  sink.in = jack_port_register(sink.client, "midi_in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
  jack_set_process_callback(sink.client, &Sink::Process, &sink);
  jack_activate(sink.client);

  std::unique_ptr<MidiSystem> midi = MakeRtMidiSystem("jack", "lumo-sysex-bench");
  if (!midi) return state.SkipWithError("no JACK MIDI");
  const std::vector<std::string> names = midi->OutputNames();
  const auto port = std::find(names.begin(), names.end(), "lumo-sysex-sink:midi_in");
  std::unique_ptr<MidiOutput> out = port == names.end() ? nullptr : midi->OpenOutput(int(port - names.begin()));
  if (!out) return state.SkipWithError("the sink's port is not listed");

  std::vector<unsigned char> sysex(static_cast<size_t>(state.range(0)), 0x11);
  sysex.front() = 0xF0;
  sysex.back() = 0xF7;
  std::vector<double> micros;
  int late = 0;
  for (auto _ : state) {
    const Clock::time_point start = Clock::now();
    late += SendLong(*out, sysex.data(), sysex.size(), &Seconds) != SysExResult::kSent;
    micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    // One sysex per server period at most, as a script updating a display would send them;
    // JACK's ring for the port would otherwise fill and refuse.
    std::this_thread::sleep_for(std::chrono::milliseconds(6));
  }
  std::sort(micros.begin(), micros.end());
  state.counters["median_us"] = micros[micros.size() / 2];
  state.counters["max_us"] = micros.back();
  state.counters["allowed_us"] = SysExWaitMs(sysex.size()) * 1000.0;
  state.counters["not_sent"] = late;
}

BENCHMARK(SysExOverJackMidi)->Arg(100)->Arg(4096)->Iterations(200)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
