#pragma once
// The scrolling waveform of a deck (sd_deck, sd_deck_alt): the stripe around the play
// position with its beat gaps, the cue and loop lines, the fixed play cursor, the beat of the
// bar, the beat-difference box against the paired deck and two zoom buttons. A press and drag
// is the mouse scratch, a double click seeks, the buttons (or the wheel) zoom.
//
// The geometry lives in WaveformMap; this class draws what it says. The tick hands the deck's
// state over in a SoundDisplayFeed while it holds the deck's stripe lock (never a lock of the
// audio thread, and only tried, never waited for), then repaints after letting go.
//
// Threads: GUI thread only. No allocation while drawing beyond the toolkit's pens.

#include <wx/image.h>

#include <functional>
#include <string>
#include <vector>

#include "skin/SkinControls.h"
#include "skin/model/WaveformMap.h"

// One tick's view of a deck, positions in frames as the deck keeps them.
struct SoundDisplayFeed {
  double positionFrames = 0.0;
  const float* stripe = nullptr;  // valid only during UpdateWave
  int stripeLength = 0;           // entries; 0 draws the flat line
  int cueFrames = 0;              // above 0: a cue line
  int loopInFrames = -1;          // -1: no loop
  int loopOutFrames = -1;         // -1 with a loop in: the loop is only half set
};

class CZQSoundDisplayControl : public CZQSkinnedControl {
 public:
  // The zoom callback's values: the two buttons, then a right press and its release.
  enum ZoomCall { kZoomOut = 1, kZoomIn = 2, kRightPress = 5, kRightRelease = 6 };

  CZQSoundDisplayControl(wxWindow* parent, int logicalId, int deck);
  ~CZQSoundDisplayControl() override;

  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;
  void CaptureLost(bool deliberate) override;

  // Maps the stripe for a new tick; the feed's stripe is not kept. Call Repaint afterwards.
  void UpdateWave(const SoundDisplayFeed& feed);
  // A deck without a track: the flat line, no marks.
  void ClearWave();
  void SetBeatOfBar(int index);  // 0..3, -1 lights none
  // Beat difference in pixels of the box (-20..20); `valid` false shows an empty box.
  void SetBeatDifference(bool valid, int pixels);
  void SetZoom(int zoom) { map_.SetZoom(zoom); }
  int ZoomLevel() const { return map_.ZoomLevel(); }
  const WaveformMap& Map() const { return map_; }
  bool Vertical() const { return map_.Geometry().vertical; }
  // The frame under a point of the control, for a double-click seek.
  double FrameAt(int x, int y) const;
  // A copy of the picture the control last drew, as it goes to the screen.
  wxImage Snapshot();

  // Zoom callback: (ZoomCall, logical id, deck); the control has applied the zoom already.
  ControlCallback onZoom;
  // Pointer moves and controller scratch: (vertical, x, y, button, id, deck). For a controller
  // x carries the value and y the reference it set with button -100.
  std::function<void(bool vertical, int x, int y, int button, int id, int deck)> onMove;

 private:
  // Copies the skin's background under the control once; false while there is no picture.
  bool CaptureBackground();
  void DrawColumns(wxDC& dc);
  void DrawMarks(wxDC& dc);
  void DrawOverlayText(wxDC& dc);
  // A line across the short side at a column of the long side.
  void CrossLine(wxDC& dc, int column, const wxColour& colour);
  int ZoomButtonAt(int x, int y) const;

  WaveformMap map_;
  wxBitmap layer_;                         // the wave's pixels, the control's size
  std::vector<unsigned char> background_;  // RGB of the skin under the control
  bool backgroundStale_ = true;
  bool hasWave_ = false;
  double position_ = 0.0;  // entries
  double cue_ = -1.0, loopIn_ = -1.0, loopOut_ = -1.0;
  int beatOfBar_ = -1;
  bool beatDiffValid_ = false;
  int beatDiffPixels_ = 0;
  int cursorAttr_ = -1;
  int pressedPart_ = 0;  // 1 or 2 a zoom button, 5 the right button
  bool scratching_ = false;  // a left press outside the zoom buttons, until its release
  int controllerReference_ = 0;
  bool dontShowCursor_ = false, dontShowText_ = false, dontShowZoomButtons_ = false;
  bool beatDiffVisible_ = false;
  int beatDiffX_ = 0, beatDiffY_ = 0;
  wxColour dataColour_, loopColour_, cueColour_, cursorColour_;
};
