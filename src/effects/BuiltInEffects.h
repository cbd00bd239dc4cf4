#pragma once
// The fixed effect places of a mixer channel. Places 0..10 hold the built-in effects (amplitude,
// flangers, reverbs, phaser), place 11 the channel equaliser, 12..19 stay empty.
//
// The same built-ins can also sit in a user chain, where a chain file names them by their
// built-in name (type 0): the place names, "fxFlangerN" for the flanger variants whose place
// has no name of its own, and the three dynamics presets "fxLevelControl", "fxCompressor" and
// "fxLimiter".

#include <memory>
#include <string_view>

class CEffect;

constexpr int kEffectPlaces = 20;
constexpr int kEqualizerPlace = 11;
constexpr int kBuiltInEffectPlaces = 11;  // places 0..10 hold the switchable built-ins

// The effect for a place, or null for a place that holds none. Main thread, at set-up.
std::unique_ptr<CEffect> CreateBuiltInEffect(int place);
// The name actions and skins use for a place ("fxFlanger"), or empty.
std::string_view BuiltInPlaceName(int place);
// The place of such a name, or -1.
int FindBuiltInPlace(std::string_view name);

// Every built-in that a chain can hold, by name; null for a name that is not one.
std::unique_ptr<CEffect> CreateBuiltInByName(std::string_view name);
// The names CreateBuiltInByName knows, for listings: index 0.. until empty.
std::string_view BuiltInEffectNameAt(int index);
// The place a built-in name stands for on a deck channel (its flanger variants included), or -1
// for the dynamics presets, which have no place.
int BuiltInNamePlace(std::string_view name);
