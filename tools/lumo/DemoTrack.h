#pragma once
// A short generated track for the headless demo: four-on-the-floor kick, off-beat hats and a
// minor chord pad at 124 BPM, written as a 16-bit 44.1 kHz WAV.

#include <string>

bool WriteDemoTrack(const std::string& path, double seconds, double bpm = 124.0);
