#pragma once
// CZQBrowserTree: the library tree on screen (drives, folders, lists), a view over the panel's
// BrowserTreeView. A click shows a node's songs in the list, a click on the box before a folder
// (or a double click) opens or closes it, the keys move through it, and a user list has a
// context menu to rename or delete it.
//
// Threads: GUI thread only.

#include <wx/timer.h>

#include "skin/BrowserSetup.h"
#include "skin/SkinControls.h"

class CZQBrowserTree : public CZQSkinnedControl {
 public:
  CZQBrowserTree(wxWindow* parent, int logicalId, int deck);
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;

 private:
  void ShowContextMenu(int node, int x, int y);
  int RowHeight() const;
  LibraryScrollBar ScrollBar() const;

  wxTimer redrawTimer_;
  unsigned drawnRevision_ = 0;
  wxColour cursorColour_;
  wxColour sliderColour_;
  int lineHeight_ = -1;
  bool scrolling_ = false;
};

// Gives the keyboard to the tree (pane 0) or the list (pane 1) control.
void FocusLibraryPane(int pane);
