#pragma once
// The one law every fader in the program shares. For n steps and slider position v, with base
// b = 91^(1/(n-1)): the top gives 0 dB, the bottom -320 dB (silence), and in between
// dB = -(b^(n-v-1) - 1), so the top moves in small steps and the law reaches -90 dB one step
// before the bottom.

// Decibels of a slider position.
float FaderLawDb(int position, int steps);
// The same as a linear gain; 0 at or below -318.8 dB.
float FaderLawGain(int position, int steps);
// Linear gain of a dB value, with the same silence threshold.
float DbToGain(float db);

// The crossfader (and the cue mix knob, which shares its curve). Curve c runs -1..steps-3:
// -1 is a hard cut at the middle; otherwise a side stays at 0 dB for its first c steps and then
// follows the fader law with base 91^(1/(steps-c-1)), reaching silence at the far end.
float CrossfaderBase(int curve, int steps);
// Gain of the left (side 0) or right (side 1) side at `position`.
float CrossfaderSideGain(int position, int steps, int curve, float base, int side);
