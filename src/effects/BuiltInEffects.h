#pragma once
// The fixed effect places of a mixer channel. Places 0..10 hold the built-in effects (amplitude,
// flangers, reverbs, phaser), place 11 the channel equaliser, 12..19 stay empty. An algorithm
// lands by adding its file and its line in CreateBuiltInEffect; until then its place is empty
// and the channel skips it.

#include <memory>
#include <string_view>

class CEffect;

constexpr int kEffectPlaces = 20;
constexpr int kEqualizerPlace = 11;

// The effect for a place, or null for a place that holds none (yet). Main thread, at set-up.
std::unique_ptr<CEffect> CreateBuiltInEffect(int place);
// The name actions and skins use for a place ("fxFlanger"), or empty.
std::string_view BuiltInPlaceName(int place);
// The place of such a name, or -1.
int FindBuiltInPlace(std::string_view name);
