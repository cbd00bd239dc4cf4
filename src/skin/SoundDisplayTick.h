#pragma once
// The main tick's work for the waveforms: each deck's placed sound displays get the stripe
// around the play position, the cue and loop, the beat of the bar and the beat difference
// against the deck it is mixed with (A with B, C with D), then repaint.
//
// Threads: GUI thread. The stripe is read under the deck's stripe lock, which only the loader
// and analysis threads take; the lock is tried, and a deck whose lock is busy keeps last
// tick's picture. Nothing here touches a lock of the audio thread.

class CSoundSource;

void RefreshSoundDisplays(CSoundSource* const* decks, int count);

class wxWindow;

