#pragma once
// The main tick on the window's clock: a timer on the GUI thread every 38 ms runs the tick
// (app/control/GuiTick.h). A tick that overruns is not queued again: the timer fires the next
// one when the event loop comes back, so a stalled window never builds up ticks.
//
// For window tests, ZORVIK_LUMO_STATE_REPORT=FILE makes the tick write the engine state (deck
// play flags and positions, channel volumes, low EQ, crossfader) and the screen rectangles of
// a few controls to FILE every five ticks.
//
// Threads: GUI thread only.

#include <wx/string.h>

class wxWindow;

constexpr int kMainTickMs = 38;

void StartMainTick(wxWindow* window);
void StopMainTick();

// A box that does not hold the program: it stays up beside the running window.
void ShowNotice(const wxString& text, wxWindow* parent);
