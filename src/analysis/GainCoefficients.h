#pragma once
// The equal-loudness filter of the published ReplayGain analysis: a 10th-order Yule-Walker
// section and a 2nd-order Butterworth high-pass, one row per supported rate. Each row is
// interleaved b0, a1, b1, a2, b2, ... (a0 is 1).

constexpr int kGainRates = 9;
constexpr int kYuleOrder = 10;
constexpr int kButterOrder = 2;

extern const int kGainRateTable[kGainRates];
extern const double kYuleCoefficients[kGainRates][2 * kYuleOrder + 1];
extern const double kButterCoefficients[kGainRates][2 * kButterOrder + 1];
