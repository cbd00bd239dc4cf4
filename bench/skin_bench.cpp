// Skin loading: parsing alone (no display) and the whole LoadSkin of the 1280x800 default skin
// onto a window with every catalogue control (needs a display: run under xvfb-run).
#include <benchmark/benchmark.h>
#include <wx/image.h>
#include <wx/wx.h>

#include <chrono>
#include <cstdio>

#include "skin/ControlTable.h"
#include "skin/SkinLoader.h"
#include "skin/ZQMainWindow.h"
#include "skin/model/SkinXml.h"

namespace {

const std::string kSkin = LUMO_SOURCE_DIR "/data/skins/Zorvik Default 4 decks 1280x800.xml";
ZQMainWindow* g_main = nullptr;

void BM_ParseDefaultSkin(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(ParseSkinFile(kSkin).parsed);
}
BENCHMARK(BM_ParseDefaultSkin)->Unit(benchmark::kMillisecond);

// Loads after the first: every control is moved again, private objects rebuilt.
void BM_LoadSkinAgain(benchmark::State& state) {
  for (auto _ : state) {
    LoadSkin(kSkin, g_main);
    wxTheApp->ProcessPendingEvents();
  }
}
BENCHMARK(BM_LoadSkinAgain)->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace

int main(int argc, char** argv) {
  wxApp::SetInstance(new wxApp());
  if (!wxEntryStart(argc, argv)) {
    std::fprintf(stderr, "skin_bench needs a display (xvfb-run)\n");
    return 1;
  }
  wxInitAllImageHandlers();
  g_main = new ZQMainWindow(nullptr);
  CreateCatalogueControls(g_main);
  // The cold load: the first onto fresh controls, bitmap read from disk, measured once.
  auto start = std::chrono::steady_clock::now();
  bool loaded = LoadSkin(kSkin, g_main);
  double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  std::printf("cold LoadSkin 1280x800: %.1f ms (%s)\n", ms, loaded ? "loaded" : "FAILED");
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  g_main->CloseWithoutAsking();
  wxTheApp->ProcessPendingEvents();
  wxEntryCleanup();
  return loaded ? 0 : 1;
}
