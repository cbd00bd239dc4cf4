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
