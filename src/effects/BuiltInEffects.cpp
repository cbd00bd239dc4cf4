#include "effects/BuiltInEffects.h"

#include "effects/EffectAmplitudes.h"
#include "effects/EffectDynamics.h"
#include "effects/EffectFlangers.h"
#include "effects/EffectPhaser.h"
#include "effects/EffectReverbs.h"
#include "effects/EqualizerIIR.h"

namespace {

// Places without a name are further flanger variants reached only through their place number.
constexpr std::string_view kPlaceNames[kEffectPlaces] = {
    "fxBeatwaw", "fxPan", "", "", "fxFlanger", "", "", "fxDelay", "fxReverb", "fxEcho", "fxPhaser",
};

// Chain names: one per switchable place, then the dynamics presets (preset = index - 11).
constexpr std::string_view kChainNames[] = {
    "fxBeatwaw", "fxPan",  "fxFlanger2", "fxFlanger3", "fxFlanger", "fxFlanger5",   "fxFlanger6",
    "fxDelay",   "fxReverb", "fxEcho",   "fxPhaser",   "fxLevelControl", "fxCompressor", "fxLimiter",
};
constexpr int kChainNameCount = sizeof kChainNames / sizeof kChainNames[0];

// Which subtype each flanger place runs.
constexpr int kFlangerSubType[kBuiltInEffectPlaces] = {0, 0, 5, 0, 1, 2, 3, 4, 0, 0, 0};

int ChainNameIndex(std::string_view name) {
  for (int i = 0; i < kChainNameCount; ++i) {
    if (kChainNames[i] == name) return i;
  }
  return -1;
}

}  // namespace

namespace {

std::unique_ptr<CEffect> NewBuiltInEffect(int place) {
  switch (place) {
    case 0: return std::make_unique<CEffectAmplitudes>();
    case 1: {
      auto pan = std::make_unique<CEffectAmplitudes>();
      pan->SetParam(0, 1);
      return pan;
    }
    case 2: case 3: case 4: case 5: case 6: case 7:
      return std::make_unique<CEffectFlangers>(kFlangerSubType[place]);
    case 8: return std::make_unique<CEffectReverbs>(0);
    case 9: return std::make_unique<CEffectReverbs>(1);
    case 10: return std::make_unique<CEffectPhaser>();
    case kEqualizerPlace: return std::make_unique<CEffectEqualizerIIR>();
    default: return nullptr;
  }
}

}  // namespace

std::unique_ptr<CEffect> CreateBuiltInEffect(int place) {
  std::unique_ptr<CEffect> effect = NewBuiltInEffect(place);
  // Created stopped, so the first dry block has nothing to stop and reset (clearing two
  // seconds of reverb line per channel); the first rise of the mix starts them clean.
  if (effect && place != kEqualizerPlace) effect->Stop();
  return effect;
}

std::string_view BuiltInPlaceName(int place) {
  return place >= 0 && place < kEffectPlaces ? kPlaceNames[place] : std::string_view();
}

int FindBuiltInPlace(std::string_view name) {
  if (name.empty()) return -1;
  for (int place = 0; place < kEffectPlaces; ++place) {
    if (kPlaceNames[place] == name) return place;
  }
  return -1;
}

int BuiltInNamePlace(std::string_view name) {
  int index = ChainNameIndex(name);
  return index >= 0 && index < kBuiltInEffectPlaces ? index : -1;
}

std::unique_ptr<CEffect> CreateBuiltInByName(std::string_view name) {
  const int index = ChainNameIndex(name);
  if (index < 0) return nullptr;
  if (index < kBuiltInEffectPlaces) return CreateBuiltInEffect(index);
  auto dynamics = std::make_unique<CEffectDynamics>();
  dynamics->SetParam(0, index - kBuiltInEffectPlaces);
  return dynamics;
}

std::string_view BuiltInEffectNameAt(int index) {
  return index >= 0 && index < kChainNameCount ? kChainNames[index] : std::string_view();
}
