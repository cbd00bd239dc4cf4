#include "skin/TrackList.h"

#include <wx/dataobj.h>
#include <wx/dnd.h>
#include <wx/menu.h>

#include <cstdlib>

#include "app/Language.h"
#include "library/LibraryPanel.h"
#include "skin/BrowserSetup.h"
#include "skin/BrowserTree.h"
#include "skin/ControlTable.h"
#include "skin/SkinDraw.h"

namespace {

constexpr int kRedrawMs = 100;
constexpr int kDragThreshold = 5;  // pixels the pointer moves with the button down before a drag

// The language's column titles are strings 27 to 38 in column order.
std::string ColumnTitle(int column) {
  if (const std::string& text = LangString(27 + column); !text.empty()) return text;
  switch (column) {
    case kColTitle: return "Title";
    case kColArtist: return "Artist";
    case kColTempo: return "BPM";
    case kColKey: return "Key";
    case kColTime: return "Length";
    default: return "";
  }
}

std::vector<std::string> Utf8Paths(const wxArrayString& files) {
  std::vector<std::string> paths;
  for (const wxString& file : files) paths.push_back(file.utf8_string());
  return paths;
}

class ListFileDrop : public wxFileDropTarget {
 public:
  bool OnDropFiles(wxCoord, wxCoord, const wxArrayString& files) override {
    LibraryPanel* panel = CurrentLibraryPanel();
    return panel && panel->DropOnList(Utf8Paths(files)) > 0;
  }
};

}  // namespace

CZQPlaylist::CZQPlaylist(wxWindow* parent, int logicalId, int deck)
    : CZQSkinnedControl(parent, logicalId, deck, 8), redrawTimer_(this) {
  SetWantsDoubleClick(true);
  Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) { SendNavigationKey(*this, event); });
  Bind(wxEVT_TIMER, [this](wxTimerEvent&) {
    if (ShowsPanel()) RepaintOnPanelChange(*this, drawnRevision_);
  });
}

bool CZQPlaylist::ShowsPanel() const {
  static const int kPanelList = ControlIdByName("playlist");
  return CatalogueId() == kPanelList;
}

int CZQPlaylist::RowHeight() const { return LibraryRowHeight(lineHeight_, font_); }

void CZQPlaylist::LoadAttributes(SkinAttributeList& list) {
  sliderColour_ = ParseColour(list.GetString("slidercolor"), wxColour(0x3B, 0x3F, 0x48));
  cursorColour_ = ParseColour(list.GetString("cursorcolor"), wxColour(0x2A, 0x3F, 0x5C));
  headerFontColour_ = ParseColour(list.GetString("headerfontcolor"), wxColour(0x7D, 0x83, 0x8F));
  gridColour_ = ParseColour(list.GetString("gridcolor"), wxColour(0x1C, 0x1F, 0x24));
  lineHeight_ = list.GetInt("lineheight");
  CZQSkinnedControl::LoadAttributes(list);
  if (ShowsPanel()) {
    if (!GetDropTarget()) SetDropTarget(new ListFileDrop);
    if (!redrawTimer_.IsRunning()) redrawTimer_.Start(kRedrawMs);
  }
}

void CZQPlaylist::HandleEvent(const ControlEvent& event) {
  LibraryPanel* panel = CurrentLibraryPanel();
  if (!panel || !ShowsPanel()) return;
  TrackListView& view = panel->list();
  const int rowHeight = RowHeight();
  view.SetGeometry(rowHeight, rowHeight, ControlHeight());
  bool changed = true;
  switch (event.kind) {
    case kEventMouseDown:
      FocusLibraryPane(1);
      pressRow_ = -1;
      scrolling_ = false;
      if (LibraryScrollBar bar = ScrollBar(); bar.Contains(event.x)) {
        scrolling_ = true;
        view.Scroll(bar.FirstLineAt(event.y) - view.FirstRow());
      } else if (event.y < rowHeight) {
        view.ClickHeader(view.ColumnAt(event.x));
      } else if (int row = view.RowAt(event.y); row >= 0) {
        view.SetCursor(row);
        pressRow_ = event.button == 1 ? row : -1;
        pressX_ = event.x, pressY_ = event.y;
        if (event.button == 3) ShowRowMenu(event.x, event.y);
      }
      break;
    case kEventMouseUp: pressRow_ = -1, scrolling_ = false; changed = false; break;
    case kEventMotion:
      if (scrolling_) {
        view.Scroll(ScrollBar().FirstLineAt(event.y) - view.FirstRow());
        break;
      }
      changed = false;
      if (pressRow_ >= 0 && std::abs(event.x - pressX_) + std::abs(event.y - pressY_) > kDragThreshold) StartRowDrag();
      break;
    case kEventDoubleClick:
      if (int row = view.RowAt(event.y); row >= 0) {
        view.SetCursor(row);
        panel->LoadSelectedTrackToDeck(-1);
      }
      break;
    case kEventWheel: view.Scroll(event.status > 0 ? -3 : 3); break;
    case kEventCharacter: {
      const int key = NavigationKeyOf(event.x);
      changed = key != 0 && panel->HandleKey(key);
      if (key == kNavTab) FocusLibraryPane(0);
      break;
    }
    default: changed = false;
  }
  if (!changed) return;
  panel->MarkChanged();
  Repaint();
}

