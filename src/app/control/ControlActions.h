#pragma once
// The action runner the program installs for `call` and `getValue`: a slider row becomes a
// 0xB0 event on its slider, a press row a click on its button (so a script's press is a mouse
// click, lamps and all), and getValue reads what the skin and the engine show.
//
// Threads: GUI thread only.

#include <functional>

#include "skin/model/ActionDispatch.h"

class ControlActionRunner : public ActionRunner {
 public:
  void RunAction(int row, int value, int aux, int deck) override;
  ControlValue GetValue(const char* name, int deck) override;
};

// The one runner; InstallControlActions makes it current (SetActionRunner).
void InstallControlActions();

// The rows that name no control run here: the jog wheels, the 64ths loops, the samplers, the
// library's browsing, and sleep. The main group's panels (showPanel, showPrevPanel,
// showNextPanel) belong to the window, which installs its own step for them.
void RunDirectAction(const char* name, int value, int aux, int deck);
void SetPanelActionHandler(std::function<void(const char* name, int value)> handler);
