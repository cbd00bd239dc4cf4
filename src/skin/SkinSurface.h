#pragma once
// The skin's image: one bitmap held selected in one memory surface for the whole program, so a
// state change of any control costs one blit. A panel may carry an image of its own.
//
// Threads: GUI thread only. Ownership: the surfaces are global and live until exit.

#include <wx/bitmap.h>
#include <wx/dcmemory.h>
#include <wx/window.h>

#include <string>

class SkinSurface {
 public:
  SkinSurface() = default;
  SkinSurface(const SkinSurface&) = delete;
  SkinSurface& operator=(const SkinSurface&) = delete;
  ~SkinSurface();

  // Loads a PNG or BMP (type detected); on failure the surface is left empty and false returned.
  bool Load(const std::string& path);
  void Clear();
  bool IsOk() const { return bitmap_.IsOk(); }
  int Width() const { return bitmap_.IsOk() ? bitmap_.GetWidth() : 0; }
  int Height() const { return bitmap_.IsOk() ? bitmap_.GetHeight() : 0; }
  const wxBitmap& Bitmap() const { return bitmap_; }
  // The memory surface to blit from; null when empty.
  wxMemoryDC* Dc() { return bitmap_.IsOk() ? &dc_ : nullptr; }

 private:
  wxBitmap bitmap_;
  wxMemoryDC dc_;
};

// The global skin surface.
SkinSurface& GlobalSkinSurface();
// The surface a window draws from: its panel's own image when its parent's parent is a panel that
// has one, otherwise the global surface.
SkinSurface& SkinSurfaceFor(wxWindow* window);
