#pragma once
// CZQPlaylist: the track list on screen, a view over the panel's TrackListView: a header of
// columns (a click sorts), the rows with the cursor, the wheel and the keys. A double click or
// Enter loads the cursor's song on the focused deck; a row dragged out is a file, so it can be
// dropped on a deck's drop zone (or any program); files dropped here join the list.
// Only the first list control ("playlist") shows the panel's list; others draw their frame.
//
// Threads: GUI thread only.

#include <wx/timer.h>

#include "skin/BrowserSetup.h"
#include "skin/SkinControls.h"

class CZQPlaylist : public CZQSkinnedControl {
 public:
  CZQPlaylist(wxWindow* parent, int logicalId, int deck);
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;

 private:
  bool ShowsPanel() const;
  int RowHeight() const;
  void PaintHeader(wxDC& dc, int rowHeight);
  void StartRowDrag();
  // Right click on a row: load it on a chosen deck, or queue it for analysis.
  void ShowRowMenu(int x, int y);
  LibraryScrollBar ScrollBar() const;

  wxTimer redrawTimer_;
  unsigned drawnRevision_ = 0;
  wxColour cursorColour_, headerFontColour_, gridColour_;
  wxColour sliderColour_;
  int lineHeight_ = -1;
  bool scrolling_ = false;
  int pressRow_ = -1;
  int pressX_ = 0, pressY_ = 0;
};
