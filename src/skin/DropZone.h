#pragma once
// CZQDropZone: the area of a deck that takes files dragged from a file manager or rows dragged
// from the list (they travel as files): the first song among them loads on the zone's deck.
// It takes no other input; while something is dragged over it, it draws a frame.
//
// Threads: GUI thread only.

#include "skin/SkinControls.h"

class CZQDropZone : public CZQSkinnedControl {
 public:
  CZQDropZone(wxWindow* parent, int logicalId, int deck);
  void HandleEvent(const ControlEvent&) override {}
  void PaintControl() override;
  void SetDragOver(bool over);

 private:
  bool dragOver_ = false;
};
