#pragma once
// What every skinned top-level window shares: its size, the corner of its background in the skin
// image, its position and its colours. The concrete windows forward the abstract steps to their
// toolkit base.
//
// Threads: GUI thread only.

#include <wx/colour.h>
#include <wx/window.h>

class ZQBaseWindow {
 public:
  virtual ~ZQBaseWindow() = default;

  // Stores the geometry and colours, moves the window when posx is not -1 (relative to the
  // parent's position when there is a parent), then applies the size. Corners below 0 become 0.
  virtual void SetSkinGeometry(int width, int height, int upx, int upy, int posx, int posy, bool usecolors,
                               const wxColour& backColour, const wxColour& borderColour);
  virtual void BeginUpdate() = 0;
  virtual void EndUpdate() = 0;
  virtual wxWindow* GetParentWindow() = 0;
  virtual void MoveTo(int x, int y) = 0;
  virtual void ApplySize(int width, int height) = 0;

  int SkinWidth() const { return width_; }
  int SkinHeight() const { return height_; }

 protected:
  // Paints the background: the skin image from the corner, or the two colours.
  void PaintSkinBackground(wxWindow* window);

  int width_ = 0, height_ = 0;
  int upx_ = 0, upy_ = 0;
  int posx_ = -1, posy_ = -1;
  bool usecolors_ = false;
  wxColour backColour_ = *wxBLACK;
  wxColour borderColour_ = *wxBLACK;
};
