#pragma once
// TrackListView: what a list control shows of a CZQAbstractList, without any drawing: the
// columns on screen, the cursor (the row Enter loads), the first row shown, sorting by a
// column header, and the keys a DJ moves through a list with. The control draws from it and
// feeds it clicks and keys, so all of this is tested without a display.
//
// The cursor lives in the list (mainCursor), so it comes back with the list; the first row
// shown lives in the list's scroll state, swapped by CZQBrowser::ShowInControl.
//
// Threads: GUI thread only. The list's worker may add rows at any time: every call reads the
// row count afresh and clamps.

#include <string>
#include <vector>

#include "library/AbstractList.h"

struct TrackListColumn {
  int column;  // ListColumn
  int width;   // pixels
};

// Keys the list and the tree answer, independent of the toolkit's codes.
enum NavigationKey : int {
  kNavUp = 1,
  kNavDown,
  kNavPageUp,
  kNavPageDown,
  kNavHome,
  kNavEnd,
  kNavLeft,
  kNavRight,
  kNavEnter,
  kNavTab,
};

// Where a navigation key takes a cursor over count lines with page lines on screen; -2 for a
// key that does not move a cursor. From no cursor (-1) a key that moves down lands on the first
// line. Shared by the list and the tree.
int NavigateLines(int key, int cursor, int count, int page);
// The first shown line that keeps cursor on screen, moving first as little as possible.
int FirstLineShowing(int cursor, int first, int page, int count);

class TrackListView {
 public:
  TrackListView();

  // Shows a list (null shows nothing); scroll is the control's scroll state, already swapped.
  void SetList(CZQAbstractList* list, ListScrollState* scroll);
  CZQAbstractList* list() const { return list_; }

  // Layout, in pixels: the header line, the row height and the control's height.
  void SetGeometry(int headerHeight, int rowHeight, int height);
  int RowsOnScreen() const;
  // Spreads the columns over a width of pixels.
  void FitWidth(int width);

  int RowCount() const;
  int Cursor() const;
  int FirstRow() const;
  // Moves the cursor to a visible row (clamped) and scrolls so that it can be seen.
  void SetCursor(int row);
  // Arrows, page keys, Home and End. False for a key the list does not take.
  bool Navigate(int key);
  // Mouse wheel or scroll bar: moves the first shown row by lines, the cursor stays.
  void Scroll(int lines);

  // Row under a point of the control; -1 on the header or below the last row.
  int RowAt(int y) const;
  // Index into Columns() under x; -1 right of the last column.
  int ColumnAt(int x) const;
  // A click on a header: sorts by that column, a second click on the same one reverses the
  // order. Nothing happens when the list blocks sorting. The cursor follows its song.
  void ClickHeader(int columnIndex);

  // The cursor's row; false when there is none.
  bool CursorRow(TZQListElement& out) const;
  // The text a cell shows (the title falls back on the file name when the tags had none).
  static std::string CellText(const TZQListElement& row, int column);

  const std::vector<TrackListColumn>& Columns() const { return columns_; }

 private:
  void KeepCursorVisible();
  void ClampFirstRow();

  CZQAbstractList* list_ = nullptr;
  ListScrollState* scroll_ = nullptr;
  ListScrollState ownScroll_;
  std::vector<TrackListColumn> columns_;
  int headerHeight_ = 16, rowHeight_ = 16, height_ = 160;
};
