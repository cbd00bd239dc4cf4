#include "app/EngineTick.h"

#include "app/AutoMix.h"
#include "app/Engine.h"
#include "app/base/Trace.h"
#include "deck/BeatSync.h"
#include "deck/SoundSource.h"

CEngineTick::CEngineTick() : autoMix_(&g_autoMix) {}

void CEngineTick::Run(CSoundSource* const* decks, int count, DeckTickReport* reports) {
  for (int d = 0; d < count; ++d) {
    DeckTickReport report;
    if (decks[d]) RunDeck(*decks[d], d, report);
    if (reports) reports[d] = report;
  }
  if (EnginePlayersTick()) recorderFailed_ = true;
  if ((counter_ & 1) && count >= 2 && decks[0] && decks[1]) beatDifference_ = BeatDifference(*decks[0], *decks[1]);
  if (autoMix_) {
    autoMix_->Attach(decks, count, g_engine.mixer);
    autoMix_->Tick(counter_, beatDifference_);
  }
  if (++counter_ >= kCycle) counter_ = 0;
  DrainRealtimeTrace();  // what the audio thread had to say ("dsp thread wake now")
}

void CEngineTick::RunDeck(CSoundSource& deck, int index, DeckTickReport& report) {
  deck.DeliverTransportEvents();

  // A finished track stands on its last frame, still "playing"; a pair of decks is looked at
  // on alternate ticks. The cue button's stop logic takes it back to its cue.
  bool ourTurn = (counter_ & 1) == (index & 1);
  if (ourTurn && deck.IsPlaying() && deck.isReady() && !deck.loopActive.load() && !deck.loopSong.load() &&
      !deck.scratching.load() && deck.targetSpeed.load() > 0) {
    int remaining = deck.GetLength() - deck.GetPosition();
    if (remaining < kEndFrames) {
      deck.movedWhileStopped.store(0);
      deck.stopAtCue.store(1, std::memory_order_release);
      report.returnedToCue = true;
    }
  }

  deck.BendTick();
  deck.SearchTick();
  if (counter_ == 0) deck.CueHoldTick();
  report.status = deck.TakeStatus();
  report.loopChanged = deck.loopChanged.exchange(0) != 0;
}
