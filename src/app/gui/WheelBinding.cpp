#include "app/gui/WheelBinding.h"

#include "app/Engine.h"
#include "deck/SoundSource.h"
#include "skin/ControlTable.h"
#include "skin/SpecialWheel.h"

namespace {

CSpecialWheel* Wheel(int deck) {
  static const int id = ControlIdByName("deck_wheel");
  return dynamic_cast<CSpecialWheel*>(ControlAt(id, deck));
}

CSoundSource* DeckOf(int deck) { return deck >= 0 && deck < kDeckCount ? g_engine.decks[deck] : nullptr; }

}  // namespace

void BindDeckWheels() {
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
  for (int d = 0; d < kDeckCount; ++d) {
    CSpecialWheel* wheel = Wheel(d);
    CSoundSource* deck = DeckOf(d);
    if (!wheel || !deck || !wheel->IsShown()) continue;
    wheel->SetWheelPosition(deck->position.load(std::memory_order_relaxed) * 2.2675736961451248e-05);
  }
}
