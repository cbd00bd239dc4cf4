#include "skin/DropZone.h"

#include <wx/dnd.h>

#include "library/LibraryPanel.h"

namespace {

class DeckFileDrop : public wxFileDropTarget {
 public:
  explicit DeckFileDrop(CZQDropZone& zone) : zone_(zone) {}
  wxDragResult OnEnter(wxCoord, wxCoord, wxDragResult suggested) override {
    zone_.SetDragOver(true);
    return suggested;
  }
  void OnLeave() override { zone_.SetDragOver(false); }
  bool OnDropFiles(wxCoord, wxCoord, const wxArrayString& files) override {
    zone_.SetDragOver(false);
    LibraryPanel* panel = CurrentLibraryPanel();
    if (!panel) return false;
    std::vector<std::string> paths;
    for (const wxString& file : files) paths.push_back(file.utf8_string());
    return panel->DropOnDeck(zone_.Deck(), paths);
  }

 private:
  CZQDropZone& zone_;
};

}  // namespace

CZQDropZone::CZQDropZone(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 5) {
  SetDropTarget(new DeckFileDrop(*this));
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
