#pragma once
// The action runner the program installs for `call` and `getValue`: a slider row becomes a
// 0xB0 event on its slider, a press row a click on its button (so a script's press is a mouse
// click, lamps and all), and getValue reads what the skin and the engine show.
//
// Threads: GUI thread only.

#include "skin/model/ActionDispatch.h"

class ControlActionRunner : public ActionRunner {
 public:
  void RunAction(int row, int value, int aux, int deck) override;
  ControlValue GetValue(const char* name, int deck) override;
};

// The one runner; InstallControlActions makes it current (SetActionRunner).
void InstallControlActions();
