#include "effects/BuiltInEffects.h"

#include "effects/EqualizerIIR.h"

namespace {

// Places without a name are further flanger variants reached only through their place number.
constexpr std::string_view kPlaceNames[kEffectPlaces] = {
    "fxBeatwaw", "fxPan", "", "", "fxFlanger", "", "", "fxDelay", "fxReverb", "fxEcho", "fxPhaser",
};

}  // namespace

std::unique_ptr<CEffect> CreateBuiltInEffect(int place) {
  switch (place) {
    case kEqualizerPlace: return std::make_unique<CEffectEqualizerIIR>();
    default: return nullptr;
  }
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
