#pragma once
// An image of the skin (type "image"): one of `frames` pictures side by side in the skin's
// bitmap, frame n at upx + n * width. Scripts and bindings pick the frame; the mouse presses
// it like a button (every callback gets -1), and entering or leaving it calls onSpare1 with 1
// or 0. A press still held when the pointer leaves is released then, as a button's is.
//
// Threads: GUI thread only.

#include "skin/SkinControls.h"

class CZQImageControl : public CZQSkinnedControl {
 public:
  CZQImageControl(wxWindow* parent, int logicalId, int deck) : CZQSkinnedControl(parent, logicalId, deck, 4) {}
  void LoadAttributes(SkinAttributeList& list) override;
  void HandleEvent(const ControlEvent& event) override;
  void PaintControl() override;

  // Clamped to the frames there are.
  void SetFrame(int frame);
  int Frame() const { return frame_; }
  int FrameCount() const { return frames_; }

 private:
  void Release(int button);

  int frames_ = 1;
  int frame_ = 0;
  bool hover_ = false;
  int held_ = 0;  // the button held down, 0 for none
};
