#pragma once
// The window program's start-up and close around the engine's steps, in the program's fixed
// order: controls before decks are tied to them, the audio device opened before the skin loads,
// the application threads last. AppClose undoes it in its own order.
//
// Threads: main thread only.

class ZQMainWindow;

// Builds everything on a freshly made main window. Returns false when the display is too small
// (the window has then been closed).
bool AppInit(ZQMainWindow* mainWindow);
// The main window's close handler.
void AppClose();
