#pragma once
// The main window with every catalogue control, on the toolkit started without an event loop,
// for the window's tests and benchmarks under Xvfb. Header-only: only programs that link the
// skin library include it.

#include <wx/image.h>
#include <wx/wx.h>

#include <cstdio>

#include "skin/ControlTable.h"
#include "skin/ZQMainWindow.h"

// Null (with a line on stderr) when there is no display.
inline ZQMainWindow* StartSkinWindow(int argc, char** argv) {
  wxApp::SetInstance(new wxApp());
  if (!wxEntryStart(argc, argv)) {
    std::fprintf(stderr, "no display (run it under xvfb-run)\n");
    return nullptr;
  }
  wxInitAllImageHandlers();
  auto* main = new ZQMainWindow(nullptr);
  CreateCatalogueControls(main);
  return main;
}

inline void StopSkinWindow(ZQMainWindow* main) {
  main->CloseWithoutAsking();
  wxTheApp->ProcessPendingEvents();
  wxEntryCleanup();
}
