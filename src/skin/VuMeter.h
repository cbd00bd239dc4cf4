#pragma once
// A level meter (vm_deck, vm_deckl, vm_deckr, vm_masterl, vm_masterr, vm_microphone, vm_cpu,
// vm_cpu2). Drawn mode: a back colour per band and every second line lit up to the level in
// the low, middle or high colour, with a held peak line. Bitmap mode (`indicator`): the skin's
// dark picture with the lit picture blitted over the 24 steps the level reaches.
// A meter higher than wide fills from the bottom (from the top when `reversed`), a wider one
// from the left.
//
// Threads: GUI thread only; the main tick pushes levels, the meter never reads the engine.

#include "skin/SkinControls.h"
#include "skin/model/VuMeterSteps.h"

class CZQVUMeterControl : public CZQSkinnedControl {
 public:
  CZQVUMeterControl(wxWindow* parent, int logicalId, int deck);
  void LoadAttributes(SkinAttributeList& list) override;
  void PaintControl() override;

  // A signal level in dB (meters of audio) or a percentage (the CPU meters); each repaints.
  void SetLevelDb(float decibels);
  void SetPercent(float percent);
  int LitLevel() const { return ballistics_.Level(); }  // percent, or the step in bitmap mode

 private:
  void PaintDrawn(wxDC& dc);
  void PaintSteps(wxDC& dc);
  void Push(int level);

  bool bitmapMode_ = false, reversed_ = false;
  int activeUpx_ = -1, activeUpy_ = -1, activeStep_ = 0;
  wxColour low_, mid_, high_, backLow_, backMid_, backHigh_;
  VuBallistics ballistics_{4};
};
