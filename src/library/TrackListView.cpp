#include "library/TrackListView.h"
#include "app/base/PathNames.h"

#include <algorithm>
#include <iterator>

int NavigateLines(int key, int cursor, int count, int page) {
  if (count <= 0) return key >= kNavUp && key <= kNavEnd ? -1 : -2;
  int target;
  switch (key) {
    case kNavUp: target = cursor < 0 ? 0 : cursor - 1; break;
    case kNavDown: target = cursor + 1; break;
    case kNavPageUp: target = cursor - page; break;
    case kNavPageDown: target = cursor < 0 ? page - 1 : cursor + page; break;
    case kNavHome: target = 0; break;
    case kNavEnd: target = count - 1; break;
    default: return -2;
  }
  return std::clamp(target, 0, count - 1);
}

int FirstLineShowing(int cursor, int first, int page, int count) {
  page = std::max(1, page);
  if (cursor >= 0 && cursor < first) first = cursor;
  else if (cursor >= first + page) first = cursor - page + 1;
  return std::clamp(first, 0, std::max(0, count - page));
}

TrackListView::TrackListView()
    : columns_{{kColTitle, 220}, {kColArtist, 160}, {kColTempo, 52}, {kColKey, 44}, {kColTime, 52}} {}

void TrackListView::SetList(CZQAbstractList* list, ListScrollState* scroll) {
  list_ = list;
  scroll_ = scroll ? scroll : &ownScroll_;
  if (scroll_->dataOffsetVert < 0) scroll_->dataOffsetVert = 0;
  ClampFirstRow();
}

void TrackListView::SetGeometry(int headerHeight, int rowHeight, int height) {
  headerHeight_ = std::max(0, headerHeight);
  rowHeight_ = std::max(1, rowHeight);
  height_ = std::max(0, height);
  ClampFirstRow();
}

void TrackListView::FitWidth(int width) {
  // Shares of the width, in column order, as the default skin's header lays them out; the last
  // column takes what is left.
  static constexpr double kShares[] = {0.404, 0.323, 0.082, 0.081};
  int left = 0;
  for (size_t i = 0; i < columns_.size(); ++i) {
    const bool last = i + 1 == columns_.size();
    columns_[i].width = std::max(24, last || i >= std::size(kShares) ? width - left : static_cast<int>(width * kShares[i]));
    left += columns_[i].width;
  }
}

int TrackListView::RowsOnScreen() const { return std::max(1, (height_ - headerHeight_) / rowHeight_); }

int TrackListView::RowCount() const { return list_ ? list_->GetVisibleCount() : 0; }

int TrackListView::Cursor() const {
  if (!list_) return -1;
  const int count = RowCount();
  return list_->mainCursor < count ? list_->mainCursor : count - 1;
}

int TrackListView::FirstRow() const { return scroll_ ? std::max(0, scroll_->dataOffsetVert) : 0; }

void TrackListView::SetCursor(int row) {
  if (!list_) return;
  const int count = RowCount();
  list_->mainCursor = count == 0 ? -1 : std::clamp(row, 0, count - 1);
  if (list_->onCursorChanged) list_->onCursorChanged(*list_);
  KeepCursorVisible();
}

bool TrackListView::Navigate(int key) {
  if (!list_) return false;
  const int target = NavigateLines(key, Cursor(), RowCount(), RowsOnScreen());
  if (target == -2) return false;
  SetCursor(target);
  return true;
}

void TrackListView::Scroll(int lines) {
  if (!scroll_) return;
  scroll_->dataOffsetVert = FirstRow() + lines;
  ClampFirstRow();
}

int TrackListView::RowAt(int y) const {
  if (y < headerHeight_) return -1;
  const int row = FirstRow() + (y - headerHeight_) / rowHeight_;
  return row < RowCount() ? row : -1;
}

int TrackListView::ColumnAt(int x) const {
  if (x < 0) return -1;
  int left = 0;
  for (size_t i = 0; i < columns_.size(); ++i) {
    left += columns_[i].width;
    if (x < left) return static_cast<int>(i);
  }
  return -1;
}

void TrackListView::ClickHeader(int columnIndex) {
  if (!list_ || columnIndex < 0 || columnIndex >= static_cast<int>(columns_.size())) return;
  if (list_->columnSortBlocked) return;
  const int column = columns_[static_cast<size_t>(columnIndex)].column;
  const bool ascending = list_->sortColumn == column ? list_->sortAscending == 0 : true;
  TZQListElement before;
  const bool hadCursor = CursorRow(before);
  list_->Sort(column, ascending);
  if (!hadCursor) return;
  // The same song stays under the cursor, wherever the sort took it.
  TZQListElement row;
  for (int i = 0, count = RowCount(); i < count; ++i) {
    if (list_->GetRow(i, row) && row.column[kColPath] == before.column[kColPath]) {
      SetCursor(i);
      return;
    }
  }
}

bool TrackListView::CursorRow(TZQListElement& out) const {
  const int cursor = Cursor();
  return list_ && cursor >= 0 && list_->GetRow(cursor, out);
}

std::string TrackListView::CellText(const TZQListElement& row, int column) {
  const std::string& text = row.column[column];
  if (column == kColTitle && text.empty()) {
    const std::string& path = row.column[kColPath];
    return TitleFromFileName(path);
  }
  // The stored tempo has a leading zero below 100 so that text order is value order; the
  // screen shows the plain number.
  if (column == kColTempo && text.size() > 1 && text[0] == '0' && text[1] != '.') return text.substr(1);
  return text;
}

void TrackListView::KeepCursorVisible() {
  if (!scroll_ || Cursor() < 0) return;
  scroll_->dataOffsetVert = FirstLineShowing(Cursor(), FirstRow(), RowsOnScreen(), RowCount());
}

void TrackListView::ClampFirstRow() {
  if (!scroll_) return;
  const int last = std::max(0, RowCount() - RowsOnScreen());
  scroll_->dataOffsetVert = std::clamp(scroll_->dataOffsetVert, 0, last);
}
