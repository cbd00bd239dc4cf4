#pragma once
// The one road from a script, a key, a MIDI message or a test into the engine: `call` picks a
// row of the action table, checks its arguments and hands it to the installed ActionRunner, which
// the window binds to its controls (a slider row becomes a 0xB0 event on the slider, a press row
// a click on the button). `getValue` reads back what the skin shows.
//
// Threads: GUI thread only (scripts, shortcuts and the tick all run there).

#include <string>

// What getValue hands back. type 0 is null (unknown name), 1 an integer, 2 a number, 3 a text.
struct ControlValue {
  enum Type : int { kNull = 0, kInt = 1, kFloat = 2, kText = 3 };
  int type = kNull;
  int intValue = 0;
  double floatValue = 0;
  std::string text;

  static ControlValue Int(int v) { return {kInt, v, 0, {}}; }
  static ControlValue Float(double v) { return {kFloat, 0, v, {}}; }
  static ControlValue Text(std::string v) { return {kText, 0, 0, std::move(v)}; }
};

class ActionRunner {
 public:
  virtual ~ActionRunner() = default;
  // Runs row `row` of kActionTable. Arguments are already checked and defaulted; deck is 0..3
  // for a deck row and -1 for a global one.
  virtual void RunAction(int row, int value, int aux, int deck) = 0;
  // The value table of getValue; an unknown name gives type 0.
  virtual ControlValue GetValue(const char* name, int deck) = 0;
};

// The runner `CallAction` and `GetControlValue` use; null (the default) drops every call.
void SetActionRunner(ActionRunner* runner);
ActionRunner* CurrentActionRunner();

// `call(name, args...)`: `args` are the arguments after the name, an argument that did not
// convert to an integer already -1. A null name means the script passed no arguments at all.
// Returns false, after logging "js function '%s' (%d params) unknown or bad params", when no row
// takes the name with that many arguments; missing arguments take the row's default and a deck
// outside 0..3 becomes 0.
bool CallAction(const char* name, const int* args, int argCount);

// `getValue(name, deck)`; type 0 when no runner is installed or the name is unknown.
ControlValue GetControlValue(const char* name, int deck);
