// The tempo asked for again from the tap dialog. The main thread only leaves the hint; the
// loader, which owns the analysis thread, starts the walk once the previous analysis is over,
// so a re-analysis never overlaps the whole-track pass or an unload.

#include "app/base/Trace.h"
#include "audio/Threads.h"
#include "deck/DeckAnalysis.h"
#include "deck/SoundSource.h"

int CSoundSource::reanalyseBpm(int hint) {
  if (hint == kNoReanalysis || !analysis() || !fileOpen.load(std::memory_order_acquire) ||
      memory.streaming() || memory.percentLoaded() < 100) {
    TraceLine("deck %d: no whole track in memory to find the tempo of", id_);
    return 0;
  }
  reanalyseHint_.store(hint, std::memory_order_release);
  WakeLoader();
  return 1;
}

void CSoundSource::StartReanalysisIfAsked() {
  if (reanalyseHint_.load(std::memory_order_acquire) == kNoReanalysis) return;
  if (analysisThread_ && !analysisThread_->finished()) return;  // the next pass tries again
  const int hint = reanalyseHint_.exchange(kNoReanalysis, std::memory_order_acq_rel);
  if (hint == kNoReanalysis || !analysis() || memory.percentLoaded() < 100) return;
  analysisThread_.reset();
  runningHint_ = hint;
  statusCode.store(kStatusAnalysing, std::memory_order_release);
  analysisThread_ = std::make_unique<COneShotThread>(
      [](void* self) {
        auto* deck = static_cast<CSoundSource*>(self);
        deck->analysis()->ReanalyseTempo(*deck, deck->runningHint_);
      },
      this, 0, "deck tempo");
}
