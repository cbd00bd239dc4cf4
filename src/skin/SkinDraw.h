#pragma once
// Drawing helpers every skinned thing shares: fonts by skin name and size index, colours from
// skin text, and the three blits (constant alpha, per-pixel mask, mask colour).
//
// Threads: GUI thread only.

#include <wx/dc.h>
#include <wx/font.h>

#include <string>

// Faces by skin font name (compared in lower case): "" or unknown, "times", "small", "courier",
// "couriernew", "symbol". The size is an index 0-14 into a row of point sizes, not points.
wxFont MakeFont(const std::string& name, int sizeIndex, bool bold, bool italic, bool underlined);
// The point size MakeFont picks.
int FontPointSize(const std::string& name, int sizeIndex);

// "#RRGGBB"; anything else gives `fallback`.
wxColour ParseColour(const std::string& text, const wxColour& fallback = wxNullColour);

// Copies a rectangle with a constant alpha; 255 or more is a plain copy.
void BlitAlpha(wxDC& dst, int x, int y, int w, int h, wxDC& src, int sx, int sy, int alpha);
// Mixes source over destination by a grey mask taken from a third rectangle of the source:
// each colour becomes (source * mask + destination * (255 - mask)) >> 8.
void BlitMasked(wxDC& dst, int x, int y, int w, int h, wxDC& src, int sx, int sy, int maskx, int masky);
// Copies a rectangle leaving out the pixels of `maskColour`.
void BlitTransparent(wxDC& dst, int x, int y, int w, int h, wxDC& src, int sx, int sy, const wxColour& maskColour);
