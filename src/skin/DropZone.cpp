#include "skin/DropZone.h"

#include <wx/dnd.h>

#include "library/LibraryPanel.h"
#include "skin/ControlTable.h"

namespace {

// Files dropped on a deck's control load on that deck; a drop zone also shows the drag.
class DeckFileDrop : public wxFileDropTarget {
 public:
  DeckFileDrop(int deck, CZQDropZone* zone) : deck_(deck), zone_(zone) {}
  wxDragResult OnEnter(wxCoord, wxCoord, wxDragResult suggested) override {
    if (zone_) zone_->SetDragOver(true);
    return suggested;
  }
  void OnLeave() override {
    if (zone_) zone_->SetDragOver(false);
  }
  bool OnDropFiles(wxCoord, wxCoord, const wxArrayString& files) override {
    if (zone_) zone_->SetDragOver(false);
    LibraryPanel* panel = CurrentLibraryPanel();
    if (!panel) return false;
    std::vector<std::string> paths;
    for (const wxString& file : files) paths.push_back(file.utf8_string());
    return panel->DropOnDeck(deck_, paths);
  }

 private:
  int deck_;
  CZQDropZone* zone_;
};

}  // namespace

CZQDropZone::CZQDropZone(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 5) {
  SetDropTarget(new DeckFileDrop(deck, this));
}

void AcceptDropsOnDeckControls() {
  for (int deck = 0; deck < kDeckRows; ++deck) {
    for (ZQCustomControl* control : ControlTable[deck + 1]) {
      if (control && !control->GetDropTarget()) control->SetDropTarget(new DeckFileDrop(deck, nullptr));
    }
  }
}

void CZQDropZone::SetDragOver(bool over) {
  if (over == dragOver_) return;
  dragOver_ = over;
  Repaint();
}

void CZQDropZone::PaintControl() {
  CZQSkinnedControl::PaintControl();
  if (!dragOver_) return;
  wxMemoryDC& dc = Offscreen();
  dc.SetPen(wxPen(fontColour_, 2));
  dc.SetBrush(*wxTRANSPARENT_BRUSH);
  dc.DrawRectangle(1, 1, ControlWidth() - 2, ControlHeight() - 2);
}
