// The whole road with the real transport: a JACK MIDI client in the test plays a note into the
// program's input on a private dummy server; the shipped test controller script turns it into
// deckPlayPause on deck A, which goes through the window's own action runner and control
// bindings (a click on deck A's play button) to the deck; the deck plays, and the lamp message
// the script sends comes back to the test client's input.
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <jack/midiport.h>

#include <atomic>
#include <cmath>
#include <memory>

#include "app/Engine.h"
#include "app/base/Realtime.h"
#include "app/control/ControlActions.h"
#include "app/control/ControlBindings.h"
#include "app/control/ControlModels.h"
#include "audio/Threads.h"
#include "controllers/HardwareControllers.h"
#include "deck/SoundSource.h"
#include "app/base/AtomicFile.h"
#include "support/DummyJackServer.h"
#include "support/TestFiles.h"
#include "support/TraceCapture.h"
#include "support/WaitFor.h"

namespace {

// The test's controller: sends one note when asked and keeps the first bytes of each message
// that reaches its input. Only the process thread writes `received`; `count` publishes them.
struct VirtualController {
  jack_port_t* out = nullptr;
  jack_port_t* in = nullptr;
  std::atomic<bool> sendNote{false};
  static constexpr int kMax = 64;
  unsigned char received[kMax][6] = {};
  std::atomic<int> count{0};

  static int Process(jack_nframes_t frames, void* self) {
    auto* v = static_cast<VirtualController*>(self);
    void* outBuffer = jack_port_get_buffer(v->out, frames);
    jack_midi_clear_buffer(outBuffer);
    if (v->sendNote.exchange(false)) {
      const unsigned char note[] = {0x90, 16, 127};
      jack_midi_event_write(outBuffer, 0, note, sizeof note);
    }
    void* inBuffer = jack_port_get_buffer(v->in, frames);
    const uint32_t events = jack_midi_get_event_count(inBuffer);
    for (uint32_t i = 0; i < events; ++i) {
      jack_midi_event_t event;
      const int at = v->count.load(std::memory_order_relaxed);
      if (jack_midi_event_get(&event, inBuffer, i) != 0 || at == kMax) continue;
      for (size_t b = 0; b < 6 && b < event.size; ++b) v->received[at][b] = event.buffer[b];
      v->count.store(at + 1, std::memory_order_release);
    }
    return 0;
  }
  // Whether a message starting with these bytes arrived.
  bool Got(std::initializer_list<unsigned char> bytes) const {
    const int n = count.load(std::memory_order_acquire);
    for (int i = 0; i < n; ++i) {
      if (std::equal(bytes.begin(), bytes.end(), received[i])) return true;
    }
    return false;
  }
};

// The window's controls and action runner, bound to the engine with `deck` as deck A; undone
// on the way out, whatever the test's outcome.
struct WindowControls {
  explicit WindowControls(CSoundSource* deck) {
    ClearControlModels();
    CreateControlModels();
    BindControlsToEngine();
    InstallControlActions();
    g_engine.decks[0] = deck;
  }
  ~WindowControls() {
    g_engine.decks[0] = nullptr;
    SetActionRunner(nullptr);
    ClearControlModels();
  }
};

class JackMidi : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!DummyJackServer::Installed()) GTEST_SKIP() << "jackd is not installed";
    jack_set_error_function([](const char*) {});
    ASSERT_TRUE(server_.Start("lumo-midi"));
    ASSERT_TRUE(WaitFor([&] { return (client_ = jack_client_open("lumo-test-ctl", JackNoStartServer, nullptr)); },
                        std::chrono::seconds(15)))
        << "jackd did not come up";
    controller_.out = jack_port_register(client_, "midi_out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
    controller_.in = jack_port_register(client_, "midi_in", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
    jack_set_process_callback(client_, &VirtualController::Process, &controller_);
    ASSERT_EQ(jack_activate(client_), 0);
  }
  void TearDown() override {
    if (client_) jack_client_close(client_);
  }
  DummyJackServer server_;  // declared first: it outlives the client
  jack_client_t* client_ = nullptr;
  VirtualController controller_;
};

