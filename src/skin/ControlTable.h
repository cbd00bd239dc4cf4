#pragma once
// Every catalogue control, made once at start-up and hidden until a skin places it. Row 0 holds
// the global controls, rows 1-4 the controls of decks 0-3; the column is the catalogue id.
//
// Threads: GUI thread only. The controls are children of the main window and die with it;
// ClearControlTable forgets them when the window goes.

#include "skin/model/ControlCatalogue.h"

class ZQCustomControl;
class wxWindow;

extern ZQCustomControl* ControlTable[kControlTableRows][kControlIdCount];

// Null for a missing control, an id out of range or a deck outside -1..3.
ZQCustomControl* ControlAt(int id, int deck);

// Makes all catalogue controls on `parent`; types without a class here (video preview, web
// browser, the two groups) stay empty and are logged.
void CreateCatalogueControls(wxWindow* parent);
// One control of a skin type, for the catalogue and for a skin's own controls: the classes in
// files of their own, else CreateSkinControl's.
ZQCustomControl* MakeControl(int type, wxWindow* parent, int id, int deck);
void ClearControlTable();

// Puts the language's label texts on the label controls and its hints on every control (at
// start-up and after a change of language), and the placeholder texts of value displays the tick has not written yet.
void ApplyLabelTexts();

// What the skin placed, for start-up checks: placed controls, those on screen, and those waiting
// on a tab page that is not shown. placed == onScreen + onHiddenPages when nothing went missing.
struct PlacementCount {
  int placed = 0;
  int onScreen = 0;
  int onHiddenPages = 0;
};
PlacementCount CountPlacedControls();
