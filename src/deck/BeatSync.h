#pragma once
// Beat matching between two decks: helpers over the phases each deck publishes every block
// (CSoundSource::beatPhase, see BeatSync.cpp). Any thread; they read atomics only.

class CSoundSource;

// own - other in beats, taken the short way round the beat: -0.5..0.5.
float ShortPhaseDifference(float own, float other);

// The beat difference the window shows for a pair and Auto-Mix watches, in hundredths of a
// beat: -round(d * 100) with d the short-way phase difference of a against b, while both play
// and neither is scratched; otherwise 0.
int BeatDifference(const CSoundSource& a, const CSoundSource& b);

// The "onbeat" lamp of a playing deck: lit near a beat (phase below 0.25 or above 0.9).
bool OnBeat(const CSoundSource& deck);

// The deck a sync button matches against: 0 with 1, 2 with 3.
inline int SyncPartner(int deck) { return deck ^ 1; }
