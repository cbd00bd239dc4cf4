#pragma once
// The catalogue controls that work the window itself rather than the engine: close, minimise,
// full screen, skin reload and the selectors of the main tab group's pages.
//
// Threads: GUI thread only. Called once at start-up after the catalogue controls exist.

class ZQMainWindow;

void BindWindowControls(ZQMainWindow* mainWindow);

// The tick's step for the lamps of those controls: the record button is lit while the recorder
// runs, the limiter button while the limiter is on.
void ShowWindowLamps();
