#pragma once
// BrowserTreeView: the tree control's cursor and scrolling over CZQBrowser's flat node list,
// with the keys of a file tree: arrows move, Right opens a folder (or steps into it when open),
// Left closes it (or steps out to its parent). Activating a node is the panel's business
// (LibraryPanel), since it decides what the list control shows.
//
// Threads: GUI thread only.

class CZQBrowser;

class BrowserTreeView {
 public:
  explicit BrowserTreeView(CZQBrowser& browser) : browser_(browser) {}

  // Layout, in pixels: the title line above the nodes, the row height, the control's height.
  void SetGeometry(int headerHeight, int rowHeight, int height);
  int RowsOnScreen() const;
  int RowCount() const;
  int Cursor() const;
  int FirstRow() const { return first_; }
  void SetCursor(int node);
  bool Navigate(int key);
  void Scroll(int lines);
  int RowAt(int y) const;

  // Drives, folders and the two top items open; lists do not.
  bool CanOpen(int node) const;
  bool IsOpen(int node) const;
  // Opens or closes a folder node; the cursor stays on the same node.
  void Toggle(int node);
  // Pixels of indentation per tree level.
  static constexpr int kIndent = 14;

 private:
  void KeepCursorVisible();

  CZQBrowser& browser_;
  int cursor_ = -1;
  int first_ = 0;
  int headerHeight_ = 0, rowHeight_ = 16, height_ = 160;
};
