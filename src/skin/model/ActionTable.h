#pragma once
// The script action table: every name a controller or skin script may pass to `call`. Rows
// are data here; the handlers that run them are bound when the controls are tied to the
// engine. Order is frozen like the catalogue's.
//
// Pure data, read from any thread.

// What a row's handler does with its arguments.
enum ActionGroup : int {
  kSliderSet = 0,  // status 0xB0 event with the value to the named slider
  kPress = 1,      // PressControl on the named button
  kDirect = 2      // calls the engine or a list directly; names no control
};

struct ScriptAction {
  const char* name;
  int group;            // ActionGroup
  const char* control;  // catalogue name the row drives; "" for direct rows
  bool isGlobal;        // arguments: value, aux; otherwise deck, value, aux
  int maxArgs;
  int minArgs;
  int defaultValue;  // fills missing arguments
};

constexpr int kGlobalActionCount = 81;
constexpr int kDeckActionCount = 119;
constexpr int kActionCount = kGlobalActionCount + kDeckActionCount;

extern const ScriptAction kActionTable[kActionCount];

// Index of a row, -1 for no match.
int ActionIndexByName(const char* name);
