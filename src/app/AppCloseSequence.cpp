#include "app/AppCloseSequence.h"

void RunAppClose(const AppCloseSteps& steps) {
  for (const std::function<void()>* step :
       {&steps.hideWindows, &steps.stopInputs, &steps.saveSettings, &steps.stopThreads,
        &steps.forgetMainWindow, &steps.closeOutputs, &steps.releaseObjects, &steps.saveLibrary}) {
    if (*step) (*step)();
  }
}
