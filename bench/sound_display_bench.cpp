// One frame of a sound display: mapping the stripe around the play position and drawing the
// wave, marks, cursor and texts into the control's picture, as the tick does for each deck.
// Run under xvfb-run; the display is deck A's sd_deck of the default skin at the size given
// by the screen (1280x800 and 1920x1080 are the figures kept in docs/performance.md).
#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include "analysis/StripeMarks.h"
#include "skin/SoundDisplay.h"
#include "SkinBenchWindow.h"

namespace {

// Five minutes of a busy low band with a mark every 120 BPM beat.
std::vector<float> BusyStripe() {
  std::vector<float> stripe(300 * 441);
  for (size_t i = 0; i < stripe.size(); ++i) stripe[i] = 0.7f * static_cast<float>(std::sin(i * 0.37) * std::sin(i * 0.011));
  for (double at = 20; at < stripe.size(); at += 220.5) stripe[static_cast<size_t>(at)] += kBeatMark;
  return stripe;
}

void BM_SoundDisplayFrame(benchmark::State& state) {
  auto* display = dynamic_cast<CZQSoundDisplayControl*>(ControlAt(ControlIdByName("sd_deck"), 0));
  if (!display) {
    state.SkipWithError("no sd_deck");
    return;
  }
  display->SetZoom(static_cast<int>(state.range(0)));
  const std::vector<float> stripe = BusyStripe();
  SoundDisplayFeed feed;
  feed.stripe = stripe.data();
  feed.stripeLength = static_cast<int>(stripe.size());
  feed.cueFrames = 44100 * 60;
  feed.loopInFrames = 44100 * 62;
  feed.loopOutFrames = 44100 * 64;
  double position = 44100.0 * 60;
  for (auto _ : state) {
    feed.positionFrames = position;
    position += 1680.0;  // one tick of 38 ms at normal speed
    display->UpdateWave(feed);
    display->SetBeatOfBar(static_cast<int>(position / 22050) % 4);
    display->SetBeatDifference(true, 5);
    display->PaintControl();
  }
  state.counters["width"] = display->GetSize().GetWidth();
}
BENCHMARK(BM_SoundDisplayFrame)->Arg(1)->Arg(4)->Arg(16)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) { return RunSkinBenchmarks(argc, argv, LUMO_SOURCE_DIR); }
