#include "skin/SoundDisplayTick.h"

#include <wx/timer.h>
#include <wx/window.h>

#include <array>
#include <mutex>
#include <string>
#include <vector>

#include "app/base/PathNames.h"
#include "app/Engine.h"
#include "deck/SoundSource.h"
#include "skin/ControlTable.h"
#include "skin/SoundDisplay.h"
#include "skin/VuMeterTick.h"

namespace {

constexpr int kMaxDecks = kDeckRows;

struct DeckBeat {
  bool valid = false;
  double fraction = 0.0;
};

// The displays of one deck that a skin placed (at most sd_deck and sd_deck_alt).
std::array<CZQSoundDisplayControl*, 2> DisplaysOf(int deck) {
  static const int ids[2] = {ControlIdByName("sd_deck"), ControlIdByName("sd_deck_alt")};
  std::array<CZQSoundDisplayControl*, 2> displays{};
  for (int i = 0; i < 2; ++i) {
    auto* display = dynamic_cast<CZQSoundDisplayControl*>(ControlAt(ids[i], deck));
    if (display && display->Placed() && display->IsShown()) displays[i] = display;
  }
  return displays;
}

// Feeds one deck's displays; returns the beat it is in when the deck plays on a beat grid.
DeckBeat FeedDeck(CSoundSource& deck, const std::array<CZQSoundDisplayControl*, 2>& displays) {
  DeckBeat beat;
  SoundDisplayFeed feed;
  feed.positionFrames = deck.Position();
  feed.cueFrames = deck.cuePos.load(std::memory_order_relaxed);
  if (deck.loopActive.load(std::memory_order_relaxed)) {
    feed.loopInFrames = deck.loopStart.load(std::memory_order_relaxed);
    feed.loopOutFrames = deck.loopEnd.load(std::memory_order_relaxed);
  } else if (deck.loopInArmed.load(std::memory_order_relaxed)) {
    feed.loopInFrames = deck.nextStart.load(std::memory_order_relaxed);
  }
  std::unique_lock lock(deck.dataLock, std::try_to_lock);
  if (!lock.owns_lock()) return beat;  // the loader is swapping the stripe: keep the old picture
  const std::vector<float>& stripe = deck.stripes[0];
  feed.stripe = stripe.data();
  feed.stripeLength = static_cast<int>(stripe.size());
  BeatSpan span;
  const bool onGrid = FindBeatAround(feed.stripe, feed.stripeLength, feed.positionFrames / kFramesPerEntry, &span);
  const int bar = onGrid ? BeatOfBar(span, FirstMark(feed.stripe, feed.stripeLength)) : -1;
  for (CZQSoundDisplayControl* display : displays) {
    if (!display) continue;
    display->UpdateWave(feed);
    display->SetBeatOfBar(bar);
  }
  // A deck under the hand has no steady phase to compare.
  beat.valid = onGrid && deck.IsPlaying() && !deck.scratching.load(std::memory_order_relaxed);
  beat.fraction = span.fraction;
  return beat;
}

}  // namespace

void RefreshSoundDisplays(CSoundSource* const* decks, int count) {
  // The track each deck held at the last tick: a new one (or none) changes the title, once.
  static std::string held[kMaxDecks];
  count = std::min(count, kMaxDecks);
  std::array<std::array<CZQSoundDisplayControl*, 2>, kMaxDecks> displays{};
  std::array<DeckBeat, kMaxDecks> beats{};
  for (int d = 0; d < count; ++d) {
    displays[d] = DisplaysOf(d);
    if (!displays[d][0] && !displays[d][1]) continue;
    CSoundSource* deck = decks[d];
    const int length = deck ? deck->lengthFrames.load(std::memory_order_acquire) : 0;
    std::string path = length > 0 ? deck->FilePath() : std::string();
    if (path != held[d]) {
      held[d] = std::move(path);
      const std::string title = FileNameOf(held[d]);
      for (CZQSoundDisplayControl* display : displays[d]) {
        if (display) display->SetText(title);
      }
    }
    if (length <= 0) {
      for (CZQSoundDisplayControl* display : displays[d]) {
        if (display) display->ClearWave();
      }
      continue;
    }
    beats[d] = FeedDeck(*deck, displays[d]);
  }
  for (int d = 0; d < count; ++d) {
    const DeckBeat& mine = beats[d];
    const DeckBeat& other = beats[d ^ 1];
    const bool valid = (d ^ 1) < count && mine.valid && other.valid;
    const int pixels = valid ? BeatDifferencePixels(BeatPhaseDifference(mine.fraction, other.fraction)) : 0;
    for (CZQSoundDisplayControl* display : displays[d]) {
      if (!display) continue;
      display->SetBeatDifference(valid, pixels);
      display->Repaint();
    }
  }
}
