// One frame of a deck's record: the tick turns the wheel to the deck's position, which paints
// the background of its state, the skin's record picture rotated and antialiased about the
// centre, and the cursor dot. Run under xvfb-run at the skin's size (docs/performance.md).
#include <benchmark/benchmark.h>

#include "SkinBenchWindow.h"
#include "skin/ControlTable.h"
#include "skin/RecordWheel.h"

namespace {

void BM_WheelFrame(benchmark::State& state) {
  auto* wheel = dynamic_cast<CSpecialWheel*>(ControlAt(ControlIdByName("deck_wheel"), 0));
  if (!wheel) {
    state.SkipWithError("no deck_wheel");
    return;
  }
  double seconds = 60.0;
  for (auto _ : state) {
    seconds += 0.038;  // one tick at normal speed: the picture turns 7.6 degrees
    wheel->SetWheelPosition(seconds);
  }
  state.counters["size"] = wheel->GetSize().GetWidth();
}
BENCHMARK(BM_WheelFrame)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) { return RunSkinBenchmarks(argc, argv, LUMO_SOURCE_DIR); }
