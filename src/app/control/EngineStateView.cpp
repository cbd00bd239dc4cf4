#include <cmath>

#include "app/Engine.h"
#include "app/control/ControlBindings.h"
#include "app/control/ControlModels.h"
#include "audio/Mixer.h"
#include "audio/MixerChannel.h"
#include "deck/SoundSource.h"
#include "effects/Effect.h"

namespace {

constexpr int kCrossfaderCentre = 64;

void Show(const char* control, int deck, int value) {
  if (SliderModel* slider = SliderModelNamed(control, deck)) slider->ShowValue(value);
  ShowSliderDisplay(control, deck);
}

int Tenths(float dB) { return static_cast<int>(std::lround(dB * 10.0f)); }

}  // namespace

void ShowEngineStateInControls() {
  CZQMixer* mixer = g_engine.mixer;
  if (mixer) {
    mixer->SetCrossfader(kCrossfaderCentre);
    Show("crossfader", -1, mixer->CrossfaderPosition());
    Show("cf_curve", -1, mixer->CrossfaderCurve());
  }
  for (int deck = 0; deck < kDeckCount; ++deck) {
    if (mixer) Show("deck_volume", deck, mixer->ChannelVolumePosition(deck));
    if (CSoundSource* source = g_engine.decks[deck]) {
      // Key lock comes from the settings; its switch shows it.
      if (ButtonModel* keyLock = ButtonModelNamed("deck_key_lock", deck)) keyLock->SetSelected(source->keyLockOn.load() != 0);
    }
    CZQMixerChannel* channel = g_engine.deckChannels[deck];
    if (!channel) continue;
    Show("deck_eq_low", deck, Tenths(channel->GetBandLevel(1)));
    Show("deck_eq_mid", deck, Tenths(channel->GetBandLevel(2)));
    Show("deck_eq_high", deck, Tenths(channel->GetBandLevel(3)));
    Show("deck_cutoff_filter", deck, channel->CutoffKnob());
    for (const SliderBinding& row : SliderBindings()) {
      if (row.command != EngineCommand::kEffectDryWet) continue;
      if (CEffect* effect = channel->Place(row.arg))
        Show(row.control, deck, static_cast<int>(std::lround(effect->GetDryWet() * 1000.0f)));
    }
  }
}
