#pragma once
// Control type numbers as skin files name them (the element's tag), and the window names.
// Pure data, no toolkit: the loader, the catalogue and skinlint share it.

enum ControlType : int {
  kNone = 0,
  kButton = 1,
  kSlider = 2,
  kTextArea = 3,
  kImage = 4,
  kDropZone = 5,
  kDropDownList = 6,
  kBrowser = 7,
  kList = 8,
  kEditArea = 9,
  kVuMeter = 10,
  kSoundDisplay = 11,
  kPlayLive = 12,
  kWheel = 13,
  kBeatPos = 14,
  kVideo = 15,
  kFlow = 16,
  kWebBrowser = 17,
  kGroup = 18,
  kUnknownType = 19,
  kControlTypeCount = 20
};

enum WindowIndex : int {
  kWindowMain = 0,
  kWindowConfirmDialog = 1,
  kWindowMessageDialog = 2,
  kWindowMax = 3  // "_window_MAX": closes the table, never a real window
};

// The tag of a control element; 0 for a tag that names no type.
int ControlTypeFromName(const char* tag);
const char* ControlTypeName(int type);
// -1 for a name that is no window.
int WindowIndexFromName(const char* name);
