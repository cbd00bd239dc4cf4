// From a MIDI message arriving to the engine call it asks for: a driver thread plays note-ons
// into the controller set's input callback, the queue wakes the "GUI" thread (a condition
// variable stands in for the window's posted event), which drains the queue into the test
// controller script; its call("deckPlayPause", 0) reaches the action runner, where the time
// is taken. Reported: median and 99th percentile, in microseconds.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "FakeTransport.h"
#include "controllers/HardwareControllers.h"
#include "skin/model/ActionDispatch.h"

namespace {

using Clock = std::chrono::steady_clock;

struct StampingRunner : ActionRunner {
  std::atomic<Clock::rep> calledAt{0};
  void RunAction(int, int, int, int) override { calledAt.store(Clock::now().time_since_epoch().count()); }
  ControlValue GetValue(const char*, int) override { return ControlValue::Int(0); }
};

struct Wake {
  std::mutex mutex;
  std::condition_variable posted;
  bool pending = false;
  static void Post(void* self) {
    auto* w = static_cast<Wake*>(self);
    {
      std::lock_guard<std::mutex> hold(w->mutex);
      w->pending = true;
    }
    w->posted.notify_one();
  }
};

void MidiToEngineCall(benchmark::State& state) {
  StampingRunner runner;
  SetActionRunner(&runner);
  FakeMidiSystem midi;
  midi.inputs = {"lumo-test-ctl:midi_out"};
  midi.outputs = {"lumo-test-ctl:midi_in"};
  ScriptHost host;
  host.LoadControllerScript(LUMO_SOURCE_DIR "/data/controllers/lumo-test-controller.js");
  ControllerSet set(&midi, nullptr, &host);
  double now = 0;
  set.SetClock([&] { return now; });
  set.ListDevices();
  set.ApplyMidiSelection(midi.inputs);
  now = 2;
  set.PollControllers();
  Wake wake;
  set.Queue().SetWake(&Wake::Post, &wake);

  std::vector<double> micros;
  for (auto _ : state) {
    // The driver's thread: one note-on, stamped as it leaves.
    Clock::time_point sent;
    std::thread driver([&] {
      sent = Clock::now();
      midi.Deliver(0, {0x90, 16, 127});
    });
    {
      std::unique_lock<std::mutex> hold(wake.mutex);
      wake.posted.wait(hold, [&] { return wake.pending; });
      wake.pending = false;
    }
    set.DrainQueue();
    driver.join();
    micros.push_back(std::chrono::duration<double, std::micro>(
                         Clock::duration(runner.calledAt.load()) - sent.time_since_epoch())
                         .count());
  }
  std::sort(micros.begin(), micros.end());
  state.counters["median_us"] = micros[micros.size() / 2];
  state.counters["p99_us"] = micros[std::min(micros.size() - 1, micros.size() * 99 / 100)];
  set.CloseAll();
  SetActionRunner(nullptr);
}

BENCHMARK(MidiToEngineCall)->Iterations(2000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
