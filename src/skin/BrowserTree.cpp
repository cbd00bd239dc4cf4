#include "skin/BrowserTree.h"

#include <wx/menu.h>
#include <wx/textdlg.h>

#include "app/Language.h"
#include "library/LibraryPanel.h"
#include "skin/BrowserSetup.h"
#include "skin/ControlTable.h"
#include "skin/SkinDraw.h"

namespace {

constexpr int kMenuNewList = 5010;
constexpr int kMenuRename = 5100;
constexpr int kMenuDelete = 5110;
constexpr int kRedrawMs = 100;

}  // namespace

void FocusLibraryPane(int pane) {
  LibraryPanel* panel = CurrentLibraryPanel();
  if (panel) panel->SetFocus(pane == 0 ? LibraryPanel::kTreePane : LibraryPanel::kListPane);
  const char* name = pane == 0 ? "browser" : "playlist";
  if (ZQCustomControl* control = ControlAt(ControlIdByName(name), -1); control && control->IsShown())
    control->SetFocus();
}

CZQBrowserTree::CZQBrowserTree(wxWindow* parent, int logicalId, int deck)
    : CZQSkinnedControl(parent, logicalId, deck, 7), redrawTimer_(this) {
  SetWantsDoubleClick(true);
  Bind(wxEVT_KEY_DOWN, [this](wxKeyEvent& event) { SendNavigationKey(*this, event); });
  Bind(wxEVT_TIMER, [this](wxTimerEvent&) { RepaintOnPanelChange(*this, drawnRevision_); });
}

void CZQBrowserTree::LoadAttributes(SkinAttributeList& list) {
  sliderColour_ = ParseColour(list.GetString("slidercolor"), wxColour(0x3B, 0x3F, 0x48));
  cursorColour_ = ParseColour(list.GetString("cursorcolor"), wxColour(0x2A, 0x3F, 0x5C));
  lineHeight_ = list.GetInt("lineheight");
  CZQSkinnedControl::LoadAttributes(list);
  if (!redrawTimer_.IsRunning()) redrawTimer_.Start(kRedrawMs);
}

int CZQBrowserTree::RowHeight() const { return LibraryRowHeight(lineHeight_, font_); }

void CZQBrowserTree::HandleEvent(const ControlEvent& event) {
  LibraryPanel* panel = CurrentLibraryPanel();
  if (!panel) return;
  BrowserTreeView& tree = panel->tree();
  tree.SetGeometry(RowHeight(), RowHeight(), ControlHeight());
  bool changed = true;
  switch (event.kind) {
    case kEventMouseDown: {
      FocusLibraryPane(0);
      scrolling_ = false;
      if (LibraryScrollBar bar = ScrollBar(); bar.Contains(event.x)) {
        scrolling_ = true;
        tree.Scroll(bar.FirstLineAt(event.y) - tree.FirstRow());
        break;
      }
      const int node = tree.RowAt(event.y);
      if (node < 0) break;
      const int depth = panel->browser().nodes[static_cast<size_t>(node)].depth;
      if (event.button == 3) {
        tree.SetCursor(node);
        ShowContextMenu(node, event.x, event.y);
      } else if (event.x < (depth + 1) * BrowserTreeView::kIndent && tree.CanOpen(node)) {
        tree.SetCursor(node);
        tree.Toggle(node);
      } else {
        panel->ActivateNode(node);
      }
      break;
    }
    case kEventDoubleClick:
      if (int node = tree.RowAt(event.y); node >= 0 && !ScrollBar().Contains(event.x)) tree.Toggle(node);
      break;
    case kEventMouseUp: scrolling_ = false; changed = false; break;
    case kEventMotion:
      changed = scrolling_;
      if (scrolling_) tree.Scroll(ScrollBar().FirstLineAt(event.y) - tree.FirstRow());
      break;
    case kEventWheel: tree.Scroll(event.status > 0 ? -3 : 3); break;
    case kEventCharacter: {
      const int key = NavigationKeyOf(event.x);
      changed = key != 0 && panel->HandleKey(key);
      if (key == kNavTab) FocusLibraryPane(1);
      break;
    }
    default: changed = false;
  }
  if (!changed) return;
  panel->MarkChanged();
  Repaint();
}

void CZQBrowserTree::ShowContextMenu(int node, int x, int y) {
  LibraryPanel* panel = CurrentLibraryPanel();
  const int type = panel->browser().nodes[static_cast<size_t>(node)].nodeType;
  if (type != kNodeUserList && type != kNodeLists) return;
  wxMenu menu;
  menu.Append(kMenuNewList, "New list");
  if (type == kNodeUserList) {
    menu.Append(kMenuRename, "Rename...");
    menu.Append(kMenuDelete, "Delete");
  }
  const int choice = GetPopupMenuSelectionFromUser(menu, x, y);
  if (choice == kMenuNewList) {
    panel->browser().CreateList("");
  } else if (choice == kMenuRename) {
    const std::string old = panel->browser().nodes[static_cast<size_t>(node)].label;
    const wxString name = wxGetTextFromUser("New name of the list", "Rename", wxString::FromUTF8(old), this);
    if (!name.empty()) panel->RenameUserList(node, name.utf8_string());
  } else if (choice == kMenuDelete) {
    panel->DeleteUserList(node);
  }
  panel->MarkChanged();
}

void CZQBrowserTree::PaintControl() {
  PaintBackground(upx_, upy_, backColour_, borderVisible_ ? borderColour_ : backColour_);
  LibraryPanel* panel = CurrentLibraryPanel();
  if (!panel) return;
  wxMemoryDC& dc = Offscreen();
  BrowserTreeView& tree = panel->tree();
  const int rowHeight = RowHeight();
  tree.SetGeometry(rowHeight, rowHeight, ControlHeight());
  dc.SetFont(font_);
  dc.SetBackgroundMode(wxBRUSHSTYLE_TRANSPARENT);
  const bool focused = panel->Focus() == LibraryPanel::kTreePane;
  const auto& nodes = panel->browser().nodes;
  const int last = std::min(tree.RowCount(), tree.FirstRow() + tree.RowsOnScreen() + 1);
  for (int i = tree.FirstRow(); i < last; ++i) {
    const BrowserNode& node = nodes[static_cast<size_t>(i)];
    const int y = (i - tree.FirstRow() + 1) * rowHeight;
    if (i == tree.Cursor()) {
      dc.SetPen(*wxTRANSPARENT_PEN);
      dc.SetBrush(wxBrush(focused ? cursorColour_ : cursorColour_.ChangeLightness(70)));
      dc.DrawRectangle(0, y, ControlWidth() - LibraryScrollBar::kWidth, rowHeight);
    }
    const int x = node.depth * BrowserTreeView::kIndent + 2;
    dc.SetTextForeground(fontColour_);
    if (tree.CanOpen(i)) dc.DrawText(tree.IsOpen(i) ? "-" : "+", x, y + 1);
    dc.DrawText(wxString::FromUTF8(node.label), x + BrowserTreeView::kIndent - 2, y + 1);
  }
  ScrollBar().Paint(dc, sliderColour_);
  drawnRevision_ = panel->Revision();
}

LibraryScrollBar CZQBrowserTree::ScrollBar() const {
  const BrowserTreeView& tree = CurrentLibraryPanel()->tree();
  const int rowHeight = RowHeight();
  return LibraryScrollBar(ControlWidth(), rowHeight, ControlHeight() - rowHeight, tree.RowsOnScreen(), tree.RowCount(),
                          tree.FirstRow());
}
