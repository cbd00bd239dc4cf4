#pragma once
// The window program's close, in its fixed order. The steps are handed in as callables so that
// the order, which is what keeps late jobs from touching freed objects, can be checked without a
// display; the window fills them with its real steps (src/app/gui/AppInit.cpp).
//
// The order:
//   1. hide the windows;
//   2. shut the controller layer and the CD drive scan down, and detach every input route;
//   3. write settings and shortcuts;
//   4. stop the application threads (file worker, deck service, tick poster);
//   5. clear the main window pointer, which every periodic job and queue post tests first, so a
//      late one returns at once; drop the library panel;
//   6. close the audio outputs: from here on no callback runs;
//   7. release the skin's objects, then delete the audio objects;
//   8. write the song database.
//
// Threads: main thread only.

#include <functional>

struct AppCloseSteps {
  std::function<void()> hideWindows;
  std::function<void()> stopInputs;
  std::function<void()> saveSettings;
  std::function<void()> stopThreads;
  std::function<void()> forgetMainWindow;
  std::function<void()> closeOutputs;
  std::function<void()> releaseObjects;
  std::function<void()> saveLibrary;
};

// Runs the steps in the order above; a step left empty is passed over.
void RunAppClose(const AppCloseSteps& steps);
