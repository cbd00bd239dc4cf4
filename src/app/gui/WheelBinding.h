#pragma once
// The decks' records and beat lamps: a hand on a record scratches its deck (relative scratch:
// each move adds the samples the record turned), and the tick turns every record with its
// deck's position.
//
// Threads: GUI thread.

// Ties every deck's `deck_wheel`, and the waveforms `sd_deck` and `sd_deck_alt`, to the deck's
// scratch (the waveform is dragged like the record under it; a double-click seeks there). Call
// once the catalogue controls exist.
void BindDeckWheels();
// The tick's step: each record shows its deck's position (seconds of music at 44.1 kHz).
void TurnDeckWheels();
