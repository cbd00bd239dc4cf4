#pragma once
// The catalogue: every control a skin may place, by id. The id order is frozen: language
// files, shortcut files and controller scripts name controls, and the tables indexed by id
// (ControlTable, key and MIDI maps) must line up across versions. Add new rows only at the
// end, before action_lastaction.
//
// Pure data; read from any thread. Language loading sets the label flags' texts, not the rows.

#include "skin/model/SkinTypes.h"

struct ControlCatalogueEntry {
  const char* name;
  int type;       // ControlType
  bool isLabel;   // its text is a language label
  bool isGlobal;  // one control; otherwise one per deck
};

// Id 0 is action_none, real ids run 1 to kLastControlId, and kControlIdCount - 1 is the
// closing row action_lastaction.
constexpr int kControlIdCount = 359;
constexpr int kLastControlId = 357;
constexpr int kDeckRows = 4;
constexpr int kControlTableRows = kDeckRows + 1;  // row 0 global, rows 1-4 decks 0-3

extern const ControlCatalogueEntry kControlCatalogue[kControlIdCount];

// Linear lookup; 0 for no match (action_none and action_lastaction are not controls).
int ControlIdByName(const char* name);
// Type, flags and name of an id; type 0, false and "" outside the real ids.
int ControlTypeOf(int id);
bool ControlIsLabel(int id);
bool ControlIsGlobal(int id);
const char* ControlNameOf(int id);
