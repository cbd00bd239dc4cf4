#pragma once
// The library panel of the window: made at start-up over the data folders with the decks as
// its loaders, saved and freed at close. Also the few things the library's controls share.
//
// Threads: GUI thread only.

#include <wx/dc.h>
#include <wx/event.h>
#include <wx/font.h>

#include "skin/model/ScrollModel.h"

class ZQCustomControl;

// Builds the browser (lists.knx, the tree) and makes it the current LibraryPanel, with the
// file worker's results going to its rows. Call after the song database is loaded and the
// catalogue controls exist, before the analysis objects are made.
void CreateLibraryPanel();
// Saves the lists and frees the panel; call before the decks go.
void DestroyLibraryPanel();

// The navigation key (TrackListView.h) of a toolkit key code; 0 for any other key.
int NavigationKeyOf(int keyCode);

// Routes the navigation keys (arrows, page keys, Enter, Tab) to control as character events
// before the toolkit turns them into focus moves; other keys go on as usual. Bind it to
// wxEVT_KEY_DOWN.
void SendNavigationKey(ZQCustomControl& control, wxKeyEvent& event);

// Redraws control when the panel changed since it last drew; the controls call it from a
// timer, since list workers change rows on their own threads.
void RepaintOnPanelChange(ZQCustomControl& control, unsigned& drawnRevision);


// Row height of the tree and the list: the skin's lineheight, or the font's height and a gap.
int LibraryRowHeight(int lineHeight, const wxFont& font);

// The scroll bar strip at the right of the tree and the list, which the skin's picture leaves
// free: its thumb follows the first shown line, and a press or drag in the strip puts the
// thumb's middle under the pointer.
struct LibraryScrollBar {
  static constexpr int kWidth = 14;
  int left = 0, top = 0;
  ScrollModel model;

  // The strip of a control width pixels wide, its track from top over height pixels.
  LibraryScrollBar(int width, int top, int height, int visibleLines, int totalLines, int firstLine);
  bool Contains(int x) const { return x >= left; }
  // The first line to show for a pointer at y.
  int FirstLineAt(int y);
  void Paint(wxDC& dc, const wxColour& colour) const;
};
