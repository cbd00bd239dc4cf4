#pragma once
// The BPM dialog of a deck (`deck_edit_bpm`, `deck_bpm`): the tempo field (mask "000.0"), Tap
// Beat, and the four modes. OK has the deck walk its track's beats again with the mode's hint,
// or with the typed or tapped tempo in manual input; Cancel leaves the deck as it was.
//
// Taps are timed by the steady clock. A test can set ZORVIK_LUMO_TAP_STEP_MS to a number of
// milliseconds: each tap then advances a clock of its own by that step, so a busy display
// server's timing cannot move the tapped tempo.
//
// Threads: GUI thread.

class wxWindow;

// Returns true when the deck was asked to find its tempo again.
bool ShowBpmDialog(wxWindow* parent, int deck);
