#pragma once
// The library panel of the window: made at start-up over the data folders with the decks as
// its loaders, saved and freed at close. Also the few things the library's controls share.
//
// Threads: GUI thread only.

#include <wx/font.h>

class ZQCustomControl;

// Builds the browser (lists.knx, the tree) and makes it the current LibraryPanel. Call after
// the song database is loaded and the catalogue controls exist.
void CreateLibraryPanel();
// Saves the lists and frees the panel; call before the decks go.
void DestroyLibraryPanel();

// The navigation key (TrackListView.h) of a toolkit key code; 0 for any other key.
int NavigationKeyOf(int keyCode);

// Redraws control when the panel changed since it last drew; the controls call it from a
// timer, since list workers change rows on their own threads.
void RepaintOnPanelChange(ZQCustomControl& control, unsigned& drawnRevision);


// Row height of the tree and the list: the skin's lineheight, or the font's height and a gap.
int LibraryRowHeight(int lineHeight, const wxFont& font);
