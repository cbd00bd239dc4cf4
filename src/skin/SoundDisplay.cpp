#include "skin/SoundDisplay.h"

#include <wx/rawbmp.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "skin/SkinDraw.h"
#include "skin/SkinSurface.h"

namespace {

constexpr int kZoomButtonSize = 9;
constexpr int kBeatBoxWidth = 40;
constexpr int kBeatBoxHeight = 5;
constexpr int kControllerReference = -100;  // the button value with which a controller sets it

double EntriesOfFrames(int frames) { return frames < 0 ? -1.0 : frames / kFramesPerEntry; }

}  // namespace

CZQSoundDisplayControl::CZQSoundDisplayControl(wxWindow* parent, int logicalId, int deck)
    : CZQSkinnedControl(parent, logicalId, deck, 11) {
  SetWantsDoubleClick(true);
}

CZQSoundDisplayControl::~CZQSoundDisplayControl() {
  if (HasCapture()) ReleaseMouse();
}

void CZQSoundDisplayControl::LoadAttributes(SkinAttributeList& list) {
  dataColour_ = ParseColour(list.GetString("datacolor"), wxColour(0x3a, 0x9c, 0xff));
  loopColour_ = ParseColour(list.GetString("loopcolor"), wxColour(0x1f, 0xc8, 0xc8));
  cueColour_ = ParseColour(list.GetString("cuecolor"), wxColour(0xff, 0xb0, 0x2e));
  cursorColour_ = ParseColour(list.GetString("cursorcolor"), *wxWHITE);
  beatDiffVisible_ = list.GetBool("beatdiffvisible");
  beatDiffX_ = std::max(0, list.GetInt("beatdiffx"));
  beatDiffY_ = std::max(0, list.GetInt("beatdiffy"));
  dontShowCursor_ = list.GetBool("dontshowcursor");
  dontShowText_ = list.GetBool("dontshowtext");
  dontShowZoomButtons_ = list.GetBool("dontshowzoombuttons");
  cursorAttr_ = list.Has("cursorpos") ? list.GetInt("cursorpos") : -1;
  map_.SetGeometry(std::max(1, list.GetInt("width")), std::max(1, list.GetInt("height")), cursorAttr_);
  pressedPart_ = 0;
  backgroundStale_ = true;
  CZQSkinnedControl::LoadAttributes(list);
}

void CZQSoundDisplayControl::UpdateWave(const SoundDisplayFeed& feed) {
  position_ = feed.positionFrames / kFramesPerEntry;
  hasWave_ = feed.stripe && feed.stripeLength > 0;
  map_.MapColumns(position_, feed.stripe, hasWave_ ? feed.stripeLength : 0);
  cue_ = feed.cueFrames > 0 ? EntriesOfFrames(feed.cueFrames) : -1.0;
  loopIn_ = EntriesOfFrames(feed.loopInFrames);
  loopOut_ = loopIn_ >= 0 ? EntriesOfFrames(feed.loopOutFrames) : -1.0;
}

void CZQSoundDisplayControl::ClearWave() {
  hasWave_ = false;
  cue_ = loopIn_ = loopOut_ = -1.0;
  beatOfBar_ = -1;
  beatDiffValid_ = false;
}

void CZQSoundDisplayControl::SetBeatOfBar(int index) { beatOfBar_ = index >= 0 && index < 4 ? index : -1; }

void CZQSoundDisplayControl::SetBeatDifference(bool valid, int pixels) {
  beatDiffValid_ = valid;
  beatDiffPixels_ = std::clamp(pixels, -kBeatBoxWidth / 2, kBeatBoxWidth / 2);
}

double CZQSoundDisplayControl::FrameAt(int x, int y) const {
  const int column = Vertical() ? y : x;
  const double entry = position_ + (column - map_.Geometry().cursorPos) * map_.EntriesPerPixel();
  return std::max(0.0, entry * kFramesPerEntry);
}

wxImage CZQSoundDisplayControl::Snapshot() {
  const wxBitmap& picture = Offscreen().GetSelectedBitmap();
  if (!picture.IsOk()) return wxImage();
  return picture.GetSubBitmap(wxRect(0, 0, ControlWidth(), ControlHeight())).ConvertToImage();
}

// Units. Everything that scrolls is in stripe entries (one per 100 frames, 441 a second):
// positions, cues and loops are divided by 100 once, in UpdateWave, and a column of the long
// side covers WaveformMap::EntriesPerPixel() entries (the step times the zoom). Pixels appear
// only below, where a column or a PixelOf() result is drawn.
//
// Drawing. The wave is written straight into the pixels of a layer the size of the control,
// over a copy of the skin's background taken once per skin load, and the layer goes to the
// picture in one draw: a path of a thousand boxes through the toolkit costs about a
// millisecond, the pixels a tenth of that. Marks and texts are a handful of toolkit calls.

void CZQSoundDisplayControl::PaintControl() {
  wxMemoryDC& dc = Offscreen();
  if (!CaptureBackground()) PaintBackground(upx_, upy_, backColour_, backColour_);
  else DrawColumns(dc);
  DrawMarks(dc);
  DrawOverlayText(dc);
}

