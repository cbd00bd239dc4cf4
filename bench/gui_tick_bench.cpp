// The main tick with four decks playing and the default 1280x800 skin on screen: the tick's
// own work (engine tick, texts, lamps, notifier) plus the repaint of every control it changed,
// flushed to the (virtual) screen. Needs a display: run under xvfb-run. Between two ticks the
// mix runs 38 ms of audio through the offline output, so the decks really move.
#include <benchmark/benchmark.h>
#include <wx/image.h>
#include <wx/wx.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "BenchDecks.h"
#include "app/control/ControlBindings.h"
#include "app/control/GuiTick.h"
#include "audio/OfflineOutput.h"
#include "skin/ControlTable.h"
#include "skin/SkinLoader.h"
#include "skin/ZQMainWindow.h"

namespace {

const std::string kSkin = LUMO_SOURCE_DIR "/data/skins/Zorvik Default 4 decks 1280x800.xml";
constexpr int kBlockFrames = 360;
constexpr int kBlocksPerTick = 5;  // 1800 frames, about one 38 ms tick of audio

ZQMainWindow* g_main = nullptr;

struct TickRig {
  BenchDecks decks;
  COfflineOutput output{kBlockFrames};
  std::vector<float> block = std::vector<float>(2 * kBlockFrames);
  CGuiTick tick;

  void Audio() {
    for (int i = 0; i < kBlocksPerTick; ++i) output.PullBlock(block.data());
  }
  void Tick() {
    tick.Run();
    g_main->Update();  // the paints the tick asked for, now
  }
};

TickRig* g_rig = nullptr;

void BM_MainTickFourDecks(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    g_rig->Audio();
    state.ResumeTiming();
    g_rig->Tick();
  }
}
BENCHMARK(BM_MainTickFourDecks)->Unit(benchmark::kMicrosecond);

// Median and 99th percentile over `count` ticks, each timed alone.
void PrintPercentiles(int count) {
  std::vector<double> us;
  for (int i = 0; i < count; ++i) {
    g_rig->Audio();
    auto start = std::chrono::steady_clock::now();
    g_rig->Tick();
    us.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(us.begin(), us.end());
  std::printf("main tick, four decks playing, %d ticks: median %.0f us, p99 %.0f us, max %.0f us\n", count,
              us[us.size() / 2], us[us.size() * 99 / 100], us.back());
}

}  // namespace

int main(int argc, char** argv) {
  wxApp::SetInstance(new wxApp());
  if (!wxEntryStart(argc, argv)) {
    std::fprintf(stderr, "gui_tick_bench needs a display (xvfb-run)\n");
    return 1;
  }
  wxInitAllImageHandlers();
  g_main = new ZQMainWindow(nullptr);
  CreateCatalogueControls(g_main);
  bool loaded = LoadSkin(kSkin, g_main);
  wxTheApp->ProcessPendingEvents();
  {
    TickRig rig;
    g_rig = &rig;
    BindControlsToEngine();
    ShowEngineStateInControls();
    for (int i = 0; i < 20; ++i) rig.Audio(), rig.Tick();  // warm-up
    PrintPercentiles(500);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    g_rig = nullptr;
  }
  g_main->CloseWithoutAsking();
  wxTheApp->ProcessPendingEvents();
  wxEntryCleanup();
  return loaded ? 0 : 1;
}
