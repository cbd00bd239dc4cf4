#pragma once
// The preferred tempo range: where a detected tempo is folded by octaves, so that a DJ who
// counts drum and bass at 87 sees 87 and not 174. "auto" leaves the choice to the estimator.
// The tap dialog's automatic modes map onto the same ranges.
//
// Threads: the setting is one atomic, written by the settings code and read by every analysis.

#include <string_view>

enum class TempoRange { kAuto, k60to120, k70to140, k80to160, k90to180, k100to200 };

// The setting's text ("auto", "60-120", ... "100-200"); false for anything else.
bool ParseTempoRange(std::string_view text, TempoRange& out);
const char* TempoRangeText(TempoRange range);

void SetPreferredTempoRange(TempoRange range);
TempoRange PreferredTempoRange();

// Halves or doubles bpm until it lies in the range (lower bound included, upper excluded);
// auto and a tempo of 0 are returned unchanged.
double FoldIntoTempoRange(double bpm, TempoRange range);