void CZQPlaylist::ShowRowMenu(int x, int y) {
  LibraryPanel* panel = CurrentLibraryPanel();
  constexpr int kLoadOnDeck = 5300, kAnalyze = 5310;
  wxMenu menu;
  for (int deck = 0; deck < 4; ++deck) menu.Append(kLoadOnDeck + deck, wxString::Format("Load on deck %c", 'A' + deck));
  menu.AppendSeparator();
  menu.Append(kAnalyze, "Analyze");
  const int choice = GetPopupMenuSelectionFromUser(menu, x, y);
  if (choice >= kLoadOnDeck && choice < kLoadOnDeck + 4) {
    panel->LoadSelectedTrackToDeck(choice - kLoadOnDeck);
  } else if (choice == kAnalyze) {
    CZQBrowser& browser = panel->browser();
    browser.AnalyzeRows(browser.ListInControl(0), {panel->list().Cursor()});
  }
}

void CZQPlaylist::StartRowDrag() {
  LibraryPanel* panel = CurrentLibraryPanel();
  TZQListElement row;
  pressRow_ = -1;
  if (!panel || !panel->list().CursorRow(row)) return;
  // A row travels as its file, which every drop target (ours and a file manager's) takes.
  wxFileDataObject data;
  data.AddFile(wxString::FromUTF8(row.column[kColPath]));
  wxDropSource source(data, this);
  source.DoDragDrop(wxDrag_CopyOnly);
}

void CZQPlaylist::PaintHeader(wxDC& dc, int rowHeight) {
  TrackListView& view = CurrentLibraryPanel()->list();
  const CZQAbstractList* list = view.list();
  dc.SetTextForeground(headerFontColour_);
  dc.SetBrush(wxBrush(headerFontColour_));
  dc.SetPen(*wxTRANSPARENT_PEN);
  int x = 0;
  for (const TrackListColumn& column : view.Columns()) {
    // A skin image carries its own header titles; drawn in colours, the list writes them.
    if (GraphicsMode() == 1) dc.DrawText(wxString::FromUTF8(ColumnTitle(column.column)), x + 3, 1);
    if (list && list->sortColumn == column.column) {
      const int right = x + column.width - 8, mid = rowHeight / 2;
      const wxPoint up[] = {{right - 4, mid + 2}, {right + 4, mid + 2}, {right, mid - 3}};
      const wxPoint down[] = {{right - 4, mid - 2}, {right + 4, mid - 2}, {right, mid + 3}};
      dc.DrawPolygon(3, list->sortAscending ? up : down);
    }
    x += column.width;
  }
}

void CZQPlaylist::PaintControl() {
  PaintBackground(upx_, upy_, backColour_, borderVisible_ ? borderColour_ : backColour_);
  LibraryPanel* panel = CurrentLibraryPanel();
  if (!panel || !ShowsPanel()) return;
  wxMemoryDC& dc = Offscreen();
  TrackListView& view = panel->list();
  const int rowHeight = RowHeight();
  view.SetGeometry(rowHeight, rowHeight, ControlHeight());
  view.FitWidth(ControlWidth() - LibraryScrollBar::kWidth);
  dc.SetFont(font_);
  dc.SetBackgroundMode(wxBRUSHSTYLE_TRANSPARENT);
  PaintHeader(dc, rowHeight);
  dc.SetTextForeground(fontColour_);
  const bool focused = panel->Focus() == LibraryPanel::kListPane;
  const int last = std::min(view.RowCount(), view.FirstRow() + view.RowsOnScreen());
  TZQListElement row;
  for (int i = view.FirstRow(); i < last; ++i) {
    if (!view.list()->GetRow(i, row)) break;
    const int y = rowHeight + (i - view.FirstRow()) * rowHeight;
    const bool cursor = i == view.Cursor();
    if (cursor) {
      dc.SetPen(*wxTRANSPARENT_PEN);
      dc.SetBrush(wxBrush(focused ? cursorColour_ : cursorColour_.ChangeLightness(70)));
      dc.DrawRectangle(0, y, ControlWidth() - LibraryScrollBar::kWidth, rowHeight);
    }
    dc.SetPen(wxPen(gridColour_));
    dc.DrawLine(0, y + rowHeight - 1, ControlWidth(), y + rowHeight - 1);
    int x = 0;
    for (const TrackListColumn& column : view.Columns()) {
      dc.SetClippingRegion(x, y, column.width - 4, rowHeight);
      dc.DrawText(wxString::FromUTF8(TrackListView::CellText(row, column.column)), x + 3, y + 2);
      dc.DestroyClippingRegion();
      x += column.width;
    }
  }
  ScrollBar().Paint(dc, sliderColour_);
  drawnRevision_ = panel->Revision();
}

LibraryScrollBar CZQPlaylist::ScrollBar() const {
  const TrackListView& view = CurrentLibraryPanel()->list();
  const int rowHeight = RowHeight();
  return LibraryScrollBar(ControlWidth(), rowHeight, ControlHeight() - rowHeight, view.RowsOnScreen(), view.RowCount(),
                          view.FirstRow());
}
