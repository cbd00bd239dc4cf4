#pragma once
// A channel's user chain in a .knf file ("fx_deckA.knf", "fx_sampler.knf", "fx_mic.knf",
// "fx_master.knf" in the settings folder), and the creation of chain effects from the register.
//
// Chain effects are hosted plug-ins (type 110) or built-in effects (type 0, named as in
// BuiltInEffects.h, with an empty file name). The plug-in host registers a factory; until one
// is registered, or when a plug-in is no longer in the register, its entry is dropped quietly
// with its parameters, as is a built-in name this program does not know.
//
// Threads: main thread only. A loaded chain reaches the audio thread in one swap.

#include <memory>
#include <string>
#include <string_view>

#include "effects/EffectRegister.h"

class CEffect;
class CEffectChain;

// Builds the effect for a register entry (its index in the whole register); null on failure.
using ChainEffectFactory = std::unique_ptr<CEffect> (*)(const ExternalEffectEntry& entry, int registerIndex);
void SetChainEffectFactory(ChainEffectFactory factory);

// Creates a chain effect and appends it. With a negative index or a non-empty name the register
// is searched by name and file name; a built-in (type 0) is found by its name. Returns 1, or 0
// (another type, no such entry, the factory failed, the chain is full); `out` may be null.
int AddChainEffect(CEffectChain& chain, void* owner, int type, int index, std::string_view name,
                   std::string_view filename, int componentId, int enabled, float dryWet, int editorVisible,
                   int x, int y, CEffect** out);

// Replaces the chain with the file's effects. 0 when the file is missing, damaged or has
// another root: the reason goes to the log and the chain is left as it was.
int LoadChain(CEffectChain& chain, void* owner, const std::string& path);
int LoadChainText(CEffectChain& chain, void* owner, std::string_view text, const std::string& label);
// Writes atomically; 0 when the file cannot be written.
int SaveChain(CEffectChain& chain, const std::string& path);
std::string ChainText(CEffectChain& chain);
