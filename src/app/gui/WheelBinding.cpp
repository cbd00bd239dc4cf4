#include "app/gui/WheelBinding.h"

#include "app/Engine.h"
#include "deck/SoundSource.h"
#include "skin/ControlTable.h"
#include "skin/SoundDisplay.h"
#include "skin/RecordWheel.h"

namespace {

CSpecialWheel* Wheel(int deck) {
  static const int id = ControlIdByName("deck_wheel");
  return dynamic_cast<CSpecialWheel*>(ControlAt(id, deck));
}

CSoundSource* DeckOf(int deck) { return deck >= 0 && deck < kDeckCount ? g_engine.decks[deck] : nullptr; }

}  // namespace

static void BindSoundDisplays() {
  // The scratch starts at the first move, where the hand's position is known.
  static bool dragging[kDeckCount] = {};
  for (const char* name : {"sd_deck", "sd_deck_alt"}) {
    const int id = ControlIdByName(name);
    for (int d = 0; d < kDeckCount; ++d) {
      auto* display = dynamic_cast<CZQSoundDisplayControl*>(ControlAt(id, d));
      if (!display) continue;
      display->onPress = [](int, int, int deck) {
        if (deck >= 0 && deck < kDeckCount) dragging[deck] = false;
      };
      display->onMove = [](bool vertical, int x, int y, int button, int, int deck) {
        CSoundSource* source = DeckOf(deck);
        if (!source || button == -100 || !source->fileOpen.load()) return;
        const int hand = vertical ? y : x;
        if (!dragging[deck]) {
          dragging[deck] = source->scratchStart(hand, 0) != 0;
        } else {
          source->scratchMove(hand);
        }
      };
      display->onRelease = [](int, int, int deck) {
        CSoundSource* source = DeckOf(deck);
        if (source && deck >= 0 && deck < kDeckCount && dragging[deck]) source->scratchEnd();
        if (deck >= 0 && deck < kDeckCount) dragging[deck] = false;
      };
      display->onDoubleClick = [](int frame, int, int deck) {
        if (CSoundSource* source = DeckOf(deck); source && source->fileOpen.load() && frame >= 0) source->seek(frame);
      };
    }
  }
}

void BindDeckWheels() {
  BindSoundDisplays();
  for (int d = 0; d < kDeckCount; ++d) {
    CSpecialWheel* wheel = Wheel(d);
    if (!wheel) continue;
    wheel->onPress = [](int, int, int deck) {
      if (CSoundSource* source = DeckOf(deck); source && source->fileOpen.load()) source->scratchStart(0, 1);
    };
    wheel->onWheelMove = [](int samples, int, int, int, int, int deck) {
      if (CSoundSource* source = DeckOf(deck)) source->scratchMove(samples);
    };
    wheel->onRelease = [](int, int, int deck) {
      if (CSoundSource* source = DeckOf(deck)) source->scratchEnd();
    };
  }
}

void TurnDeckWheels() {
  static const int beatPosId = ControlIdByName("deck_beatpos");
  for (int d = 0; d < kDeckCount; ++d) {
    CSoundSource* deck = DeckOf(d);
    if (!deck) continue;
    if (CSpecialWheel* wheel = Wheel(d); wheel && wheel->IsShown())
      wheel->SetWheelPosition(deck->position.load(std::memory_order_relaxed) * 2.2675736961451248e-05);
    if (auto* lamps = dynamic_cast<CSpecialBeatPos*>(ControlAt(beatPosId, d)); lamps && lamps->IsShown())
      lamps->SetBeatIndex(deck->fileOpen.load() ? deck->getBeatInfo().beatIndex : -1);
  }
}