bool CZQSoundDisplayControl::CaptureBackground() {
  const int w = ControlWidth(), h = ControlHeight();
  if (!backgroundStale_ && layer_.IsOk() && layer_.GetWidth() == w && layer_.GetHeight() == h) return true;
  PaintBackground(upx_, upy_, backColour_, backColour_);
  const wxBitmap& picture = Offscreen().GetSelectedBitmap();
  if (!picture.IsOk() || picture.GetWidth() < w || picture.GetHeight() < h) return false;
  wxImage image = picture.GetSubBitmap(wxRect(0, 0, w, h)).ConvertToImage();
  background_.assign(image.GetData(), image.GetData() + 3 * static_cast<size_t>(w) * h);
  layer_.Create(w, h, 24);
  // The skin's picture may come after the first paint; until it is there, keep trying.
  backgroundStale_ = SkinSurfaceFor(this).Dc() == nullptr;
  return layer_.IsOk();
}

void CZQSoundDisplayControl::DrawColumns(wxDC& dc) {
  const WaveGeometry& g = map_.Geometry();
  const int w = ControlWidth(), h = ControlHeight();
  wxNativePixelData data(layer_);
  if (!data) return;
  const unsigned char red = dataColour_.Red(), green = dataColour_.Green(), blue = dataColour_.Blue();
  wxNativePixelData::Iterator row(data);
  const unsigned char* source = background_.data();
  for (int y = 0; y < h; ++y) {
    wxNativePixelData::Iterator pixel = row;
    for (int x = 0; x < w; ++x, ++pixel, source += 3) {
      pixel.Red() = source[0], pixel.Green() = source[1], pixel.Blue() = source[2];
    }
    row.OffsetY(data, 1);
  }
  // A run along the short side at column p of the long side, from s0 to s1 inclusive.
  auto run = [&](int p, int s0, int s1) {
    s0 = std::max(s0, 0), s1 = std::min(s1, g.shortSide - 1);
    if (s1 < s0) return;
    wxNativePixelData::Iterator pixel(data);
    g.vertical ? pixel.MoveTo(data, s0, p) : pixel.MoveTo(data, p, s0);
    for (int s = s0; s <= s1; ++s) {
      pixel.Red() = red, pixel.Green() = green, pixel.Blue() = blue;
      g.vertical ? (void)++pixel : pixel.OffsetY(data, 1);
    }
  };
  const int middle = g.shortSide / 2;
  const double half = g.shortSide / 2.0 - 1.0;
  const auto& kinds = map_.Kinds();
  const auto& amplitudes = map_.Amplitudes();
  for (int p = 0; p < g.longSide; ++p) {
    if (!hasWave_ || kinds[p] == WaveColumn::kOutside) {
      run(p, middle, middle);  // the flat line
    } else if (kinds[p] == WaveColumn::kSignal) {
      const int reach = static_cast<int>(std::lround(amplitudes[p] * half));
      run(p, middle - reach, middle + reach);  // symmetric around the middle line
    }
  }
  dc.DrawBitmap(layer_, 0, 0);
}

void CZQSoundDisplayControl::CrossLine(wxDC& dc, int column, const wxColour& colour) {
  const WaveGeometry& g = map_.Geometry();
  dc.SetPen(wxPen(colour, 1));
  if (g.vertical) dc.DrawLine(0, column, g.shortSide, column);
  else dc.DrawLine(column, 0, column, g.shortSide);
}

void CZQSoundDisplayControl::DrawMarks(wxDC& dc) {
  const WaveGeometry& g = map_.Geometry();
  if (hasWave_ && cue_ > 0) {
    const int column = map_.PixelOf(cue_);
    if (column >= 1) CrossLine(dc, column, cueColour_);
  }
  if (hasWave_ && loopIn_ >= 0) {
    // Each loop end carries two short ticks at the edges, pointing into the loop.
    auto loopLine = [&](double entry, int into) {
      const int column = map_.PixelOf(entry);
      if (column < 0) return;
      CrossLine(dc, column, loopColour_);
      const int edge = g.shortSide - 1;
      if (g.vertical) {
        dc.DrawLine(0, column + into, 0, column + 3 * into);
        dc.DrawLine(edge, column + into, edge, column + 3 * into);
      } else {
        dc.DrawLine(column + into, 0, column + 3 * into, 0);
        dc.DrawLine(column + into, edge, column + 3 * into, edge);
      }
    };
    loopLine(loopIn_, 1);
    if (loopOut_ > loopIn_) loopLine(loopOut_, -1);
  }
  if (!dontShowCursor_) {
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(wxBrush(cursorColour_));
    const int at = g.cursorPos - 1;
    if (g.vertical) dc.DrawRectangle(0, at, g.shortSide, 2);
    else dc.DrawRectangle(at, 0, 2, g.shortSide);
  }
}

