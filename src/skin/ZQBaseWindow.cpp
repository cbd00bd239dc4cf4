#include "skin/ZQBaseWindow.h"

#include <wx/dcbuffer.h>

#include <algorithm>

#include "skin/SkinSurface.h"

void ZQBaseWindow::SetSkinGeometry(int width, int height, int upx, int upy, int posx, int posy, bool usecolors,
                                   const wxColour& backColour, const wxColour& borderColour) {
  width_ = width;
  height_ = height;
  upx_ = std::max(0, upx);
  upy_ = std::max(0, upy);
  posx_ = posx;
  posy_ = posy;
  usecolors_ = usecolors;
  backColour_ = backColour.IsOk() ? backColour : *wxBLACK;
  borderColour_ = borderColour.IsOk() ? borderColour : *wxBLACK;
  BeginUpdate();
  if (posx != -1) {
    int x = posx, y = posy;
    if (wxWindow* parent = GetParentWindow()) {
      wxPoint origin = parent->GetPosition();
      x += origin.x, y += origin.y;
    }
    MoveTo(x, y);
  }
  ApplySize(width, height);
  EndUpdate();
}

void ZQBaseWindow::PaintSkinBackground(wxWindow* window) {
  wxAutoBufferedPaintDC dc(window);
  wxSize size = window->GetClientSize();
  SkinSurface& surface = GlobalSkinSurface();
  if (!usecolors_ && surface.Dc()) {
    dc.SetBackground(*wxBLACK_BRUSH);
    dc.Clear();
    dc.Blit(0, 0, size.x, size.y, surface.Dc(), upx_, upy_);
    return;
  }
  dc.SetPen(wxPen(borderColour_));
  dc.SetBrush(wxBrush(backColour_));
  dc.DrawRectangle(0, 0, size.x, size.y);
}
