#pragma once
// One page of a tab group: a plain child window that paints a rectangle of the skin image, or
// its two colours, behind the controls placed on it.
//
// Threads: GUI thread only. Owned by its group, destroyed with it.

#include <wx/panel.h>

#include "skin/model/SkinAttributeList.h"

class SkinSurface;

class ZQCustomPanel : public wxPanel {
 public:
  ZQCustomPanel(wxWindow* parent, int number);

  // Reads width, height, posy, posx, upx, upy (-1 falls back to posx, posy), backcolor,
  // bordercolor and transparent.
  void ApplyAttributes(SkinAttributeList& list);
  int Number() const { return number_; }
  bool Active() const { return active_; }
  void SetActive(bool active) { active_ = active; }
  // A panel has no image of its own in this program; it draws from its parent's or the global one.
  SkinSurface* OwnSurface() { return nullptr; }

 private:
  void OnPaint(wxPaintEvent& event);

  int number_;
  bool active_ = false;
  int width_ = 0, height_ = 0;
  int upx_ = -1, upy_ = -1;
  bool transparent_ = false;
  wxColour backColour_, borderColour_;
};