void CZQSoundDisplayControl::DrawOverlayText(wxDC& dc) {
  const int w = ControlWidth(), h = ControlHeight();
  if (!dontShowText_) {
    dc.SetFont(font_);
    dc.SetBackgroundMode(wxBRUSHSTYLE_TRANSPARENT);
    if (!text_.empty()) {
      dc.SetTextForeground(fontColour_);
      dc.DrawText(wxString::FromUTF8(text_), 10, h - 12 - dc.GetCharHeight() / 2);
    }
    for (int beat = 0; beat < 4; ++beat) {
      dc.SetTextForeground(beat == beatOfBar_ ? cursorColour_ : fontColour_);
      dc.DrawText(wxString::Format("%d", beat + 1), 10 + 12 * beat, h - 28 - dc.GetCharHeight() / 2);
    }
  }
  if (!dontShowZoomButtons_) {
    dc.SetPen(wxPen(fontColour_, 1));
    dc.SetBrush(*wxTRANSPARENT_BRUSH);
    for (int x : {w - 28, w - 15}) dc.DrawRectangle(x, h - 13, kZoomButtonSize, kZoomButtonSize);
    dc.DrawLine(w - 26, h - 9, w - 21, h - 9);  // minus
    dc.DrawLine(w - 13, h - 9, w - 8, h - 9);   // plus
    dc.DrawLine(w - 11, h - 11, w - 11, h - 6);
  }
  if (beatDiffVisible_) {
    dc.SetPen(wxPen(fontColour_, 1));
    dc.SetBrush(*wxTRANSPARENT_BRUSH);
    dc.DrawRectangle(beatDiffX_, beatDiffY_, kBeatBoxWidth, kBeatBoxHeight);
    if (beatDiffValid_ && beatDiffPixels_ != 0) {
      const int centre = beatDiffX_ + kBeatBoxWidth / 2;
      const int from = beatDiffPixels_ < 0 ? centre + beatDiffPixels_ : centre;
      dc.SetPen(*wxTRANSPARENT_PEN);
      dc.SetBrush(wxBrush(cursorColour_));
      dc.DrawRectangle(from, beatDiffY_ + 1, std::abs(beatDiffPixels_), 3);
    }
  }
}

// Input.

int CZQSoundDisplayControl::ZoomButtonAt(int x, int y) const {
  if (dontShowZoomButtons_) return 0;
  const int w = ControlWidth(), h = ControlHeight();
  if (y < h - 13 || y >= h - 13 + kZoomButtonSize) return 0;
  if (x >= w - 28 && x < w - 28 + kZoomButtonSize) return kZoomOut;
  if (x >= w - 15 && x < w - 15 + kZoomButtonSize) return kZoomIn;
  return 0;
}

void CZQSoundDisplayControl::HandleEvent(const ControlEvent& e) {
  const int id = LogicalId(), deck = Deck();
  auto zoom = [&](int call) {
    map_.Zoom(call);
    Repaint();
    if (onZoom) onZoom(call, id, deck);
  };
  switch (e.kind) {
    case kEventMouseDown:
      if (e.button == 1) {
        if (!HasCapture()) CaptureMouse();
        pressedPart_ = ZoomButtonAt(e.x, e.y);
        scratching_ = pressedPart_ == 0;
        if (pressedPart_) zoom(pressedPart_);
        else if (onPress) onPress(Vertical() ? 1 : 0, id, deck);
      } else if (e.button == 3 && !dontShowZoomButtons_) {
        pressedPart_ = kRightPress;
        zoom(kRightPress);
      }
      break;
    case kEventMouseUp:
      if (e.button == 1) {
        if (HasCapture()) ReleaseMouse();
        if (scratching_ && onRelease) onRelease(0, id, deck);
        scratching_ = false;
        pressedPart_ = 0;
      } else if (e.button == 3 && pressedPart_ == kRightPress) {
        pressedPart_ = 0;
        zoom(kRightRelease);
      }
      break;
    case kEventLeave:
      if (pressedPart_ == kRightPress) {
        pressedPart_ = 0;
        zoom(kRightRelease);
      }
      break;
    case kEventDoubleClick:
      if (onDoubleClick) onDoubleClick(static_cast<int>(FrameAt(e.x, e.y)), id, deck);
      break;
    case kEventWheel:
      if (e.status != 0) zoom(e.status > 0 ? kZoomIn : kZoomOut);
      break;
    case kEventMotion:
      if (onMove) onMove(Vertical(), e.x, e.y, e.button, id, deck);
      break;
    case kEventMessage:
      if (e.status != 0xB0) break;
      if (e.button == kControllerReference) controllerReference_ = e.value;
      else if (onMove) onMove(Vertical(), e.value, controllerReference_, e.button, id, deck);
      break;
    default:
      break;
  }
}

// The toolkit tells only of a capture taken away (another window, a grab); a release of our
// own never arrives here. A scratch in progress ends as if the button had come up.
void CZQSoundDisplayControl::CaptureLost(bool) {
  pressedPart_ = 0;
  if (!scratching_) return;
  scratching_ = false;
  if (onRelease) onRelease(0, LogicalId(), Deck());
}