TEST_F(JackMidi, ANoteFromTheControllerPlaysDeckAAndLightsItsLamp) {
  SetThreadsManual(true);
  TempFolder folder;
  auto deck = std::make_unique<CSoundSource>(0, folder.path());
  std::vector<int16_t> tone(2 * 44100);
  for (size_t i = 0; i < tone.size(); ++i) tone[i] = static_cast<int16_t>(8000 * std::sin(i / 2 * 0.0628));
  WriteStereo16(folder.File("tone.wav"), tone);
  ASSERT_TRUE(deck->load(folder.File("tone.wav"), 0, nullptr, 1));
  while (deck->loadPending.load()) deck->loaderPass();
  ASSERT_TRUE(deck->fileOpen.load());
  ASSERT_FALSE(deck->IsPlaying());
  std::vector<float> out(2 * 441);
  auto render = [&] {
    rt::AudioThreadScope audio;
    deck->GetSamples(out.data(), 441);
  };
  render();  // the audio thread's first block parks the stopped deck at its cue

  WindowControls window(deck.get());
  TraceCapture trace;
  ScriptHost host;
  ASSERT_TRUE(host.LoadControllerScript(LUMO_SOURCE_DIR "/data/controllers/lumo-test-controller.js"));
  std::unique_ptr<MidiSystem> midi = MakeRtMidiSystem("jack", "zorvik-lumo-test");
  ASSERT_NE(midi, nullptr);
  ControllerSet set(midi.get(), nullptr, &host);
  set.ListDevices();
  std::string input;
  for (const std::string& name : set.InputNames()) {
    if (name == "lumo-test-ctl:midi_out") input = name;
  }
  ASSERT_FALSE(input.empty()) << "the test client's output is listed as an input";
  set.ApplyMidiSelection({input});
  ASSERT_TRUE(set.Slot(0).open);
  EXPECT_EQ(set.Slot(0).outputName, "lumo-test-ctl:midi_in") << "paired by the normalised name";

  auto tick = [&] {
    set.DrainQueue();
    set.PollControllers();
  };
  ASSERT_TRUE(WaitFor([&] { tick(); return set.Slot(0).scriptIndex == 0; })) << "matched by name after a second";
  EXPECT_TRUE(WaitFor([&] { return controller_.Got({0xF0, 0x7E, 0x7F, 0x06, 0x01, 0xF7}); }))
      << "the identity request reached the device";
  ASSERT_TRUE(WaitFor([&] { return controller_.Got({0x90, 16, 0}); })) << "controllerInit shows the lamp off";

  controller_.sendNote = true;
  ASSERT_TRUE(WaitFor([&] { tick(); return deck->IsPlaying(); })) << "the note reached deck A's play button";
  EXPECT_TRUE(WaitFor([&] { return controller_.Got({0x90, 16, 127}); })) << "the lamp came back lit";

  // Playing: the position moves and, once the loader has fetched the blocks, the tone sounds.
  double energy = 0;
  for (int pass = 0; pass < 100 && energy == 0; ++pass) {
    render();
    for (float s : out) energy += s * s;
    deck->loaderPass();
  }
  EXPECT_GT(deck->Position(), 0);
  EXPECT_GT(std::sqrt(energy / out.size()), 0.05) << "deck A sounds";
  set.CloseAll();
  deck.reset();
  SetThreadsManual(false);
}

std::string ReadText(const std::string& path) {
  std::string text;
  ReadWholeFile(path, text);
  return text;
}

TEST_F(JackMidi, TheMonitorPrintsTheNoteAndControllersNamesTheScriptAndWhy) {
  TempFolder folder;
  const std::string monitorOut = folder.File("monitor.txt");
  ChildGuard monitor{SpawnQuiet(
      {LUMO_BINARY, "midi-monitor", "--api", "jack", "--port", "lumo-test-ctl", "--seconds", "20"}, monitorOut)};
  ASSERT_GT(monitor.pid, 0);
  ASSERT_TRUE(WaitFor([&] { return ReadText(monitorOut).find("listening: lumo-test-ctl:midi_out") != std::string::npos; }));
  // The monitor's port is connected once it prints; give the note until it shows.
  ASSERT_TRUE(WaitFor([&] {
    controller_.sendNote = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return ReadText(monitorOut).find("note-on    ch  1   16 127   (90 10 7F)") != std::string::npos;
  })) << ReadText(monitorOut);
  kill(monitor.pid, SIGTERM);
  EXPECT_EQ(WaitExit(monitor.Release()), 0);
  EXPECT_NE(ReadText(monitorOut).find("monitored: messages="), std::string::npos);

  // A console the program maps itself, by its port's name: listed as such, not as a device
  // waiting for a script.
  jack_client_t* console = jack_client_open("DJ Console Mk2", JackNoStartServer, nullptr);
  ASSERT_NE(console, nullptr);
  jack_port_register(console, "midi_out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
  const std::string listOut = folder.File("controllers.txt");
  EXPECT_EQ(WaitExit(SpawnQuiet({LUMO_BINARY, "controllers", "--api", "jack"}, listOut)), 0);
  jack_client_close(console);
  const std::string text = ReadText(listOut);
  EXPECT_NE(text.find("lumo-test-ctl:midi_out  output: lumo-test-ctl:midi_in  script: "), std::string::npos) << text;
  EXPECT_NE(text.find("lumo-test-controller.js  by: device name"), std::string::npos) << text;
  EXPECT_NE(text.find("DJ Console Mk2:midi_out  built-in console: Tarvo DJ Console Mk2"), std::string::npos) << text;
}

}  // namespace
