#pragma once
// CZQDropZone: the area of a deck that takes files dragged from a file manager or rows dragged
// from the list (they travel as files): the first song among them loads on the zone's deck.
// It takes no other input; while something is dragged over it, it draws a frame. Every other
// control of a deck takes such drops too (AcceptDropsOnDeckControls), so a song dropped
// anywhere on a deck loads there, whether or not the skin places a zone.
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

// Makes every catalogue control of decks 0-3 a drop target for its deck. Call once the
// catalogue controls exist.
void AcceptDropsOnDeckControls();
