#include "skin/SkinDraw.h"

#include <wx/bitmap.h>
#include <wx/dcmemory.h>
#include <wx/image.h>

#include <algorithm>
#include <cctype>

#include "skin/model/SkinAttributeList.h"

namespace {

const int kPoints[15] = {8, 9, 10, 11, 12, 14, 16, 18, 20, 22, 24, 28, 32, 36, 40};
const int kSmallPoints[15] = {4, 4, 5, 6, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7};

// The faces the skin names, with what a Linux desktop has in their place.
struct Face {
  const char* name;
  const char* face;
  wxFontFamily family;
};
const Face kFaces[] = {{"", "Arial", wxFONTFAMILY_SWISS},         {"times", "Times New Roman", wxFONTFAMILY_ROMAN},
                       {"small", "Arial", wxFONTFAMILY_SWISS},    {"courier", "Courier", wxFONTFAMILY_TELETYPE},
                       {"couriernew", "Courier New", wxFONTFAMILY_TELETYPE}, {"symbol", "Symbol", wxFONTFAMILY_DEFAULT}};

int FaceIndex(const std::string& name) {
  std::string lower;
  for (char c : name) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (int i = 1; i < 6; ++i) {
    if (lower == kFaces[i].name) return i;
  }
  return 0;
}

// Crops the rectangle of a DC into an image (through a bitmap copy, the portable way).
wxImage Grab(wxDC& src, int x, int y, int w, int h) {
  wxBitmap bitmap(w, h, 24);
  wxMemoryDC dc(bitmap);
  dc.Blit(0, 0, w, h, &src, x, y);
  dc.SelectObject(wxNullBitmap);
  return bitmap.ConvertToImage();
}

}  // namespace

int FontPointSize(const std::string& name, int sizeIndex) {
  int index = std::clamp(sizeIndex, 0, 14);
  return FaceIndex(name) == 2 ? kSmallPoints[index] : kPoints[index];
}

wxFont MakeFont(const std::string& name, int sizeIndex, bool bold, bool italic, bool underlined) {
  const Face& face = kFaces[FaceIndex(name)];
  // Points are for 72 dpi drawing as the skins were made; GTK renders at 96, so scale.
  int pixels = (FontPointSize(name, sizeIndex) * 4 + 2) / 3;
  wxFontInfo info(wxSize(0, pixels));
  info.Family(face.family).FaceName(face.face).Bold(bold).Italic(italic).Underlined(underlined);
  wxFont font(info);
  if (!font.IsOk()) font = wxFont(wxFontInfo(wxSize(0, pixels)).Family(face.family).Bold(bold));
  return font;
}

wxColour ParseColour(const std::string& text, const wxColour& fallback) {
  SkinRgb rgb;
  return ParseSkinColour(text, rgb) ? wxColour(rgb.r, rgb.g, rgb.b) : fallback;
}

void BlitAlpha(wxDC& dst, int x, int y, int w, int h, wxDC& src, int sx, int sy, int alpha) {
  if (w <= 0 || h <= 0) return;
  if (alpha >= 255) {
    dst.Blit(x, y, w, h, &src, sx, sy);
    return;
  }
  wxImage image = Grab(src, sx, sy, w, h);
  image.InitAlpha();
  unsigned char* a = image.GetAlpha();
  std::fill(a, a + w * h, static_cast<unsigned char>(std::max(0, alpha)));
  dst.DrawBitmap(wxBitmap(image, 32), x, y, true);
}

void BlitMasked(wxDC& dst, int x, int y, int w, int h, wxDC& src, int sx, int sy, int maskx, int masky) {
  if (w <= 0 || h <= 0) return;
  wxImage source = Grab(src, sx, sy, w, h);
  wxImage mask = Grab(src, maskx, masky, w, h);
  wxImage dest = Grab(dst, x, y, w, h);
  unsigned char* s = source.GetData();
  unsigned char* m = mask.GetData();
  unsigned char* d = dest.GetData();
  for (int i = 0; i < w * h * 3; ++i) {
    int level = m[i - i % 3 + 2];  // the mask's blue channel weighs all three colours alike
    d[i] = static_cast<unsigned char>((s[i] * level + d[i] * (255 - level)) >> 8);
  }
  dst.DrawBitmap(wxBitmap(dest), x, y, false);
}

void BlitTransparent(wxDC& dst, int x, int y, int w, int h, wxDC& src, int sx, int sy, const wxColour& maskColour) {
  if (w <= 0 || h <= 0) return;
  wxImage image = Grab(src, sx, sy, w, h);
  image.SetMaskColour(maskColour.Red(), maskColour.Green(), maskColour.Blue());
  dst.DrawBitmap(wxBitmap(image), x, y, true);
}
