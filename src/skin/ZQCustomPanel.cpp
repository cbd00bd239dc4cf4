#include "skin/ZQCustomPanel.h"

#include <wx/dcbuffer.h>

#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"

ZQCustomPanel::ZQCustomPanel(wxWindow* parent, int number)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE), number_(number) {
  SetBackgroundStyle(wxBG_STYLE_PAINT);
  Bind(wxEVT_PAINT, &ZQCustomPanel::OnPaint, this);
  Hide();
}

void ZQCustomPanel::ApplyAttributes(SkinAttributeList& list) {
  width_ = list.GetInt("width");
  height_ = list.GetInt("height");
  int posy = list.GetInt("posy");
  int posx = list.GetInt("posx");
  upx_ = list.GetInt("upx");
  upy_ = list.GetInt("upy");
  if (upx_ == -1) upx_ = posx;
  if (upy_ == -1) upy_ = posy;
  backColour_ = ParseColour(list.GetString("backcolor"), *wxBLACK);
  borderColour_ = ParseColour(list.GetString("bordercolor"), *wxBLACK);
  transparent_ = list.GetBool("transparent");
  SetSize(std::max(0, posx), std::max(0, posy), std::max(1, width_), std::max(1, height_));
}

void ZQCustomPanel::OnPaint(wxPaintEvent&) {
  wxAutoBufferedPaintDC dc(this);
  wxSize size = GetClientSize();
  SkinSurface& surface = SkinSurfaceFor(this);
  if (!transparent_ && upx_ >= 0 && upy_ >= 0 && surface.Dc()) {
    dc.Blit(0, 0, size.x, size.y, surface.Dc(), upx_, upy_);
    return;
  }
  dc.SetPen(wxPen(borderColour_));
  dc.SetBrush(wxBrush(backColour_));
  dc.DrawRectangle(0, 0, size.x, size.y);
}
