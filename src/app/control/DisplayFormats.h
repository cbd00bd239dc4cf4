#pragma once
// The texts the value displays show: pitch, key shift, tempo, levels, filter, times. Built in
// the C locale's number form whatever the user's locale.
//
// Pure functions; any thread.

#include <string>

// Pitch in hundredths of a percent: "PITCH  8.00", "PITCH -0.50"; without labels "8.00".
std::string FormatPitch(int hundredths, bool labels);
// Key shift in cents with the resulting key's name: "KEY 1.50 (Am)"; without labels "1.50 (Am)".
std::string FormatKeyShift(int cents, const std::string& keyName, bool labels);
// "BPM  128.00" or "128.00"; "---.-" when the tempo is not known.
std::string FormatBpm(double bpm, bool labels);
// A value in tenths of a dB: "3.5 dB", "-12.0 dB"; "- oo" at the bottom of the range.
std::string FormatTenthsDb(int tenths, bool bottom);
// "%d%%".
std::string FormatPercent(int percent);
// A filter corner: "800 Hz", "2.5 KHz".
std::string FormatHz(float hz);
// A time in frames as "mm:ss.t", with a leading minus for a remaining time.
std::string FormatDeckTime(long long frames, bool remaining);
