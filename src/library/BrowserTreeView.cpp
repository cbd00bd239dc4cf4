#include "library/BrowserTreeView.h"

#include <algorithm>

#include "library/Browser.h"
#include "library/TrackListView.h"

void BrowserTreeView::SetGeometry(int headerHeight, int rowHeight, int height) {
  headerHeight_ = std::max(0, headerHeight);
  rowHeight_ = std::max(1, rowHeight);
  height_ = std::max(0, height);
  KeepCursorVisible();
}

int BrowserTreeView::RowsOnScreen() const { return std::max(1, (height_ - headerHeight_) / rowHeight_); }

int BrowserTreeView::RowCount() const { return static_cast<int>(browser_.nodes.size()); }

int BrowserTreeView::Cursor() const { return cursor_ < RowCount() ? cursor_ : RowCount() - 1; }

void BrowserTreeView::SetCursor(int node) {
  cursor_ = RowCount() == 0 ? -1 : std::clamp(node, 0, RowCount() - 1);
  KeepCursorVisible();
}

bool BrowserTreeView::Navigate(int key) {
  const int cursor = Cursor();
  if (key == kNavRight || key == kNavLeft) {
    if (cursor < 0) return false;
    const auto& nodes = browser_.nodes;
    if (key == kNavRight) {
      if (!CanOpen(cursor)) return true;
      if (IsOpen(cursor)) SetCursor(cursor + 1);
      else Toggle(cursor);
      return true;
    }
    if (IsOpen(cursor)) {
      Toggle(cursor);
      return true;
    }
    // Out to the parent: the nearest node above with a smaller depth.
    for (int i = cursor - 1; i >= 0; --i) {
      if (nodes[static_cast<size_t>(i)].depth < nodes[static_cast<size_t>(cursor)].depth) {
        SetCursor(i);
        break;
      }
    }
    return true;
  }
  const int target = NavigateLines(key, cursor, RowCount(), RowsOnScreen());
  if (target == -2) return false;
  SetCursor(target);
  return true;
}

void BrowserTreeView::Scroll(int lines) {
  first_ = std::clamp(first_ + lines, 0, std::max(0, RowCount() - RowsOnScreen()));
}

int BrowserTreeView::RowAt(int y) const {
  if (y < headerHeight_) return -1;
  const int row = first_ + (y - headerHeight_) / rowHeight_;
  return row < RowCount() ? row : -1;
}

bool BrowserTreeView::CanOpen(int node) const {
  if (node < 0 || node >= RowCount()) return false;
  const int type = browser_.nodes[static_cast<size_t>(node)].nodeType;
  return type == kNodeDrive || type == kNodeBigDrive || type == kNodeFolder || type == kNodeTop;
}

bool BrowserTreeView::IsOpen(int node) const {
  if (!CanOpen(node) || node + 1 >= RowCount()) return false;
  return browser_.nodes[static_cast<size_t>(node) + 1].depth > browser_.nodes[static_cast<size_t>(node)].depth;
}

void BrowserTreeView::Toggle(int node) {
  if (!CanOpen(node)) return;
  const int before = RowCount();
  browser_.ToggleFolder(node);
  const int added = RowCount() - before;  // negative when it closed
  // Nodes behind this one moved; a cursor inside a folder that closed lands on the folder.
  int cursor = cursor_;
  if (cursor > node) cursor = added < 0 && cursor <= node - added ? node : cursor + added;
  SetCursor(cursor < 0 ? node : cursor);
}

void BrowserTreeView::KeepCursorVisible() {
  first_ = FirstLineShowing(Cursor(), first_, RowsOnScreen(), RowCount());
}
