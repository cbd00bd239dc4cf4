#pragma once
// The scroll bar arithmetic of the list controls, kept apart from drawing so it can be tested.
// The thumb is visible/total of the track, never below the minimum nor above the track.

struct ScrollModel {
  int mode = 1;  // 1 follows the pixel offset, 0 follows the line offset
  int visibleLines = 1;
  int minimalThumb = 1;
  int trackSize = 2;
  int thumbSize = 2;  // derived
  int pixelOffset = 0;
  int totalLines = 0;
  int lineOffset = 0;

  void SetVisibleLines(int lines);
  void SetMinimalThumb(int pixels);
  void SetTrackSize(int pixels);
  void SetTotalLines(int lines);
  // Moves the thumb; the line offset follows.
  void SetPixelOffset(int pixels);
  // Moves the first shown line; the thumb follows.
  void SetLineOffset(int line);

 private:
  void Update();
};
