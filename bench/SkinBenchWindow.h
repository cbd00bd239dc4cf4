#pragma once
// The window the skin benches draw in: the default skin at the size of the (Xvfb) screen, so
// the figures are for the layout a DJ at that resolution gets.

#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>
#include <wx/gdicmn.h>

#include "skin/SkinLoader.h"
#include "support/SkinWindowHarness.h"

// Null (after a line on stderr) when there is no default skin for the screen.
inline ZQMainWindow* StartDefaultSkinWindow(int& argc, char** argv, const char* sourceDir) {
  ZQMainWindow* main = StartSkinWindow(argc, argv);
  if (!main) return nullptr;
  const wxSize screen = wxGetDisplaySize();
  const std::string skin = std::string(sourceDir) + "/data/skins/Zorvik Default 4 decks " +
                           std::to_string(screen.GetWidth()) + "x" + std::to_string(screen.GetHeight()) + ".xml";
  if (!LoadSkin(skin, main)) {
    std::fprintf(stderr, "no default skin for %dx%d\n", screen.GetWidth(), screen.GetHeight());
    return nullptr;
  }
  return main;
}

// The bench program's main: the window, the benchmarks, the window closed. 1 when there is no
// skin to draw.
inline int RunSkinBenchmarks(int argc, char** argv, const char* sourceDir) {
  ZQMainWindow* main = StartDefaultSkinWindow(argc, argv, sourceDir);
  if (!main) return 1;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  StopSkinWindow(main);
  return 0;
}
