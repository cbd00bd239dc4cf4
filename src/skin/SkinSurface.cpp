#include "skin/SkinSurface.h"

#include <wx/image.h>

#include "app/base/Trace.h"
#include "skin/ZQCustomPanel.h"

SkinSurface::~SkinSurface() { Clear(); }

void SkinSurface::Clear() {
  dc_.SelectObject(wxNullBitmap);
  bitmap_ = wxNullBitmap;
}

bool SkinSurface::Load(const std::string& path) {
  Clear();
  wxImage image;
  if (!image.LoadFile(wxString::FromUTF8(path), wxBITMAP_TYPE_ANY)) {
    TraceLine("skin: can not load the bitmap %s", path.c_str());
    return false;
  }
  bitmap_ = wxBitmap(image, 32);
  dc_.SelectObject(bitmap_);
  return true;
}

SkinSurface& GlobalSkinSurface() {
  static SkinSurface surface;
  return surface;
}

SkinSurface& SkinSurfaceFor(wxWindow* window) {
  wxWindow* parent = window ? window->GetParent() : nullptr;
  wxWindow* grandParent = parent ? parent->GetParent() : nullptr;
  if (auto* panel = dynamic_cast<ZQCustomPanel*>(grandParent); panel && panel->OwnSurface()) {
    return *panel->OwnSurface();
  }
  return GlobalSkinSurface();
}
