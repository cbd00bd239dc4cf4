#pragma once
// The one form in which input reaches a control, whatever its source: a mouse click, a bound
// key, a MIDI message or a script `call`. No toolkit types, so the controls' logic runs and is
// tested without a display.

#include <functional>

enum ControlEventKind : int {
  kEventMouseDown = 0,
  kEventMouseUp = 1,
  kEventDoubleClick = 2,
  kEventEnter = 3,
  kEventLeave = 4,
  kEventMotion = 5,
  kEventWheel = 6,
  kEventCharacter = 9,
  kEventMessage = 10,  // MIDI or script: status 0x80, 0x90, 0xB0 or 0xE0
  kEventBoundKey = 11
};

// Unused arguments are -1 or 0; character is a space when there is none.
struct ControlEvent {
  int kind = 0;
  int status = 0;  // kind 10: the MIDI status; kind 6: the wheel delta
  int x = -1, y = -1;
  int button = 0;  // 1 left, 2 middle, 3 right
  int keyIndex = -1;
  int source = 0;  // modifier bits for the mouse
  int channel = -1;
  int data1 = -1;
  int value = 0;
  int character = ' ';
  int deck = -1;
};

// (value, logical id, deck)
using ControlCallback = std::function<void(int value, int logicalId, int deck)>;
